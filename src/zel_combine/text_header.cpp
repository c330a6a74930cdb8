#include "text_header.hpp"

#include <cstring>

#include "messages.hpp"

namespace zel_combine {
namespace {

constexpr int lineSize = 120;  // 119 characters and the terminator: a longer line counts as several
constexpr int linesBeforeLabel = 1;
constexpr int linesAfterLabel = 5;

void skipLines(FILE* stream, int count)
{
    char line[lineSize];
    for (int i = 0; i < count; ++i)
        if (!std::fgets(line, lineSize, stream)) return;
}

}  // namespace

bool TextHeader::open(const char* name)
{
    name_ = name;
    stream_.reset(std::fopen(name, "r"));
    if (!stream_) say("Error: cannot open Vorn file %s\n", name);
    return stream_ != nullptr;
}

std::optional<std::string> TextHeader::nextLabel()
{
    skipLines(stream_.get(), linesBeforeLabel);
    char line[lineSize];
    const char* blank =
        std::fgets(line, lineSize, stream_.get()) ? std::strchr(line, ' ') : nullptr;
    if (!blank) {
        failedReading(stream_.get(), "Vorn header file", name_);
        say("error reading header file\n");
        return std::nullopt;
    }
    skipLines(stream_.get(), linesAfterLabel);
    if (failedReading(stream_.get(), "Vorn header file", name_)) return std::nullopt;
    return blank + 1;
}

}  // namespace zel_combine
