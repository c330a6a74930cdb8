#include "vorn_text.hpp"

#include <cpl_error.h>
#include <cpl_string.h>
#include <cpl_vsi.h>

#include <algorithm>
#include <memory>

#include "names.hpp"

namespace zel_gdal {
namespace {

constexpr std::size_t linesOfChannel = 7;
constexpr std::size_t lineOfLabel = 1;
constexpr std::size_t longestLine = 119;  // a longer one counts as several
constexpr const char* word = "Label ";

struct Close {
    void operator()(VSILFILE* file) const { VSIFCloseL(file); }
};

// A label is one line.
std::string oneLine(std::string text)
{
    for (char& character : text)
        if (character == '\n' || character == '\r') character = ' ';
    text = word + text;
    if (text.size() >= longestLine) text.resize(longestLine - 1);
    return text;
}

// The first lines of a file, without their ends.
std::vector<std::string> readLines(const std::string& name, std::size_t most)
{
    std::vector<std::string> lines;
    const std::unique_ptr<VSILFILE, Close> file(VSIFOpenL(name.c_str(), "rb"));
    if (!file) return lines;
    std::string text(most * (longestLine + 1), '\0');
    text.resize(VSIFReadL(text.data(), 1, text.size(), file.get()));
    for (std::size_t begin = 0; begin < text.size() && lines.size() < most;) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const bool isWhole = end - begin < longestLine;
        const std::string line = text.substr(begin, std::min(end - begin, longestLine));
        lines.push_back(line.substr(0, line.find('\r')));
        begin = isWhole ? end + 1 : begin + longestLine;
    }
    return lines;
}

}  // namespace

std::string vornTextName(const std::string& raster)
{
    return raster + ".hdr";
}

std::vector<std::string> readVornLabels(const std::string& name, int count)
{
    std::vector<std::string> labels;
    const std::vector<std::string> lines =
        readLines(name, static_cast<std::size_t>(count) * linesOfChannel);
    for (std::size_t line = lineOfLabel; line < lines.size(); line += linesOfChannel) {
        const auto blank = lines[line].find(' ');
        if (blank == std::string::npos) break;
        labels.push_back(utf8(lines[line].substr(blank + 1).c_str()));
    }
    return labels;
}

bool writeVornLabels(const std::string& name, const std::vector<std::string>& labels)
{
    std::string text;
    for (std::size_t i = 0; i < labels.size(); ++i) {
        text += "Channel " + std::to_string(i + 1) + "\n" + oneLine(labels[i]) + "\n";
        for (std::size_t line = lineOfLabel + 1; line < linesOfChannel; ++line)
            text += "not used\n";
    }
    VSILFILE* file = VSIFOpenL(name.c_str(), "wb");
    bool isWritten = file && VSIFWriteL(text.data(), 1, text.size(), file) == text.size();
    if (file) isWritten = VSIFCloseL(file) == 0 && isWritten;
    if (!isWritten) CPLError(CE_Failure, CPLE_FileIO, "%s: cannot be written", name.c_str());
    return isWritten;
}

}  // namespace zel_gdal
