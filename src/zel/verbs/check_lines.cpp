// The promises of scan lines, and of histograms against them.
#include <algorithm>
#include <cmath>
#include <memory>

#include "base/progress.hpp"
#include "base/text.hpp"
#include "scene/findings.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr double longestTime = 48.0;  // hours: a scan may run beyond midnight

// A channel whose histogram is counted again as its lines come.
struct Recount {
    int slot;
    ZELHistogramType* stored;
    std::unique_ptr<ZELHistogramType, void (*)(ZELHistogramType*)> counted{nullptr,
                                                                           ZELFreeHistogram};
};

std::vector<Recount> recounts(ZELType& record)
{
    std::vector<Recount> all;
    for (const int slot : presentSlots(record)) {
        ZELHistogramType* stored = record.Channels[slot].ChannelHistogram;
        if (!stored || stored->NumHistogramBins < 2) continue;
        Recount one{slot, stored};
        one.counted.reset(ZELCreateHistogram(stored->NumHistogramBins));
        all.push_back(std::move(one));
    }
    return all;
}

// The library counts into the channel's own histogram: the new one takes its place meanwhile.
void countLine(ZELType& record, Recount& one)
{
    ZELChannelType& channel = record.Channels[one.slot];
    channel.ChannelHistogram = one.counted.get();
    channel.UpdateChannelHistogramFlag = 1;
    try {
        guarded([&] { ZELIncrementHistogram(&record, one.slot); });
    } catch (...) {
        channel.ChannelHistogram = one.stored;
        throw;
    }
    channel.ChannelHistogram = one.stored;
}

struct Line {
    ZELType& record;
    int part;
    int number;
    Findings& findings;

    long long offset() const
    {
        return static_cast<long long>(record.fileOffset) + record.HeaderOffset +
               static_cast<long long>(number) * record.LineOffset;
    }
    void problem(const std::string& what) const
    {
        findings.problem(offset(), part, format("line %d", number), what);
    }
    void note(const std::string& what) const
    {
        findings.note(offset(), part, format("line %d", number), what);
    }
};

void checkScan(const Line& line)
{
    const ZELType& r = line.record;
    const int pixels = r.ZELHeader.NPixelPerLine;
    if (!(r.ScanTime >= 0.0 && r.ScanTime < longestTime))
        line.problem("ScanTime is not a time of day");
    if (!(r.ScanAltitude >= 0.0F && std::isfinite(r.ScanAltitude)))
        line.problem("ScanAltitude is not an altitude");
    if (r.LeftPixel < 0 || r.RightPixel >= pixels || r.LeftPixel > r.RightPixel)
        line.problem("LeftPixel and RightPixel are not inside the line");
    if (r.NadirPixel >= pixels) line.problem("NadirPixel is beyond the line");
}

void checkPositions(const Line& line)
{
    const ZELType& r = line.record;
    for (int i = 0; i < r.ZELHeader.NumNavPoints; ++i) {
        if (!(std::fabs(r.LatBuffer[i]) <= 90.0F))
            return line.problem("a latitude is beyond 90 degrees");
        if (!(std::fabs(r.LonBuffer[i]) <= 180.0F))
            return line.problem("a longitude is beyond 180 degrees");
    }
}

void checkClasses(const Line& line, int slot)
{
    const ZELDisplayLUTType* lut = lutOf(line.record, slot);
    if (!lut) return;
    const ZELChannelType& c = line.record.Channels[slot];
    for (int x = 0; x < line.record.ZELHeader.NPixelPerLine; ++x)
        if (!(c.ChannelData[x] >= 0.0F && c.ChannelData[x] < static_cast<float>(lut->NumLUTValues)))
            return line.note("channel " + printable(c.ChannelLabel) +
                             " has a class that its LUT does not have");
}

void checkFloats(const Line& line, int slot)
{
    const ZELChannelType& c = line.record.Channels[slot];
    if (c.Type != ZEL_STORED_FLOAT) return;
    for (int x = 0; x < line.record.ZELHeader.NPixelPerLine; ++x)
        if (!std::isfinite(c.ChannelData[x]))
            return line.note("channel " + printable(c.ChannelLabel) +
                             " has values that are not numbers");
}

// What a histogram counts depends on values before they were stored, so that a count that differs
// is worth a note only; more counts than pixels is wrong.
void compareCounts(ZELType& record, int part, const Places& places, const Recount& one,
                   Findings& findings)
{
    const auto stored = static_cast<double>(one.stored->NumPixels);
    const auto counted = static_cast<double>(one.counted->NumPixels);
    const double pixels = static_cast<double>(record.NumLines) * record.ZELHeader.NPixelPerLine;
    const std::string channel = format("channel %d", one.slot);
    const std::string where =
        channel + " (" + printable(record.Channels[one.slot].ChannelLabel) + ")";
    const long long place = places.of(part, channel, "histogram presence");
    if (stored > pixels)
        findings.problem(place, part, where,
                         format("the histogram counts %.0f pixels of %.0f", stored, pixels));
    else if (stored != counted)
        findings.note(
            place, part, where,
            format("the histogram counts %.0f pixels, the lines have %.0f", stored, counted));
}

}  // namespace

void checkLines(ZELType& record, int part, const Places& places, Findings& findings,
                const std::string& file)
{
    std::vector<Recount> counts = recounts(record);
    const std::vector<int> slots = presentSlots(record);
    const int flag = record.HistogramFlag;
    record.HistogramFlag = 1;
    double before = -1.0;
    bool backwards = false;
    Progress progress(file, record.NumLines);
    for (int number = 0; number < record.NumLines; ++number) {
        readLine(record, number, Decode::yes);
        const Line line{record, part, number, findings};
        checkScan(line);
        checkPositions(line);
        for (const int slot : slots) {
            checkClasses(line, slot);
            checkFloats(line, slot);
        }
        if (record.ScanTime < before && !backwards)
            line.note("ScanTime is before that of the line above");
        backwards = backwards || record.ScanTime < before;
        before = record.ScanTime;
        for (Recount& one : counts) countLine(record, one);
        progress.update(number + 1);
    }
    record.HistogramFlag = flag;
    for (const Recount& one : counts) compareCounts(record, part, places, one, findings);
}

}  // namespace zel_tool
