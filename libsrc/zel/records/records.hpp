// Every record of the format, written down once: its fields in file order, for any walker.
#ifndef ZEL_RECORDS_RECORDS_HPP
#define ZEL_RECORDS_RECORDS_HPP

#include "records/walk.hpp"
#include "zel_types.h"

namespace zel {

// The characters that a file begins with, of which there is no terminator in the file.
inline constexpr int magicSize = 3;

// The start of a file, which doubles as the directory of a composite.
struct Prefix {
    char magic[magicSize + 1];
    char version[11];
    std::int32_t baseIndex;
    std::int32_t numComponents;
    std::int32_t offsets[ZEL_MAX_COMPONENTS];
    float resolutions[ZEL_MAX_COMPONENTS];
    std::int32_t sizes[ZEL_MAX_COMPONENTS];
};

template <class Walker>
constexpr void walkMagic(Walker& w, Prefix& p)
{
    w.text("magic", p.magic, magicSize);
    w.text("version text", p.version, 10);
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

// The header from behind the version number to the LUT and table blocks.
template <class Walker>
constexpr void walkHeader(Walker& w, ZELHeaderType& h)
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

// The header behind the LUT and table blocks.
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

// A LUT record is its head and NumLUTValues entries.
template <class Walker>
constexpr void walkLUT(Walker& w, ZELDisplayLUTType& lut)
{
    w.field("NumLUTValues", lut.NumLUTValues);
    w.field("DisplayLUTKeyValue", lut.DisplayLUTKeyValue);
    w.text("DisplayLUTLabel", lut.DisplayLUTLabel, ZEL_LABEL_SIZE);
}

template <class Walker>
constexpr void walkLUTEntry(Walker& w, ZELLUTType& entry)
{
    w.field("R", entry.R);
    w.field("G", entry.G);
    w.field("B", entry.B);
    w.text("LUTEntryLabel", entry.LUTEntryLabel, ZEL_LABEL_SIZE);
}

// A table record is its head and NumTableValues floats.
template <class Walker>
constexpr void walkTable(Walker& w, TableType& table)
{
    w.field("NumTableValues", table.NumTableValues);
    w.field("TableKeyValue", table.TableKeyValue);
    w.text("TableLabel", table.TableLabel, ZEL_LABEL_SIZE);
}

// A histogram record is its head and NumHistogramBins counts.
template <class Walker>
constexpr void walkHistogram(Walker& w, ZELHistogramType& histogram)
{
    w.field("NumHistogramBins", histogram.NumHistogramBins);
    w.field("Max", histogram.Max);
    w.field("Min", histogram.Min);
}

// A line record up to the pixels of its channels.
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

template <class Walker>
constexpr void walkNavigation(Walker& w, ZELType& f)
{
    w.array("LatBuffer", f.LatBuffer, f.ZELHeader.NumNavPoints);
    w.array("LonBuffer", f.LonBuffer, f.ZELHeader.NumNavPoints);
}

// Bytes of a channel record's fixed part, and of a line record before its pixels, by version.
int channelRecordSize(int version);
int navOffset(int version, int numNavPoints);

// Bytes of a LUT record, a table record and a histogram record.
std::int64_t lutRecordSize(int numValues);
std::int64_t tableRecordSize(int numValues);
std::int64_t histogramRecordSize(int numBins);

// Whether a stream begins with a prefix: then nothing else has its place there. False where that cannot
// be read. The stream stays where it stands.
bool beginsWithPrefix(FILE* stream);

// Bytes of a stored pixel by storage code; 0 for no storage code.
int storedPixelSize(int storageCode);

}  // namespace zel

#endif
