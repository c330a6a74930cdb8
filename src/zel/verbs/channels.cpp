// zel channels: channels as a Vorn raster, for other programs.
#include <bit>
#include <cstring>
#include <memory>

#include "base/failure.hpp"
#include "base/output_file.hpp"
#include "base/progress.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "command/verbs.hpp"
#include "scene/library.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr std::int32_t byteOrderWord = 0xABCD;
constexpr long long headerBytes = 16;
constexpr std::size_t longestLabel =
    112;  // of the text header, whose lines end after 119 characters

struct Options {
    std::string file;
    std::string output;
    std::string header;
    std::vector<std::string> channels;
    int part = -1;
    bool overwrite = false;
};

void append(std::string& bytes, std::uint32_t word)
{
    for (unsigned shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(word >> shift & 0xFFU);
}

std::string rasterHeader(const ZELType& record, std::size_t channels)
{
    std::string bytes;
    append(bytes, byteOrderWord);
    append(bytes, static_cast<std::uint32_t>(record.ZELHeader.NPixelPerLine));
    append(bytes, static_cast<std::uint32_t>(record.NumLines));
    append(bytes, static_cast<std::uint32_t>(channels));
    return bytes;
}

// The label as it is in the file, on one line.
std::string headerLabel(const ZELChannelType& channel)
{
    std::string label = channel.ChannelLabel;
    for (char& c : label)
        if (static_cast<unsigned char>(c) < 0x20) c = '_';
    return label.substr(0, longestLabel);
}

// Seven lines a channel; readers take the label of the second.
std::string textHeader(const ZELType& record, const std::vector<int>& slots)
{
    std::string text;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        const ZELChannelType& c = record.Channels[slots[i]];
        text += format("Channel %zu\nLabel ", i + 1) + headerLabel(c);
        text += "\nUnits " + unitsName(c.Units) + "\nWavelength " + shortest(c.ChannelWaveLength);
        text += format("\nSlot %d\nPixels %d\nLines %d\n", slots[i], record.ZELHeader.NPixelPerLine,
                       record.NumLines);
    }
    return text;
}

std::string rowBytes(const float* values, int count)
{
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(count) * 4);
    for (int x = 0; x < count; ++x) append(bytes, std::bit_cast<std::uint32_t>(values[x]));
    return bytes;
}

// The planes of the channels follow each other, so that a line goes to a place in each.
void writePlanes(ZELType& record, const std::vector<int>& slots, OutputFile& raster,
                 const std::string& file)
{
    const int pixels = record.ZELHeader.NPixelPerLine;
    const long long row = 4LL * pixels;
    Progress progress(file, record.NumLines);
    for (int line = 0; line < record.NumLines; ++line) {
        readLine(record, line, Decode::yes);
        for (std::size_t i = 0; i < slots.size(); ++i) {
            const long long place =
                headerBytes + row * (static_cast<long long>(i) * record.NumLines + line);
            raster.writeAt(place, rowBytes(record.Channels[slots[i]].ChannelData, pixels));
        }
        progress.update(line + 1);
    }
}

int exportChannels(const Options& o, const std::string& file)
{
    Scene scene(file);
    ZELType& record = scene.part(o.part);
    const std::vector<int> slots = findChannels(record, o.channels);
    if (slots.empty()) throw Failure("has no channels");
    const std::string headerName = o.header.empty() ? o.output + ".hdr" : o.header;
    const Overwrite overwrite = o.overwrite ? Overwrite::yes : Overwrite::no;
    requireOther(file, o.output);
    requireOther(file, headerName);
    OutputFile raster(o.output, overwrite);
    OutputFile header(headerName, overwrite);
    raster.writeAt(0, rasterHeader(record, slots.size()));
    header.write(textHeader(record, slots));
    writePlanes(record, slots, raster, file);
    raster.commit();  // the one that may fail to reach the disk
    header.commit();
    remark(printable(o.output) +
           format(": %zu channels of %d x %d pixels; labels in ", slots.size(),
                  record.ZELHeader.NPixelPerLine, record.NumLines) +
           printable(headerName));
    return statusDone;
}

int run(const Options& o)
{
    if (o.output.empty()) throw Misuse("-o is required");
    return forEachFile({o.file}, [&](const std::string& file) { return exportChannels(o, file); });
}

}  // namespace

Command channelsCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "channels",
        "writes channels as a Vorn raster for other programs",
        {"Writes the values of channels as 32-bit floats, one plane after the other, after 16 "
         "bytes "
         "of header: the word 0xABCD, pixels, lines and channels, all little-endian. The labels go "
         "to a text header of seven lines a channel beside it.",
         "A classifier's result in the same form comes back with --raster and --raster-header of "
         "zel combine. Channels of a container are brought to the grid of its base part, unless "
         "--part names one."},
        {{"FILE", "A ZEL file or container.", &o->file}},
        {{"-o,--output", "FILE", "Write this raster.", &o->output, Takes::file},
         {"--header", "FILE",
          "Write the text header here; the raster's name with .hdr is the default.", &o->header,
          Takes::file},
         {"-c,--channel", "NAMES",
          "These channels, in this order, as in B4,B3: label, Ch6 (the number in expressions) or "
          "#5 "
          "(slot); all are the default.",
          &o->channels},
         {"--part", "N", "This part of a container, from 0, on its own grid.", &o->part},
         {"--overwrite", "", "Replace existing outputs.", &o->overwrite}},
        {{"channels scene.zel -c B4,B5 -o scene.vorn", "Two channels for a classifier."}},
        "the file could not be read, a channel is not in it, or the raster could not be written",
        [o] { return run(*o); }};
}

}  // namespace zel_tool
