#include "lut_file.hpp"

#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "messages.hpp"
#include "stream.hpp"

namespace zel_combine {
namespace {

// A file with more empty lines in a row than this is not a definition file, but one without an end.
constexpr int maxEmptyLines = 1'000'000;

// A file that is being read. A number missing from a line keeps the value of the line before.
struct LutText {
    const char* name;
    Stream stream;
    char line[lutLineSize] = "";
    int linesRead = 0;
    bool endless = false;
    float min = 0.0f, max = 0.0f;  // of the colour scale
    int numEntries = 0;
    float R = 0.0f, G = 0.0f, B = 0.0f;
    int index = 0;
};

int nextLine(LutText& text)
{
    ++text.linesRead;
    return ReadLutLine(text.stream.get(), text.line);
}

// The next line with content; false at the end of the file, and of a file without an end.
bool nextContent(LutText& text)
{
    int length = 0;
    for (int i = 0; length == 0 && i < maxEmptyLines; ++i) length = nextLine(text);
    text.endless = length == 0;
    return length > 0;
}

bool failParsing(const LutText& text)
{
    if (failedReading(text.stream.get(), "LUT definition file", text.name)) return false;
    say("error parsing LUT file line %d\n", text.linesRead);
    return false;
}

// The two lines after the title are taken as they stand, comments or not.
bool readSizes(LutText& text)
{
    if (nextLine(text) < 0) return failParsing(text);
    std::sscanf(text.line, "%f %f", &text.min, &text.max);
    if (nextLine(text) < 0) return failParsing(text);
    std::sscanf(text.line, "%d", &text.numEntries);
    return true;
}

// The low 8 bits of the place on the scale; 0 when it exceeds every integer.
unsigned char colour(const LutText& text, float value)
{
    const double place = static_cast<double>((value - text.min) / (text.max - text.min)) * 255.0;
    if (!(std::fabs(place) < 0x1p63)) return 0;
    return static_cast<unsigned char>(static_cast<std::int64_t>(place) & 0xFF);
}

// Loads the entry that the current line describes: "R G B index : label".
bool loadEntry(LutText& text, ZELDisplayLUTType* lut)
{
    const char* colon = std::strchr(text.line, ':');
    if (!colon) return failParsing(text);
    const char* label = colon + std::strspn(colon, ": ");
    std::sscanf(text.line, "%f %f %f %d", &text.R, &text.G, &text.B, &text.index);
    ZELLoadLUTEntry(lut, text.index, colour(text, text.R), colour(text, text.G),
                    colour(text, text.B), label);
    return true;
}

// Adds the LUT whose title is the current line. Null, after a message, when the file is damaged.
ZELDisplayLUTType* addLUT(LutText& text, ZELType* file, int key)
{
    const std::string title = text.line;
    if (!readSizes(text)) return nullptr;
    ZELDisplayLUTType* lut = ZELAddLUT(file, key, text.numEntries, title.c_str());
    for (int i = 0; lut && i < text.numEntries; ++i) {
        const bool loaded = nextContent(text) ? loadEntry(text, lut) : failParsing(text);
        if (!loaded) return nullptr;
    }
    return lut;
}

// Gives the LUTs of a record the keys 0, 1, 2, ...; returns the last one given, 0 without any.
int renumberLUTs(ZELType* file)
{
    int key = -1;
    for (ZELDisplayLUTType* lut = ZELFetchFirstLut(file); lut; lut = ZELFetchNextLut(lut))
        lut->DisplayLUTKeyValue = static_cast<std::int16_t>(++key);
    return key > 0 ? key : 0;
}

}  // namespace

int all_spaces(const char* line)
{
    for (; *line; ++line)
        if (!std::isspace(static_cast<unsigned char>(*line))) return 0;
    return 1;
}

int ReadLutLine(FILE* fptr, char* line)
{
    if (!std::fgets(line, lutLineSize, fptr) || std::feof(fptr)) return -1;
    if (line[0] == '#' || all_spaces(line)) return 0;
    const std::size_t length = std::strlen(line) - 1;
    line[length] = '\0';
    return static_cast<int>(length);
}

ZELDisplayLUTType* ReadLUT(const char* filename, ZELType* ZELdata)
{
    LutText text{filename, Stream(std::fopen(filename, "r"))};
    if (!text.stream) {
        say("Cannot open LUT definition file %s\n", filename);
        return nullptr;
    }
    int key = renumberLUTs(ZELdata);
    ZELDisplayLUTType* lut = nullptr;
    while (nextContent(text)) {
        lut = addLUT(text, ZELdata, ++key);
        if (!lut) return nullptr;
    }
    if (text.endless) failParsing(text);
    if (text.endless || failedReading(text.stream.get(), "LUT definition file", filename))
        return nullptr;
    if (!lut) say("zel_combine: Error: no LUT in LUT definition file %s\n", filename);
    return lut;
}

}  // namespace zel_combine
