// A header as Python's own types.
#include <algorithm>
#include <string>

#include "component.hpp"
#include "zel_features/zel_features.h"

namespace zel_python {
namespace {

using namespace py::literals;

template <class T>
Array<T> arrayOf(const T* values, int count)
{
    return Array<T>(std::max(count, 0), values);
}

py::object histogramOf(const ZELHistogramType* h)
{
    if (!h) return py::none();
    return py::dict("counts"_a = arrayOf(h->Histogram, h->NumHistogramBins), "min"_a = h->Min,
                    "max"_a = h->Max, "pixels"_a = h->NumPixels, "mean"_a = h->Mean,
                    "sigma"_a = h->Sigma);
}

py::list tablesOf(const TableListType& list)
{
    py::list tables;
    const TableType* table = list.NumTables > 0 ? list.TableHead : nullptr;
    for (; table; table = table->NextTable)
        tables.append(py::dict("key"_a = table->TableKeyValue,
                               "label"_a = toText(table->TableLabel),
                               "values"_a = arrayOf(table->Table, table->NumTableValues)));
    return tables;
}

py::object maskOf(const ZELFeatureMaskType* mask)
{
    if (!mask) return py::none();
    const ZELMaskParameterType& p = mask->MaskParameters;
    const bool isTitled = p.Title.ListHead && p.Title.ListHead->Label;
    return py::dict("classifiers"_a = mask->numClassifiers,
                    "is_hierarchical"_a = p.MaskType == ZEL_MASK_HIERARCHICAL,
                    "label"_a = toText(mask->ZELChannelLabel ? mask->ZELChannelLabel : ""),
                    "title"_a = toText(isTitled ? p.Title.ListHead->Label : ""),
                    "pre_class_filters"_a = p.PreClassFilters.num,
                    "post_class_filters"_a = p.PostClassFilters.num);
}

py::dict channelOf(const ZELType& record, int slot, int lut)
{
    const ZELChannelType& c = record.Channels[slot];
    py::dict facts("slot"_a = slot, "label"_a = toText(c.ChannelLabel),
                   "comment"_a = toText(c.ChannelComment), "unit"_a = c.Units,
                   "wavelength"_a = c.ChannelWaveLength, "storage"_a = c.Type, "min"_a = c.MinValue,
                   "max"_a = c.MaxValue, "bits"_a = c.DataBitResolution,
                   "itemsize"_a = c.DataByteSize, "offset"_a = c.DataOffset,
                   "is_base"_a = c.BaseChannelFlag != 0, "lut"_a = lut);
    facts["histogram"] = histogramOf(c.ChannelHistogram);
    facts["standard_histogram"] = histogramOf(c.ChannelStandardHistogram);
    facts["mask"] = maskOf(c.Mask);
    facts["tables"] = tablesOf(c.TableList);
    return facts;
}

py::dict lutOf(const ZELDisplayLUTType& lut)
{
    Array<std::uint8_t> colours({py::ssize_t{lut.NumLUTValues}, py::ssize_t{3}});
    py::list names;
    std::uint8_t* colour = colours.mutable_data();
    for (int i = 0; i < lut.NumLUTValues; ++i) {
        const ZELLUTType& entry = lut.DisplayLUT[i];
        for (const unsigned char part : {entry.R, entry.G, entry.B}) *colour++ = part;
        names.append(toText(entry.LUTEntryLabel));
    }
    return py::dict("key"_a = lut.DisplayLUTKeyValue, "label"_a = toText(lut.DisplayLUTLabel),
                    "colours"_a = colours, "names"_a = names);
}

py::object metadataOf(const ZELHeaderType& h)
{
    if (h.MetaDataType == 0 && h.MetaDataSize <= 0) return py::none();
    const auto size =
        static_cast<std::size_t>(std::clamp(h.MetaDataSize, 0, int{ZEL_METADATA_SIZE}));
    return py::dict("type"_a = h.MetaDataType,
                    "text"_a = toText(std::string_view(h.MetaDataText, size)));
}

py::dict headerOf(const ZELHeaderType& h)
{
    return py::dict(
        "sensor"_a = h.DataType, "year"_a = h.year, "day_of_year"_a = h.julian,
        "satellite"_a = h.sat_no, "version"_a = h.VersionNumber, "pixels"_a = h.NPixelPerLine,
        "slots"_a = h.MaxNumChan, "altitude"_a = h.SatelliteAltitude,
        "resolution"_a = h.SpatialResolution, "comment"_a = toText(h.DataComment),
        "points"_a = h.NumNavPoints, "first_point"_a = h.StartNavPoint,
        "point_interval"_a = h.NavPointInterval,
        "angle_slots"_a = py::make_tuple(h.SZChannelIndex, h.VZChannelIndex, h.AZChannelIndex));
}

}  // namespace

std::vector<int> lutsOf(ZELType& record)
{
    std::vector<int> luts(ZEL_MAX_CHANNELS, -1);
    for (int slot = 0; slot < record.ZELHeader.MaxNumChan; ++slot) {
        const ZELChannelType& channel = record.Channels[slot];
        if (!channel.ChannelPresentFlag || channel.ChannelComment[0] == '\0') continue;
        const ZELDisplayLUTType* found = ZELFetchLUTByLabel(&record, channel.ChannelComment);
        if (!found) continue;
        int place = 0;
        for (const auto* lut = record.ZELHeader.DisplayLUTHead; lut != found; ++place)
            lut = lut->NextDisplayLUT;
        luts[static_cast<std::size_t>(slot)] = place;
    }
    return luts;
}

py::dict factsOf(ZELType& record, const std::vector<int>& luts)
{
    const ZELHeaderType& h = record.ZELHeader;
    py::dict facts = headerOf(h);
    facts["metadata"] = metadataOf(h);
    facts["tables"] = tablesOf(h.TableList);
    facts["lines"] = record.NumLines;
    facts["first_line"] = std::int64_t{record.fileOffset} + record.HeaderOffset;
    facts["line_size"] = record.LineOffset;
    facts["is_swapped"] = ZELIsByteSwapped(&record) != 0;
    py::list channels;
    for (int slot = 0; slot < h.MaxNumChan; ++slot)
        if (record.Channels[slot].ChannelPresentFlag)
            channels.append(channelOf(record, slot, luts[static_cast<std::size_t>(slot)]));
    facts["channels"] = channels;
    py::list all;
    for (const auto* lut = h.DisplayLUTHead; lut; lut = lut->NextDisplayLUT)
        all.append(lutOf(*lut));
    facts["luts"] = all;
    return facts;
}

}  // namespace zel_python
