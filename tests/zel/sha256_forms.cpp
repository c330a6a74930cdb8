// Prints the SHA-256 of standard input: the portable one, and that by the processor's instructions,
// or "none" where it has none. Added in parts of as many bytes as the argument says. With a second
// argument, a number of bytes, the sums of these first bytes and of all of them, taken at once.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

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

// The first one is over before the other, and its parts are a byte longer.
std::string sumsOf(std::string_view first, std::string_view all, std::size_t part, Sha256Form form)
{
    Sha256 sum(form);
    Sha256 otherSum(form);
    while (!first.empty() || !all.empty()) {
        const std::size_t size = std::min(part + 1, first.size());
        const std::size_t otherSize = std::min(part, all.size());
        Sha256::addTwo(sum, first.substr(0, size), otherSum, all.substr(0, otherSize));
        first.remove_prefix(size);
        all.remove_prefix(otherSize);
    }
    return sum.finish() + " " + otherSum.finish();
}

std::size_t numberIn(const char* text)
{
    return static_cast<std::size_t>(std::max(0, std::atoi(text)));
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string text = standardInput();
    const std::size_t part = std::max<std::size_t>(1, argc > 1 ? numberIn(argv[1]) : 1);
    const auto sums = [&](Sha256Form form) {
        if (argc < 3) return sumOf(text, part, form);
        return sumsOf(std::string_view(text).substr(0, numberIn(argv[2])), text, part, form);
    };
    const bool has = zel_tool::bestSha256Form() == Sha256Form::processor;
    const std::string fast = has ? sums(Sha256Form::processor) : "none";
    const bool done = std::printf("%s %s\n", sums(Sha256Form::portable).c_str(), fast.c_str()) > 0;
    return done ? 0 : 1;
}
