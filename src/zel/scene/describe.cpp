#include "scene/describe.hpp"

#include <algorithm>
#include <cmath>

#include "base/clock.hpp"
#include "base/provenance.hpp"
#include "base/text.hpp"
#include "scene/footprint.hpp"
#include "scene/names.hpp"
#include "scene/statistics.hpp"
#include "zel_features/zel_features.h"

namespace zel_tool {
namespace {

Json optionalText(const std::optional<std::string>& text)
{
    return text ? Json(*text) : Json(nullptr);
}

Json histogramJson(const ZELHistogramType* h)
{
    if (!h) return nullptr;
    return {{"bins", h->NumHistogramBins}, {"min", jsonNumber(h->Min)},
            {"max", jsonNumber(h->Max)},   {"pixels", jsonNumber(h->NumPixels)},
            {"mean", jsonNumber(h->Mean)}, {"sigma", jsonNumber(h->Sigma)}};
}

Json tablesJson(const TableListType& list)
{
    Json tables = Json::array();
    const TableType* table = list.NumTables > 0 ? list.TableHead : nullptr;
    for (; table; table = table->NextTable)
        tables.push_back({{"key", table->TableKeyValue},
                          {"label", utf8(table->TableLabel)},
                          {"values", table->NumTableValues}});
    return tables;
}

Json maskJson(const ZELFeatureMaskType* mask)
{
    if (!mask) return nullptr;
    const ZELMaskParameterType& p = mask->MaskParameters;
    const bool titled = p.Title.ListHead && p.Title.ListHead->Label;
    return {{"classifiers", mask->numClassifiers},
            {"kind", p.MaskType == ZEL_MASK_HIERARCHICAL ? "hierarchical" : "case"},
            {"label", mask->ZELChannelLabel ? utf8(mask->ZELChannelLabel) : ""},
            {"title", titled ? utf8(p.Title.ListHead->Label) : ""},
            {"pre_class_filters", p.PreClassFilters.num},
            {"post_class_filters", p.PostClassFilters.num}};
}

Json statisticsJson(const Statistics& s)
{
    if (s.count == 0)
        return {{"pixels", s.pixels}, {"valid", 0},      {"min", nullptr},
                {"max", nullptr},     {"mean", nullptr}, {"sigma", nullptr}};
    return {{"pixels", s.pixels},       {"valid", s.count}, {"min", jsonNumber(s.min)},
            {"max", jsonNumber(s.max)}, {"mean", s.mean},   {"sigma", s.sigma()}};
}

Json channelJson(ZELType& record, int slot, int number, int component)
{
    const ZELChannelType& c = record.Channels[slot];
    Json json = {{"slot", number},
                 {"number", number + 1},
                 {"label", labelOf(c)},
                 {"comment", utf8(c.ChannelComment)},
                 {"units", unitsName(c.Units)},
                 {"units_code", c.Units},
                 {"wavelength_um",
                  c.ChannelWaveLength > 0.0F ? jsonNumber(c.ChannelWaveLength) : Json(nullptr)},
                 {"storage", storageName(c.Type)},
                 {"storage_code", c.Type},
                 {"bytes", c.DataByteSize},
                 {"bits", c.DataBitResolution},
                 {"min", isScaled(c.Type) ? jsonNumber(c.MinValue) : Json(nullptr)},
                 {"max", isScaled(c.Type) ? jsonNumber(c.MaxValue) : Json(nullptr)},
                 {"base", c.BaseChannelFlag != 0},
                 {"component", component}};
    const ZELDisplayLUTType* lut = lutOf(record, slot);
    json["lut"] = lut ? Json(utf8(lut->DisplayLUTLabel)) : Json(nullptr);
    json["histogram"] = histogramJson(c.ChannelHistogram);
    json["standard_histogram"] = histogramJson(c.ChannelStandardHistogram);
    json["mask"] = maskJson(c.Mask);
    json["tables"] = tablesJson(c.TableList);
    return json;
}

Json lutsJson(const ZELType& record)
{
    Json luts = Json::array();
    const ZELDisplayLUTType* lut = record.ZELHeader.DisplayLUTHead;
    for (; lut; lut = lut->NextDisplayLUT) {
        Json entries = Json::array();
        for (int i = 0; i < lut->NumLUTValues; ++i) {
            const ZELLUTType& e = lut->DisplayLUT[i];
            entries.push_back(
                {{"value", i}, {"rgb", {e.R, e.G, e.B}}, {"label", utf8(e.LUTEntryLabel)}});
        }
        luts.push_back({{"key", lut->DisplayLUTKeyValue},
                        {"label", utf8(lut->DisplayLUTLabel)},
                        {"entries", entries}});
    }
    return luts;
}

Json positionJson(const Position& p)
{
    return {widened(static_cast<float>(p.lon)), widened(static_cast<float>(p.lat))};
}

// Twice the area inside a ring, positive when it runs counterclockwise. Steps across the date line
// are as short as they are on Earth.
double signedArea(const std::vector<Position>& ring)
{
    double area = 0.0;
    double lon = 0.0;  // from the first position
    for (std::size_t i = 1; i < ring.size(); ++i) {
        const double step = std::remainder(ring[i].lon - ring[i - 1].lon, 360.0);
        area += lon * (ring[i].lat - ring[0].lat) - (lon + step) * (ring[i - 1].lat - ring[0].lat);
        lon += step;
    }
    return area;
}

// A polygon of GeoJSON runs counterclockwise.
Json ringJson(std::vector<Position> ring)
{
    if (signedArea(ring) < 0.0) std::reverse(ring.begin(), ring.end());
    Json list = Json::array();
    for (const Position& p : ring) list.push_back(positionJson(p));
    return list;
}

Json footprintJson(const Footprint& f)
{
    const Json corner = positionJson({f.south, f.west});
    const Json opposite = positionJson({f.north, f.east});
    return {
        {"bbox", {corner[0], corner[1], opposite[0], opposite[1]}},
        {"center", positionJson(f.center)},
        {"outline", {{"type", "Polygon"}, {"coordinates", Json::array({ringJson(f.outline)})}}}};
}

Json metadataJson(const ZELHeaderType& h)
{
    if (h.MetaDataType == 0 && h.MetaDataSize <= 0) return nullptr;
    const auto size =
        static_cast<std::size_t>(std::clamp(h.MetaDataSize, 0, int{ZEL_METADATA_SIZE}));
    return {{"type", h.MetaDataType},
            {"bytes", h.MetaDataSize},
            {"text", utf8(std::string_view(h.MetaDataText, size))}};
}

Json navigationJson(const ZELHeaderType& h)
{
    return {{"points", h.NumNavPoints},
            {"first_pixel", h.StartNavPoint},
            {"interval", h.NavPointInterval},
            {"footprint", nullptr}};
}

const char* samplingName(int flag)
{
    static constexpr const char* names[] = {"same", "average", "replicate"};
    return flag >= 0 && flag <= 2 ? names[flag] : "unknown";
}

// Grid, time and place of a component, or of a plain file.
Json componentJson(ZELType& record, int index, bool base)
{
    const ZELHeaderType& h = record.ZELHeader;
    const Survey seen = survey(record);
    Json navigation = navigationJson(h);
    if (seen.footprint) navigation["footprint"] = footprintJson(*seen.footprint);
    return {{"index", index},
            {"base", base},
            {"sampling", samplingName(record.samplingFlag)},
            {"factor", record.samplingFactor},
            {"pixels", h.NPixelPerLine},
            {"lines", record.NumLines},
            {"resolution_m", jsonNumber(h.SpatialResolution)},
            {"version", format("%.2f", static_cast<double>(h.VersionNumber))},
            {"offset", record.fileOffset},
            {"header_bytes", record.HeaderOffset},
            {"line_bytes", record.LineOffset},
            {"slots", h.MaxNumChan},
            {"comment", utf8(h.DataComment)},
            {"start", optionalText(isoTime(h.year, h.julian, seen.firstTime))},
            {"end", optionalText(isoTime(h.year, h.julian, seen.lastTime))},
            {"navigation", navigation}};
}

Json sceneJson(const ZELHeaderType& h)
{
    return {{"comment", utf8(h.DataComment)},
            {"sensor", sensorName(h.DataType)},
            {"sensor_code", h.DataType},
            {"satellite", h.sat_no},
            {"date", optionalText(isoDate(h.year, h.julian))},
            {"year", h.year},
            {"day_of_year", h.julian},
            {"altitude_km", jsonNumber(h.SatelliteAltitude)}};
}

Json anglesJson(const ZELHeaderType& h)
{
    const auto slot = [](int index) { return index >= 0 ? Json(index) : Json(nullptr); };
    return {{"solar_zenith", slot(h.SZChannelIndex)},
            {"view_zenith", slot(h.VZChannelIndex)},
            {"azimuth", slot(h.AZChannelIndex)}};
}

// The channels of a component under the numbers that the view, or the plain file, has for them.
void addChannels(Json& channels, Scene& scene, int index, Stats stats)
{
    ZELType& record = scene.component(index);
    const std::vector<int> slots = presentSlots(record);
    std::vector<Statistics> statistics;
    if (stats == Stats::yes) statistics = measure(record, slots, scene.file());
    for (std::size_t i = 0; i < slots.size(); ++i) {
        const int number = scene.isContainer() ? static_cast<int>(channels.size()) : slots[i];
        channels.push_back(channelJson(record, slots[i], number, index));
        if (stats == Stats::yes) channels.back()["stats"] = statisticsJson(statistics[i]);
    }
}

// Bytes after the last whole line; not of a container, whose parts have their sizes in its
// directory.
Json extraBytes(Scene& scene)
{
    if (scene.isContainer()) return nullptr;
    const ZELType& r = scene.view();
    return scene.bytes() - r.HeaderOffset - static_cast<long long>(r.NumLines) * r.LineOffset;
}

}  // namespace

Json describe(Scene& scene, Stats stats)
{
    const ZELHeaderType& h = scene.view().ZELHeader;
    Json components = Json::array();
    Json channels = Json::array();
    for (int i = 0; i < scene.componentCount(); ++i) {
        components.push_back(componentJson(scene.component(i), i, i == scene.baseComponent()));
        addChannels(channels, scene, i, stats);
    }
    const Json& base = components[static_cast<std::size_t>(scene.baseComponent())];
    Json document = {{"file", utf8(recordedName(scene.file()))},
                     {"bytes", scene.bytes()},
                     {"extra_bytes", extraBytes(scene)},
                     {"kind", scene.isContainer() ? "container" : "file"},
                     {"scene", sceneJson(h)}};
    for (const char* key :
         {"version", "start", "end", "pixels", "lines", "resolution_m", "navigation"})
        document[key] = base[key];
    document["angles"] = anglesJson(h);
    document["channels"] = channels;
    document["luts"] = lutsJson(scene.view());
    document["tables"] = tablesJson(h.TableList);
    document["metadata"] = metadataJson(h);
    document["components"] = components;
    return document;
}

}  // namespace zel_tool
