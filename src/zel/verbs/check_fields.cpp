// The promises of fields as they are stored, which reading does not need.
#include <algorithm>

#include "base/text.hpp"
#include "scene/findings.hpp"

namespace zel_tool {
namespace {

// Bytes of a text up to its terminator, from its value with \\ and \xNN.
std::size_t storedLength(const std::string& value)
{
    std::size_t length = 0;
    for (std::size_t i = 0; i < value.size(); ++length)
        i += value[i] != '\\' ? 1 : i + 1 < value.size() && value[i + 1] == 'x' ? 4 : 2;
    return length;
}

bool isZeros(const std::vector<std::string>& values, std::size_t first)
{
    return std::all_of(values.begin() + static_cast<std::ptrdiff_t>(first), values.end(),
                       [](const std::string& value) { return value == "0"; });
}

// The version as a whole number, 230 for 2.3; -1 for what is not one.
int versionOf(const std::string& text)
{
    double version = 0.0;
    if (!parseNumber(text, version) || !(version >= 0.0 && version < 100.0)) return -1;
    return static_cast<int>((version + 0.005) * 100.0);
}

}  // namespace

void FieldCheck::problem(const Field& field, const std::string& what)
{
    findings_.problem(field.offset, field.part, field.record, field.name + " " + what);
}

void FieldCheck::take(const ZELDumpField& dumped)
{
    const Field field{dumped.offset, dumped.component, dumped.record, dumped.name, dumped.value};
    const bool ofHeader = field.record.starts_with("header") || field.record.starts_with("channel");
    const bool ofMask = field.record.find(" mask") != std::string::npos;
    if (std::string_view(dumped.type) == "text" && ofHeader && !ofMask)
        checkText(field, dumped.size);
    if (field.record == "prefix") takePrefix(field);
    if (field.record == "header") checkAgainstPrefix(field);
    const bool isFlag = field.name == "ChannelPresentFlag" || field.name.ends_with("presence");
    if (isFlag && field.value != "0" && field.value != "1")
        problem(field, "is " + field.value + ", not 0 or 1");
}

// A value ends where its text or its field does: the last byte of the field tells which. The text
// of the metadata has its length in a field of its own.
void FieldCheck::checkText(const Field& field, long long size)
{
    if (field.name == "MetaDataText" ||
        storedLength(field.value) + 1 < static_cast<std::size_t>(size))
        return;
    file_.clear();
    file_.seekg(field.offset + size - 1);
    if (file_.get() > 0) problem(field, "does not end inside its field");
}

// What the directory of a container says is held against its parts elsewhere.
void FieldCheck::takePrefix(const Field& field)
{
    if (field.name == "magic") prefix_.clear();
    prefix_[field.name] = field;
    if (field.name != "component sizes") return;
    long long count = 1;
    parseInteger(prefix_["number of components"].value, count);
    isContainer_ = count > 1;
    if (isContainer_) return;
    for (const char* name : {"component offsets", "component sizes"})
        if (!isZeros(split(prefix_[name].value, ' '), 0))
            problem(prefix_[name], "are not 0 outside of a container");
    const std::vector<std::string> resolutions = split(prefix_["component resolutions"].value, ' ');
    if (!isZeros(resolutions, 1))
        problem(prefix_["component resolutions"], "after the first are not 0");
    if (prefix_["base component index"].value != "0")
        problem(prefix_["base component index"], "is not 0 outside of a container");
    if (count != 1) problem(prefix_["number of components"], "is not 1 or more");
}

void FieldCheck::checkAgainstPrefix(const Field& field)
{
    if (prefix_.empty()) return;
    const Field& text = prefix_["version text"];
    // Parts of a container have a prefix that was made with it.
    const bool ownPrefix = !isContainer_ && field.part == 0;
    if (ownPrefix && field.name == "VersionNumber" &&
        versionOf(text.value) != versionOf(field.value))
        findings_.note(
            text.offset, text.part, text.record,
            "version text is '" + printable(text.value) + "', VersionNumber " + field.value);
    const Field& resolutions = prefix_["component resolutions"];
    const std::string first = split(resolutions.value, ' ')[0];
    if (field.name == "SpatialResolution" && !isContainer_ && first != field.value)
        problem(resolutions, "begin with " + first + ", SpatialResolution is " + field.value);
}

}  // namespace zel_tool
