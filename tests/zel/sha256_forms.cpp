// Prints the SHA-256 of standard input: the portable one, and that by the processor's instructions,
// or "none" where it has none. Added in parts of as many bytes as the argument says.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/sha256.hpp"

namespace {

using zel_tool::Sha256;
using zel_tool::Sha256Form;

std::string standardInput()
{
    std::string text;
    char buffer[4096];
    while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, stdin))
        text.append(buffer, got);
    return text;
}

std::string sumOf(const std::string& text, std::size_t part, Sha256Form form)
{
    Sha256 sum(form);
    for (std::size_t at = 0; at < text.size(); at += part)
        sum.add(std::string_view(text).substr(at, part));
    return sum.finish();
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string text = standardInput();
    const int part = argc > 1 ? std::atoi(argv[1]) : 1;
    const auto size = static_cast<std::size_t>(std::max(1, part));
    const bool has = zel_tool::bestSha256Form() == Sha256Form::processor;
    const std::string fast = has ? sumOf(text, size, Sha256Form::processor) : "none";
    const bool done =
        std::printf("%s %s\n", sumOf(text, size, Sha256Form::portable).c_str(), fast.c_str()) > 0;
    return done ? 0 : 1;
}
