// zel info: what is in a file.
#include "base/failure.hpp"
#include "base/provenance.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "command/verbs.hpp"
#include "scene/describe.hpp"
#include "scene/facts.hpp"

namespace zel_tool {
namespace {

struct Options {
    std::vector<std::string> files;
    std::string get;
    bool json = false;
    bool stats = false;
    bool all = false;
};

std::string row(const char* name, const std::string& text)
{
    if (text.empty()) return {};
    return "  " + padded(name, 13) + wrapped(text, 86, 15) + "\n";
}

std::string headText(const Json& info)
{
    std::string out = shown(info["file"]) + "\n";
    for (const Fact& fact : factsOf(info)) out += row(fact.name, fact.text);
    return out;
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
        rows.push_back({number(c["index"]), number(c["pixels"]), number(c["lines"]),
                        number(c["resolution_m"]), useOfPart(c), shown(c["start"]),
                        join(labelsOfPart(info, c["index"]), " ")});
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
    if (!provenance().record.empty()) info["run"] = Json::parse(provenance().record);
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
