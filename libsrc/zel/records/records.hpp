// Every record of the format, written down once: its fields in file order, for any walker.
#ifndef ZEL_RECORDS_RECORDS_HPP
#define ZEL_RECORDS_RECORDS_HPP

#include "records/walk.hpp"
#include "zel_types.h"

namespace zel {

// The characters that a file begins with, of which there is no terminator in the file, and the
// width of the version text after them.
inline constexpr int magicSize = 3;
inline constexpr int versionTextSize = 10;

// The start of a file, which doubles as the directory of a composite.
struct Prefix {
    char magic[magicSize + 1];
    char version[versionTextSize + 1];
    std::int32_t baseIndex;
    std::int32_t numComponents;
    std::int32_t offsets[ZEL_MAX_COMPONENTS];
    float resolutions[ZEL_MAX_COMPONENTS];
    std::int32_t sizes[ZEL_MAX_COMPONENTS];
};

template <class Walker>
constexpr void walkMagic(Walker& w, Prefix& p)
{
    w.record(Level::record, "prefix");
    w.text("magic", p.magic, magicSize);
    w.text("version text", p.version, versionTextSize);
}

template <class Walker>
constexpr void walkDirectory(Walker& w, Prefix& p)
{
    w.field("base component index", p.baseIndex);
    w.field("number of components", p.numComponents);
    w.array("component offsets", p.offsets, ZEL_MAX_COMPONENTS);
    w.array("component resolutions", p.resolutions, ZEL_MAX_COMPONENTS);
    w.array("component sizes", p.sizes, ZEL_MAX_COMPONENTS);
}

template <class Walker>
constexpr void walkPrefix(Walker& w, Prefix& p)
{
    walkMagic(w, p);
    walkDirectory(w, p);
}

template <class Walker>
constexpr void walkVersion(Walker& w, ZELHeaderType& h)
{
    w.field("VersionNumber", h.VersionNumber);
}

// The header from after the version number to the LUT and table blocks.
template <class Walker>
constexpr void walkHeaderStart(Walker& w, ZELHeaderType& h)
{
    if (w.since(101)) w.field("MaxNumChan", h.MaxNumChan);
    w.field("year", h.year);
    w.field("julian", h.julian);
    w.field("sat_no", h.sat_no);
    w.field("NPixelPerLine", h.NPixelPerLine);
    if (!w.since(111)) return;
    w.field("NumNavPoints", h.NumNavPoints);
    w.field("StartNavPoint", h.StartNavPoint);
    w.field("NavPointInterval", h.NavPointInterval);
    w.field("DataType", h.DataType);
    w.field("SatelliteAltitude", h.SatelliteAltitude);
    w.field("SpatialResolution", h.SpatialResolution);
    w.text("DataComment", h.DataComment, ZEL_COMMENT_SIZE);
    w.field("NumDisplayLUTs", h.NumDisplayLUTs);
    w.field("NumTables", h.TableList.NumTables);
}

// The header after the LUT and table blocks.
template <class Walker>
constexpr void walkHeaderEnd(Walker& w, ZELHeaderType& h)
{
    if (w.since(142)) {
        w.field("SZChannelIndex", h.SZChannelIndex);
        w.field("VZChannelIndex", h.VZChannelIndex);
        w.field("AZChannelIndex", h.AZChannelIndex);
    }
    if (w.since(201)) {
        w.field("MetaDataType", h.MetaDataType);
        w.field("MetaDataSize", h.MetaDataSize);
        w.array("MetaDataText", h.MetaDataText, ZEL_METADATA_SIZE);
    }
}

// A channel record up to its mask, table and histogram blocks.
template <class Walker>
constexpr void walkChannel(Walker& w, ZELChannelType& c)
{
    w.field("ChannelPresentFlag", c.ChannelPresentFlag);
    w.field("MaxValue", c.MaxValue);
    w.field("MinValue", c.MinValue);
    w.field("Type", c.Type);
    w.field("DataByteSize", c.DataByteSize);
    w.field("DataBitResolution", c.DataBitResolution);
    w.text("ChannelLabel", c.ChannelLabel, ZEL_CHANNEL_TEXT_SIZE);
    w.text("ChannelComment", c.ChannelComment, ZEL_CHANNEL_TEXT_SIZE);
    if (w.since(111)) w.field("ChannelWaveLength", c.ChannelWaveLength);
    if (w.since(131)) w.field("Units", c.Units);
    if (w.since(132)) w.field("BaseChannelFlag", c.BaseChannelFlag);
}

// ---- Blocks: a head, and as many items as it counts ----

template <class Walker>
constexpr void walkLUTEntry(Walker& w, ZELLUTType& entry)
{
    w.field("R", entry.R);
    w.field("G", entry.G);
    w.field("B", entry.B);
    w.text("LUTEntryLabel", entry.LUTEntryLabel, ZEL_LABEL_SIZE);
}

template <class Walker>
constexpr void walkLUT(Walker& w, ZELDisplayLUTType& lut)
{
    w.field("NumLUTValues", lut.NumLUTValues);
    w.field("DisplayLUTKeyValue", lut.DisplayLUTKeyValue);
    w.text("DisplayLUTLabel", lut.DisplayLUTLabel, ZEL_LABEL_SIZE);
    w.items(lut);
    for (int i = 0; i < lut.NumLUTValues; ++i) {
        w.record(Level::entry, "entry", i);
        walkLUTEntry(w, lut.DisplayLUT[i]);
    }
}

template <class Walker>
constexpr void walkTable(Walker& w, TableType& table)
{
    w.field("NumTableValues", table.NumTableValues);
    w.field("TableKeyValue", table.TableKeyValue);
    w.text("TableLabel", table.TableLabel, ZEL_LABEL_SIZE);
    w.items(table);
    w.array("value", table.Table, table.NumTableValues);
}

template <class Walker>
constexpr void walkHistogram(Walker& w, ZELHistogramType& histogram)
{
    w.record(Level::block, "histogram");
    w.field("NumHistogramBins", histogram.NumHistogramBins);
    w.field("Max", histogram.Max);
    w.field("Min", histogram.Min);
    w.items(histogram);
    w.array("histogram counts", histogram.Histogram, histogram.NumHistogramBins);
}

// ---- Whole records ----
// Their walkers also take blocks and pixels:
//     walker.luts(file), walker.tables(list), walker.mask(channel),
//     walker.histogram(file, histogram),
//     walker.pixels(file, slot);
// and look at what they have before they go on:
//     walker.counts(file);                          the counts of the header are there
//     walker.channel(channel);                      the fixed part of a channel record is there
//     walker.slot(file, slot);                      all of a channel record is there
// and may pass over a channel record:
//     walker.repeats(file, slot);                   it is that of the slot before once more

template <class Walker>
constexpr void walkHeader(Walker& w, ZELType& f)
{
    ZELHeaderType& h = f.ZELHeader;
    w.record(Level::record, "header");
    walkVersion(w, h);
    walkHeaderStart(w, h);
    w.counts(f);
    if (w.since(111) && h.NumDisplayLUTs > 0) w.luts(f);
    if (w.since(111) && h.TableList.NumTables > 0) w.tables(h.TableList);
    w.record(Level::record, "header");
    walkHeaderEnd(w, h);
}

// A histogram that the file does not keep has no block.
template <class Walker>
constexpr void walkHistogramBlock(Walker& w, ZELType& f, const char* presence,
                                  ZELHistogramType*& histogram, bool isKept)
{
    unsigned char present = histogram && isKept ? 1 : 0;
    w.field(presence, present);
    if (present) w.histogram(f, histogram);
}

template <class Walker>
constexpr void walkSlot(Walker& w, ZELType& f, int slot)
{
    ZELChannelType& c = f.Channels[slot];
    w.record(Level::record, "channel", slot);
    walkChannel(w, c);
    w.channel(c);
    if (w.since(141)) w.mask(c);
    if (w.since(211)) {
        w.record(Level::record, "channel", slot);
        w.field("channel NumTables", c.TableList.NumTables);
        if (c.TableList.NumTables != 0) w.tables(c.TableList);
    }
    if (w.since(121)) {
        w.record(Level::record, "channel", slot);
        walkHistogramBlock(w, f, "histogram presence", c.ChannelHistogram, f.HistogramFlag != 0);
        w.record(Level::record, "channel", slot);
        walkHistogramBlock(w, f, "standard histogram presence", c.ChannelStandardHistogram, true);
    }
    w.slot(f, slot);
}

// Everything between the prefix and the first line.
template <class Walker>
constexpr void walkFile(Walker& w, ZELType& f)
{
    walkHeader(w, f);
    for (int slot = 0; slot < f.ZELHeader.MaxNumChan; ++slot)
        if (!w.repeats(f, slot)) walkSlot(w, f, slot);
}

// A line record up to its navigation points.
template <class Walker>
constexpr void walkScan(Walker& w, ZELType& f)
{
    w.field("ScanTime", f.ScanTime);
    if (w.since(131)) w.field("ScanAltitude", f.ScanAltitude);
    if (w.since(201)) {
        w.field("LeftPixel", f.LeftPixel);
        w.field("RightPixel", f.RightPixel);
        w.field("NadirPixel", f.NadirPixel);
    }
    if (w.since(221)) {
        w.field("NadirLat", f.NadirLat);
        w.field("NadirLon", f.NadirLon);
    }
}

// A line record up to its pixels.
template <class Walker>
constexpr void walkLineStart(Walker& w, ZELType& f)
{
    walkScan(w, f);
    w.array("LatBuffer", f.LatBuffer, f.ZELHeader.NumNavPoints);
    w.array("LonBuffer", f.LonBuffer, f.ZELHeader.NumNavPoints);
}

template <class Walker>
constexpr void walkLine(Walker& w, ZELType& f)
{
    walkLineStart(w, f);
    const int slots = f.ZELHeader.MaxNumChan;
    for (int slot = 0; slot < slots; ++slot)
        if (f.Channels[slot].ChannelPresentFlag) w.pixels(f, slot);
}

// Bytes of a line record before its pixels.
int navOffset(ZELType& file);

// Bytes of a LUT record, a table record and a histogram record.
std::int64_t lutRecordSize(int numValues);
std::int64_t tableRecordSize(int numValues);
std::int64_t histogramRecordSize(int numBins);

// Whether a stream begins with a prefix: then nothing else has its place there. False where that
// cannot be read. The stream stays where it is.
bool beginsWithPrefix(FILE* stream);

// Bytes of a stored pixel by storage code; 0 for no storage code.
int storedPixelSize(int storageCode);

}  // namespace zel

#endif
