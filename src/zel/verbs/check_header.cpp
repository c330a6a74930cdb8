// The promises of headers and channel records.
#include <cmath>
#include <set>

#include "base/clock.hpp"
#include "base/text.hpp"
#include "scene/findings.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

// One part while its header is checked.
struct Header {
    ZELType& record;
    int part;
    const Places& places;
    Findings& findings;

    const ZELHeaderType& fields() const { return record.ZELHeader; }
    void problem(const char* name, const std::string& what) const
    {
        findings.problem(places.of(part, "header", name), part, "header", name + (" " + what));
    }
    void note(const char* name, const std::string& what) const
    {
        findings.note(places.of(part, "header", name), part, "header", name + (" " + what));
    }
};

void checkScene(const Header& h)
{
    const ZELHeaderType& f = h.fields();
    if (f.julian < 1 || f.julian > 366)
        h.problem("julian", format("%d is not a day of the year", f.julian));
    else if (f.year >= 1 && !isoDate(f.year, f.julian))
        h.note("julian", format("%d is not a day of %d", f.julian, f.year));
    if (f.year < 1) h.problem("year", format("%d is not a year", f.year));
    if (f.DataType < 0 || f.DataType > ZEL_SENSOR_UNSUPPORTED)
        h.problem("DataType", format("%d is not a sensor code", f.DataType));
    if (!(f.SpatialResolution > 0.0F) || std::isinf(f.SpatialResolution))
        h.problem("SpatialResolution",
                  format("%g is not a resolution", static_cast<double>(f.SpatialResolution)));
    if (!std::isfinite(f.SatelliteAltitude) || f.SatelliteAltitude < 0.0F)
        h.problem("SatelliteAltitude",
                  format("%g is not an altitude", static_cast<double>(f.SatelliteAltitude)));
    if (f.MetaDataSize < 0 || f.MetaDataSize > ZEL_METADATA_SIZE)
        h.problem("MetaDataSize",
                  format("%d is beyond the 20000 bytes of the text", f.MetaDataSize));
}

void checkNavigation(const Header& h)
{
    const ZELHeaderType& f = h.fields();
    if (f.NumNavPoints < 2) return;
    const long long last =
        f.StartNavPoint + static_cast<long long>(f.NumNavPoints - 1) * f.NavPointInterval;
    if (last >= f.NPixelPerLine)
        h.note("NumNavPoints", format("%d: the last point, of pixel %lld, is beyond the line",
                                      f.NumNavPoints, last));
}

void checkAngles(const Header& h)
{
    const ZELHeaderType& f = h.fields();
    const std::pair<const char*, int> angles[] = {{"SZChannelIndex", f.SZChannelIndex},
                                                  {"VZChannelIndex", f.VZChannelIndex},
                                                  {"AZChannelIndex", f.AZChannelIndex}};
    for (const auto& [name, slot] : angles) {
        const bool present =
            slot >= 0 && slot < f.MaxNumChan && h.record.Channels[slot].ChannelPresentFlag;
        if (slot != -1 && !present) h.problem(name, format("%d is not a channel", slot));
    }
}

void checkLuts(const Header& h)
{
    std::set<int> keys;
    for (const auto* lut = h.fields().DisplayLUTHead; lut; lut = lut->NextDisplayLUT)
        if (!keys.insert(lut->DisplayLUTKeyValue).second)
            h.findings.note(h.places.of(h.part, "header", "NumDisplayLUTs"), h.part, "header",
                            format("two LUTs have the key %d", lut->DisplayLUTKeyValue));
}

// One channel record.
struct Slot {
    const Header& header;
    int slot;

    const ZELChannelType& fields() const { return header.record.Channels[slot]; }
    std::string where() const
    {
        return format("channel %d", slot) + " (" + printable(fields().ChannelLabel) + ")";
    }
    long long place(const char* name) const
    {
        return header.places.of(header.part, format("channel %d", slot), name);
    }
    void problem(const char* name, const std::string& what) const
    {
        header.findings.problem(place(name), header.part, where(), what);
    }
    void note(const char* name, const std::string& what) const
    {
        header.findings.note(place(name), header.part, where(), what);
    }
};

void checkChannel(const Slot& s)
{
    const ZELChannelType& c = s.fields();
    if (isScaled(c.Type) && !(c.MaxValue > c.MinValue && std::isfinite(c.MaxValue - c.MinValue)))
        s.problem("MaxValue",
                  format("the scale runs from MinValue %g to MaxValue %g",
                         static_cast<double>(c.MinValue), static_cast<double>(c.MaxValue)));
    if (c.Units < 0 || c.Units > ZEL_UNITS_RADIANCE)
        s.problem("Units", format("Units %d is not a units code", c.Units));
    if (!std::isfinite(c.ChannelWaveLength))
        s.problem("ChannelWaveLength", "ChannelWaveLength is not a number");
    if (c.DataBitResolution < 0 || c.DataBitResolution > 8 * c.DataByteSize)
        s.note("DataBitResolution",
               format("DataBitResolution %d of %d bytes", c.DataBitResolution, c.DataByteSize));
    if (c.ChannelLabel[0] == '\0') s.note("ChannelLabel", "has no label");
    if (c.Units == ZEL_UNITS_LUT && !lutOf(s.header.record, s.slot))
        s.note("ChannelComment", "has units of a LUT, but no LUT has its comment as label");
}

void checkHistogram(const Slot& s, const ZELHistogramType* h, const char* kind)
{
    if (!h) return;
    const std::string name = kind;
    for (int i = 0; i < h->NumHistogramBins; ++i)
        if (h->Histogram[i] < 0)
            s.problem("histogram presence",
                      name + format(": bin %d counts %d", i, h->Histogram[i]));
    if (h->NumPixels > 0.0F && !(h->Max >= h->Min))
        s.problem("histogram presence",
                  name + format(" runs from %g to %g", static_cast<double>(h->Min),
                                static_cast<double>(h->Max)));
}

void checkLabels(const Header& h)
{
    std::set<std::string> labels;
    for (const int slot : presentSlots(h.record)) {
        const std::string label = labelOf(h.record.Channels[slot]);
        if (!label.empty() && !labels.insert(label).second)
            Slot{h, slot}.note("ChannelLabel", "has the label of another channel");
    }
}

}  // namespace

void checkHeader(ZELType& record, int part, const Places& places, Findings& findings)
{
    const Header h{record, part, places, findings};
    checkScene(h);
    checkNavigation(h);
    checkAngles(h);
    checkLuts(h);
    checkLabels(h);
    for (const int slot : presentSlots(record)) {
        const Slot s{h, slot};
        checkChannel(s);
        checkHistogram(s, s.fields().ChannelHistogram, "histogram");
        checkHistogram(s, s.fields().ChannelStandardHistogram, "standard histogram");
    }
    if (record.NumLines < 1)
        findings.problem(static_cast<long long>(record.fileOffset) + record.HeaderOffset, part,
                         "file", "has no lines");
}

}  // namespace zel_tool
