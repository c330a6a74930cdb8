// zel pixel: every channel at one place.
#include <cmath>
#include <memory>

#include "base/clock.hpp"
#include "base/failure.hpp"
#include "base/json.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "command/verbs.hpp"
#include "scene/library.hpp"
#include "scene/locate.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

struct Options {
    std::string file;
    std::string x;
    std::string y;
    std::vector<double> at;
    std::vector<std::string> channels;
    int part = -1;
    bool json = false;
};

int coordinate(const std::string& text, const char* name)
{
    long long value = 0;
    if (!parseInteger(text, value) || std::llabs(value) > INT32_MAX)
        throw Misuse(format("%s is not a whole number: '%s'", name, printable(text).c_str()));
    return static_cast<int>(value);
}

Located placeByNumbers(const Options& o, const ZELType& record)
{
    Located place;
    place.x = coordinate(o.x, "X");
    place.y = coordinate(o.y, "Y");
    const int pixels = record.ZELHeader.NPixelPerLine;
    if (record.NumLines < 1) throw Failure("has no lines");
    if (place.x < 0 || place.x >= pixels || place.y < 0 || place.y >= record.NumLines)
        throw Failure(format("no pixel %d, %d: pixels are 0 to %d, lines 0 to %d", place.x, place.y,
                             pixels - 1, record.NumLines - 1));
    return place;
}

Located placeByPosition(const Options& o, ZELType& navigated)
{
    const Position wanted{o.at[0], o.at[1]};
    if (!(std::fabs(wanted.lat) <= 90.0) || !(std::fabs(wanted.lon) <= 180.0))
        throw Misuse("--at takes a latitude of -90 to 90 and a longitude of -180 to 180");
    const Located place = locate(navigated, wanted, o.file);
    if (!place.isInside())
        throw Failure(format("the position is outside: the nearest pixel, %d, %d, is %.1f km away",
                             place.x, place.y, place.metres / 1000.0));
    return place;
}

Json angle(float value)
{
    return jsonNumber(value);
}

Json anglesJson(ZELType& record, int x)
{
    float* sz = nullptr;
    float* vz = nullptr;
    float* az = nullptr;
    guarded([&] { ZELFetchSolar(&record, &sz, &vz, &az); });
    // All of them 0: not known.
    if (!sz || !vz || !az || (sz[x] == 0.0F && vz[x] == 0.0F && az[x] == 0.0F)) return nullptr;
    return {{"solar_zenith", angle(sz[x])},
            {"view_zenith", angle(vz[x])},
            {"relative_azimuth", angle(az[x])}};
}

Json positionJson(ZELType& record, int x)
{
    if (record.ZELHeader.NumNavPoints < 1) return nullptr;
    float* lat = nullptr;
    float* lon = nullptr;
    guarded([&] { ZELFetchNavigation(&record, &lat, &lon); });
    return {{"lat", jsonNumber(lat[x])}, {"lon", jsonNumber(lon[x])}};
}

Json stored(const ZELType& record, int slot, int x)
{
    const double number = storedNumber(record, slot, x);
    if (record.Channels[slot].Type == ZEL_STORED_FLOAT)
        return jsonNumber(static_cast<float>(number));
    return static_cast<long long>(number);
}

Json channelJson(Scene& scene, ZELType& record, bool isView, int slot, int x)
{
    const ZELChannelType& c = record.Channels[slot];
    const Scene::Origin origin = isView ? scene.origin(slot) : Scene::Origin{&record, slot, 0};
    // The average of classes is no class.
    const bool averaged = isView && origin.record->samplingFlag == ZEL_SAMPLING_AVERAGE;
    const std::string name =
        averaged ? ""
                 : className(lutOf(*origin.record, origin.slot), storedNumber(record, slot, x));
    return {{"slot", slot},
            {"label", labelOf(c)},
            {"stored", stored(record, slot, x)},
            {"value", jsonNumber(c.ChannelData[x])},
            {"units", unitsName(c.Units)},
            {"class", name.empty() ? Json(nullptr) : Json(name)},
            {"averaged", averaged}};
}

Json pixelJson(Scene& scene, const Options& o)
{
    ZELType& record = scene.part(o.part);
    const bool isView = o.part == -1;
    ZELType& navigated = isView ? scene.component(scene.baseComponent()) : record;
    const Located place = o.at.empty() ? placeByNumbers(o, record) : placeByPosition(o, navigated);
    readLine(record, place.y, Decode::yes);
    const ZELHeaderType& h = record.ZELHeader;
    const auto time = isoTime(h.year, h.julian, record.ScanTime);
    Json json = {{"file", utf8(scene.file())},
                 {"x", place.x},
                 {"y", place.y},
                 {"time", time ? Json(*time) : Json(nullptr)},
                 {"position", positionJson(record, place.x)},
                 {"angles", anglesJson(record, place.x)},
                 {"distance_m", o.at.empty() ? Json(nullptr) : Json(place.metres)},
                 {"channels", Json::array()}};
    for (const int slot : findChannels(record, o.channels))
        json["channels"].push_back(channelJson(scene, record, isView, slot, place.x));
    return json;
}

std::string degrees(const Json& value, int digits)
{
    return value.is_null() ? "-" : format("%.*f", digits, value.get<double>());
}

std::string pixelText(const Json& json)
{
    std::string out =
        shown(json["file"]) + ": pixel " + shown(json["x"]) + " of line " + shown(json["y"]);
    if (!json["distance_m"].is_null())
        out += format(", %.0f m from the position", json["distance_m"].get<double>());
    out += "\n";
    if (!json["position"].is_null())
        out += "  Position  latitude " + degrees(json["position"]["lat"], 5) + ", longitude " +
               degrees(json["position"]["lon"], 5) + "\n";
    if (!json["time"].is_null()) out += "  Time      " + shown(json["time"]) + "\n";
    if (!json["angles"].is_null())
        out += "  Angles    solar zenith " + degrees(json["angles"]["solar_zenith"], 2) +
               ", view zenith " + degrees(json["angles"]["view_zenith"], 2) +
               ", relative azimuth " + degrees(json["angles"]["relative_azimuth"], 2) + "\n";
    std::vector<std::vector<std::string>> rows = {
        {"slot", "label", "stored", "value", "units", "class"}};
    for (const Json& c : json["channels"])
        rows.push_back({"#" + shown(c["slot"]), shown(c["label"]), shown(c["stored"]),
                        shown(c["value"]), shown(c["units"]),
                        c["class"].is_null() ? "" : shown(c["class"])});
    return out + "\n" + table(rows, "rlrrll", "  ");
}

int run(const Options& o)
{
    if (o.at.empty() == (o.x.empty() || o.y.empty()))
        throw Misuse(o.at.empty() ? "give X and Y, or --at" : "give X and Y or --at, not both");
    if (!o.at.empty() && !o.x.empty()) throw Misuse("give X and Y or --at, not both");
    return forEachFile({o.file}, [&](const std::string& file) {
        Scene scene(file);
        const Json json = pixelJson(scene, o);
        put(o.json ? jsonText(json) : pixelText(json));
        return statusDone;
    });
}

}  // namespace

Command pixelCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "pixel",
        "shows every channel at one pixel",
        {"Shows for every channel the stored number, the value with its units and, of a class "
         "channel with a LUT, the name of the class; besides, position, scan time and angles.",
         "Pixels and lines are counted from 0. With --at the pixel nearest to a position is taken, "
         "by the file's own navigation, also across the date line; a position farther outside "
         "than a pixel is an error. Of a container the grid of its base part is meant, unless "
         "--part names another."},
        {{"FILE", "A ZEL file or container.", &o->file},
         {"X", "Pixel of the line, from 0.", &o->x, Takes::text, false},
         {"Y", "Line, from 0.", &o->y, Takes::text, false}},
        {{"--at", "LAT LON", "The pixel nearest to this position, degrees north and east.", &o->at},
         {"-c,--channel", "NAMES",
          "Only these channels, as in B4,B3: label, Ch6 (the number in expressions) or #5 (slot).",
          &o->channels},
         {"--part", "N", "This part of a container, from 0, on its own grid.", &o->part},
         {"--json", "", "Print a JSON object.", &o->json}},
        {{"pixel scene.zel 100 200", "All channels at pixel 100 of line 200."},
         {"pixel scene.zel --at 30.7 -87.4 -c B5", "One channel at a position."}},
        "the file could not be read, or the place or channel is not in it",
        [o] { return run(*o); }};
}

}  // namespace zel_tool
