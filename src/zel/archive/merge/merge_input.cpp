#include "archive/merge/merge_input.hpp"

#include <cerrno>
#include <cstring>

#include "archive/scenes/header_facts.hpp"
#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/library.hpp"

namespace zel_tool {
namespace {

constexpr std::string_view sampleMark = "ZEL_FEATURE_HEADER";

bool beginsWith(const std::string& file, std::string_view mark)
{
    std::string bytes(mark.size(), '\0');
    std::ifstream(file, std::ios::binary)
        .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes == mark;
}

// The first line may be cut.
MergeKind kindOfLine(const MergeInput& input, const std::string& line)
{
    const Json value = Json::parse(line, nullptr, false);
    if (isMerged(value, "histograms")) return MergeKind::histograms;
    if (isMerged(value, "statistics")) return MergeKind::statistics;
    if (value.is_object() && value.contains("status")) return MergeKind::runLog;
    const std::string_view begin = "{\"id\"";
    if (value.is_discarded() &&
        (line.starts_with(begin) || (input.isCut() && begin.starts_with(line))))
        return MergeKind::runLog;
    if (!line.starts_with('{') && !line.starts_with('['))
        input.fail("is no run log, no statistics, no scene and no sample file");
    return MergeKind::statistics;
}

}  // namespace

const char* kindName(MergeKind kind)
{
    static constexpr const char* names[] = {"a run log", "statistics", "a scene or its histograms",
                                            "a sample file"};
    return names[static_cast<int>(kind)];
}

MergeKind kindOf(const std::string& file)
{
    MergeInput input(file);
    if (beginsWith(file, sampleMark)) return MergeKind::samples;
    if (beginsLikeScene(file)) return MergeKind::histograms;
    std::string line;
    while (input.nextLine(line))
        if (line.find_first_not_of(" \t\r") != std::string::npos) break;
    return line.empty() ? MergeKind::runLog : kindOfLine(input, line);
}

MergeInput::MergeInput(const std::string& file) : file_(file)
{
    try {
        requireFile(file);
    } catch (const Failure& failure) {
        fail(failure.what());
    }
    errno = 0;
    stream_.open(file, std::ios::binary);
    if (!stream_) fail(std::strerror(errno));
}

bool MergeInput::nextLine(std::string& line)
{
    line.clear();
    if (!std::getline(stream_, line)) {
        requireReadable();
        return false;
    }
    ++lineNumber_;
    isCut_ = stream_.eof();
    return true;
}

void MergeInput::requireReadable() const
{
    if (stream_.bad()) fail("cannot be read");
}

void MergeInput::forEachValue(const std::function<void(const Json&)>& take)
{
    long long begin = 0;
    while ((stream_ >> std::ws).good() && stream_.peek() != std::ifstream::traits_type::eof()) {
        begin = static_cast<long long>(stream_.tellg());
        Json value;
        try {
            stream_ >> value;
        } catch (const Json::exception&) {
            fail(
                format("is damaged or cut: the JSON that begins at byte %lld is not whole", begin));
        }
        take(value);
    }
    requireReadable();
}

void MergeInput::fail(const std::string& message) const
{
    throw Failure(printable(file_) + ": " + message);
}

void MergeInput::failAtLine(const std::string& message) const
{
    fail(format("line %lld: ", lineNumber_) + message);
}

std::string textAt(const Json& object, const char* key)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

bool isMerged(const Json& value, std::string_view name)
{
    return value.is_object() && textAt(value, "merged") == name;
}

}  // namespace zel_tool
