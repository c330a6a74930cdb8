#include "scene/facts.hpp"

#include <cmath>

#include "base/text.hpp"

namespace zel_tool {

std::string number(const Json& value)
{
    return shown(value, "");
}

namespace {

std::string timeText(const Json& info)
{
    const std::string date = info["scene"]["date"].is_null()
                                 ? "year " + number(info["scene"]["year"])
                                 : shown(info["scene"]["date"]);
    const std::string day = ", day " + number(info["scene"]["day_of_year"]);
    if (info["start"].is_null()) return date + day;
    const bool instant = info["start"] == info["end"];
    return shown(info["start"]) + (instant ? "" : " to " + shown(info["end"])) + day;
}

std::string degrees(const Json& value, char positive, char negative)
{
    const double angle = value.get<double>();
    return format("%.4f %c", std::fabs(angle), angle < 0.0 ? negative : positive);
}

std::string placeText(const Json& footprint)
{
    if (footprint.is_null()) return {};
    const Json& box = footprint["bbox"];
    const Json& center = footprint["center"];
    return degrees(box[1], 'N', 'S') + " to " + degrees(box[3], 'N', 'S') + ", " +
           degrees(box[0], 'E', 'W') + " to " + degrees(box[2], 'E', 'W') + "; centre " +
           degrees(center[1], 'N', 'S') + " " + degrees(center[0], 'E', 'W');
}

std::string navigationText(const Json& navigation)
{
    if (navigation["points"] == 0) return "none";
    return number(navigation["points"]) + " points a line, from pixel " +
           number(navigation["first_pixel"]) + ", every " + number(navigation["interval"]);
}

std::string formatText(const Json& info)
{
    if (info["kind"] == "container")
        return "container of " + std::to_string(info["components"].size()) + " files, " +
               number(info["bytes"]) + " bytes";
    const Json& file = info["components"][0];
    return "version " + shown(info["version"]) + ", " + number(file["slots"]) + " slots, header " +
           number(file["header_bytes"]) + ", line " + number(file["line_bytes"]) + ", file " +
           number(info["bytes"]) + " bytes";
}

std::string extraText(const Json& info)
{
    const Json& extra = info["extra_bytes"];
    if (!extra.is_number() || extra == 0) return {};
    return number(extra) + " bytes after the last whole line";
}

}  // namespace

std::vector<Fact> factsOf(const Json& info)
{
    const Json& scene = info["scene"];
    return {{"Scene", shown(scene["comment"])},
            {"Time", timeText(info)},
            {"Sensor", shown(scene["sensor"]) + ", satellite " + number(scene["satellite"]) +
                           ", altitude " + number(scene["altitude_km"]) + " km"},
            {"Grid", number(info["pixels"]) + " x " + number(info["lines"]) + " pixels of " +
                         number(info["resolution_m"]) + " m"},
            {"Place", placeText(info["navigation"]["footprint"])},
            {"Navigation", navigationText(info["navigation"])},
            {"Format", formatText(info)},
            {"", extraText(info)}};
}

std::string rangeText(const Json& channel)
{
    if (channel["min"].is_null()) return {};
    return number(channel["min"]) + " .. " + number(channel["max"]);
}

std::string notesText(const Json& channel)
{
    std::vector<std::string> notes;
    if (!channel["lut"].is_null())
        notes.push_back("LUT " + shown(channel["lut"]));
    else if (channel["comment"] != Json(""))
        notes.push_back(shown(channel["comment"]));
    if (!channel["histogram"].is_null())
        notes.push_back("histogram of " + number(channel["histogram"]["pixels"]) + " pixels");
    if (!channel["standard_histogram"].is_null()) notes.emplace_back("standard histogram");
    if (!channel["mask"].is_null())
        notes.push_back("mask of " + number(channel["mask"]["classifiers"]) + " classifiers");
    if (!channel["tables"].empty())
        notes.push_back(std::to_string(channel["tables"].size()) + " tables");
    return join(notes, "; ");
}

std::string useOfPart(const Json& component)
{
    if (component["base"] == true) return "base";
    const std::string sampling = shown(component["sampling"]);
    return component["factor"] == 0 ? sampling : sampling + " " + number(component["factor"]);
}

std::vector<std::string> labelsOfPart(const Json& info, const Json& index)
{
    std::vector<std::string> labels;
    for (const Json& channel : info["channels"])
        if (channel["component"] == index) labels.push_back(shown(channel["label"]));
    return labels;
}

}  // namespace zel_tool
