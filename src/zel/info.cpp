// zel info: what is in a file.
#include "describe.hpp"
#include "failure.hpp"
#include "report.hpp"
#include "text.hpp"
#include "verbs.hpp"

namespace zel_tool {
namespace {

struct Options {
    std::vector<std::string> files;
    std::string get;
    bool json = false;
    bool stats = false;
    bool all = false;
};

std::string number(const Json& value)
{
    return shown(value, "");
}

std::string row(const char* name, const std::string& text)
{
    if (text.empty()) return {};
    return "  " + padded(name, 13) + wrapped(text, 86, 15) + "\n";
}

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

std::string headText(const Json& info)
{
    const Json& scene = info["scene"];
    const Json& base = info["components"][0];
    const bool container = info["kind"] == "container";
    std::string out = shown(info["file"]) + "\n";
    out += row("Scene", shown(scene["comment"]));
    out += row("Time", timeText(info));
    out += row("Sensor", shown(scene["sensor"]) + ", satellite " + number(scene["satellite"]) +
                             ", altitude " + number(scene["altitude_km"]) + " km");
    out += row("Grid", number(info["pixels"]) + " x " + number(info["lines"]) + " pixels of " +
                           number(info["resolution_m"]) + " m");
    out += row("Place", placeText(info["navigation"]["footprint"]));
    out += row("Navigation", navigationText(info["navigation"]));
    if (container)
        out += row("Format", "container of " + std::to_string(info["components"].size()) +
                                 " files, " + number(info["bytes"]) + " bytes");
    else
        out += row("Format", "version " + shown(info["version"]) + ", " + number(base["slots"]) +
                                 " slots, header " + number(base["header_bytes"]) + ", line " +
                                 number(base["line_bytes"]) + ", file " + number(info["bytes"]) +
                                 " bytes");
    if (info["extra_bytes"].is_number() && info["extra_bytes"] != 0)
        out += row("", number(info["extra_bytes"]) + " bytes after the last whole line");
    return out;
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

std::string rounded(const Json& value)
{
    return value.is_null() ? "-" : format("%.6g", value.get<double>());
}

std::vector<std::string> channelRow(const Json& c, bool container)
{
    std::vector<std::string> row = {"#" + number(c["slot"]),    shown(c["label"]),
                                    number(c["wavelength_um"]), shown(c["units"]),
                                    shown(c["storage"]),        rangeText(c)};
    if (container) row.insert(row.begin() + 1, number(c["component"]));
    if (c.contains("stats"))
        for (const char* key : {"min", "max", "mean", "sigma"})
            row.push_back(rounded(c["stats"][key]));
    row.push_back(notesText(c));
    return row;
}

std::string channelsText(const Json& info)
{
    const bool container = info["kind"] == "container";
    const Json& channels = info["channels"];
    if (channels.empty()) return "\nNo channels\n";
    std::vector<std::string> titles = {"slot", "label", "um", "units", "stored as", "range"};
    if (container) titles.insert(titles.begin() + 1, "part");
    if (channels[0].contains("stats")) titles.insert(titles.end(), {"min", "max", "mean", "sigma"});
    titles.emplace_back("notes");
    std::vector<std::vector<std::string>> rows = {titles};
    for (const Json& channel : channels) rows.push_back(channelRow(channel, container));
    std::string right = container ? "rrlrlll" : "rlrlll";
    if (channels[0].contains("stats")) right += "rrrr";
    return "\nChannels\n" + table(rows, right + "l", "  ");
}

std::string componentsText(const Json& info)
{
    if (info["kind"] != "container") return {};
    std::vector<std::vector<std::string>> rows = {
        {"part", "pixels", "lines", "metres", "onto the base grid", "first line", "channels"}};
    for (const Json& c : info["components"]) {
        std::vector<std::string> labels;
        for (const Json& channel : info["channels"])
            if (channel["component"] == c["index"]) labels.push_back(shown(channel["label"]));
        const std::string how = c["base"] == true ? "base"
                                : c["factor"] == 0
                                    ? shown(c["sampling"])
                                    : shown(c["sampling"]) + " " + number(c["factor"]);
        rows.push_back({number(c["index"]), number(c["pixels"]), number(c["lines"]),
                        number(c["resolution_m"]), how, shown(c["start"]), join(labels, " ")});
    }
    return "\nParts\n" + table(rows, "rrrrlll", "  ");
}

std::string lutsText(const Json& info, bool all)
{
    std::string out;
    for (const Json& lut : info["luts"]) {
        out += "\nLUT " + number(lut["key"]) + ": " + shown(lut["label"]) + ", " +
               std::to_string(lut["entries"].size()) + " entries\n";
        std::vector<std::vector<std::string>> rows;
        for (const Json& e : lut["entries"]) {
            const bool unused = e["label"] == "None" && e["rgb"] == Json({0, 0, 0});
            if (unused && !all) continue;
            rows.push_back({number(e["value"]),
                            format("#%02x%02x%02x", e["rgb"][0].get<unsigned>(),
                                   e["rgb"][1].get<unsigned>(), e["rgb"][2].get<unsigned>()),
                            shown(e["label"])});
        }
        out += table(rows, "rll", "  ");
    }
    return out;
}

std::string restText(const Json& info, bool all)
{
    std::string out;
    for (const Json& t : info["tables"])
        out += "\nTable " + number(t["key"]) + ": " + shown(t["label"]) + ", " +
               number(t["values"]) + " values\n";
    const Json& metadata = info["metadata"];
    if (metadata.is_null()) return out;
    out += "\nMetadata: type " + number(metadata["type"]) + ", " + number(metadata["bytes"]) +
           " bytes\n";
    if (!all) return out;
    for (const std::string& line : split(metadata["text"].get<std::string>(), '\n'))
        out += "  " + printable(line) + "\n";
    return out;
}

std::string infoText(const Json& info, bool all)
{
    return headText(info) + componentsText(info) + channelsText(info) + lutsText(info, all) +
           restText(info, all);
}

// The documents of a run, and whether one was shown already.
struct Shown {
    Json documents = Json::array();
    bool any = false;
};

int showFile(const Options& options, const std::string& file, Shown& shown)
{
    Scene scene(file);
    Json info = describe(scene, options.stats ? Stats::yes : Stats::no);
    if (!options.get.empty())
        put(jsonLine(jsonAt(info, options.get)));
    else if (options.json)
        shown.documents.push_back(std::move(info));
    else
        put((shown.any ? "\n" : "") + infoText(info, options.all));
    shown.any = true;
    return statusDone;
}

int run(const Options& options)
{
    Shown shown;
    const int status = forEachFile(
        options.files, [&](const std::string& file) { return showFile(options, file, shown); });
    const Json& all = shown.documents;
    if (options.json && options.get.empty())
        put(jsonText(options.files.size() == 1 && all.size() == 1 ? all[0] : all));
    return status;
}

}  // namespace

Command infoCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "info",
        "shows what is in files",
        {"Shows scene, date and time, sensor, grid, place on Earth, and every channel with its "
         "label, wavelength, units, storage and range; then LUTs, tables and metadata. Of a "
         "container it shows the parts side by side.",
         "Only headers and a few lines are read, unless --stats asks for the pixels."},
        {{"FILE", "A ZEL file or container.", &o->files}},
        {{"--json", "", "Print JSON: one object, or a list of them for several files.", &o->json},
         {"--get", "KEY",
          "Print the value at KEY of the JSON alone, as in channels.B5.units or scene.date.",
          &o->get},
         {"--stats", "",
          "Read all pixels and show least, greatest and mean value and standard deviation of "
          "each channel.",
          &o->stats},
         {"-a,--all", "", "Show unused LUT entries and the metadata text too.", &o->all}},
        {{"info scene.zel", "What is in this file?"},
         {"info --get channels.B5.units scene.zel", "The units of channel B5, for a script."},
         {"info --json *.zel > scenes.json", "Headers of many files, for a program."}},
        "a file could not be read, or has no such key",
        [o] { return run(*o); }};
}

}  // namespace zel_tool
