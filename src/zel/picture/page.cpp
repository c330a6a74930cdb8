#include "picture/page.hpp"

#include <algorithm>

#include "base/provenance.hpp"
#include "base/text.hpp"
#include "picture/charts.hpp"
#include "picture/html.hpp"
#include "picture/panel.hpp"
#include "scene/describe.hpp"
#include "scene/facts.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr std::size_t mostClasses = 16;
constexpr std::string_view provenanceBegin = "<meta name=\"zel run\" content=\"";

std::string section(const char* title, const std::string& content)
{
    if (content.empty()) return {};
    return element("section", element("h2", title) + content);
}

std::string terms(const std::vector<Fact>& facts)
{
    std::string out;
    for (const Fact& fact : facts)
        if (!fact.text.empty()) out += element("dt", fact.name) + element("dd", html(fact.text));
    return element("dl", out);
}

std::string shortNumber(double value)
{
    return format("%.5g", value);
}

std::string swatch(const ZELLUTType& entry)
{
    return format("<i style=\"background:#%02x%02x%02x\"></i>", entry.R, entry.G, entry.B);
}

// --- a channel -----------------------------------------------------------------------------------

std::string classList(const Panel& panel)
{
    std::string out;
    for (std::size_t i = 0; i < std::min(panel.classes.size(), mostClasses); ++i) {
        const ClassCount& c = panel.classes[i];
        const ZELLUTType& entry = panel.lut->DisplayLUT[c.value];
        out += element("li", swatch(entry) + element("b", share(c.count, panel.statistics.pixels)) +
                                 html(entry.LUTEntryLabel) + format(" <small>%d</small>", c.value));
    }
    if (panel.classes.size() > mostClasses)
        out += element("li", format("and %zu more", panel.classes.size() - mostClasses));
    return element("ul", out, "classes");
}

std::string valuesText(const Panel& panel)
{
    const Statistics& s = panel.statistics;
    if (s.count == 0) return element("p", "no values", "quiet");
    std::string text = format("mean %.5g, \u03C3 %.3g", s.mean, s.sigma());
    const long long beyond = panel.distribution.below + panel.distribution.above;
    if (beyond > 0) text += ", " + share(beyond, s.count) + " not shown";
    if (s.count < s.pixels) text += ", " + share(s.pixels - s.count, s.pixels) + " missing";
    return element("p", text, "quiet");
}

std::string titleOf(const ZELChannelType& c)
{
    std::string detail;
    if (c.ChannelWaveLength > 0.0F) detail = shortest(c.ChannelWaveLength) + " \u00B5m";
    const std::string symbol = unitsSymbol(c.Units);
    if (!symbol.empty()) detail += (detail.empty() ? "" : ", ") + symbol;
    return element("figcaption", element("b", html(c.ChannelLabel)) + " " + detail);
}

std::string panelHtml(const ZELType& record, const Panel& panel)
{
    const ZELChannelType& channel = record.Channels[panel.slot];
    const std::string values =
        panel.lut ? classList(panel)
                  : histogramSvg(panel.distribution, panel.stretch) + valuesText(panel);
    return element(
        "figure", titleOf(channel) + htmlImage(panel.image, "Channel " + labelOf(channel)) + values,
        panel.lut ? "card classes" : "card");
}

// --- sections ------------------------------------------------------------------------------------

std::string headerHtml(const Json& info)
{
    const std::string name = shown(info["file"]);
    const std::string comment = shown(info["scene"]["comment"]);
    return element("header", element("p", html(name), "quiet") +
                                 element("h1", html(comment.empty() ? name : comment)));
}

std::string mainPicture(const Subject& subject, const Look& look, Size size,
                        const std::string& file)
{
    const Picture p = picture(subject, look, size, file);
    return element("figure",
                   htmlImage(p.image, "The scene") +
                       element("figcaption", html(captionOf(p, *subject.record)), "quiet"));
}

std::string mapHtml(Scene& scene)
{
    std::vector<Ground> grounds;
    grounds.reserve(static_cast<std::size_t>(scene.componentCount()));
    for (int i = 0; i < scene.componentCount(); ++i)
        grounds.push_back({format("part %d", i), survey(scene.component(i))});
    std::swap(grounds[0], grounds[static_cast<std::size_t>(scene.baseComponent())]);
    const std::string map = mapSvg(grounds);
    if (map.empty()) return {};
    const bool hasTrack = grounds[0].survey.track.size() > 1;
    return element(
        "figure",
        map + element("figcaption",
                      std::string("Outline of the scene by its navigation. The dot is the first "
                                  "pixel of the first line") +
                          (hasTrack ? "; the arrow is the track of the nadir pixel from the "
                                      "first line to the last."
                                    : ". The nadir is not in the scene."),
                      "quiet"));
}

std::string partsHtml(const Json& info, const std::vector<Panels>& parts)
{
    if (info["kind"] != "container") return {};
    std::string out;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const Json& c = info["components"][i];
        const std::vector<Fact> facts = {
            {"Grid", number(c["pixels"]) + " \u00D7 " + number(c["lines"]) + " pixels of " +
                         number(c["resolution_m"]) + " m"},
            {"Sampling", useOfPart(c)},
            {"First line", c["start"].is_null() ? "" : shown(c["start"])},
            {"Channels", join(labelsOfPart(info, c["index"]), " ")},
            {"Scene", c["comment"] == info["scene"]["comment"] ? "" : shown(c["comment"])}};
        out += element("figure",
                       element("figcaption", element("b", format("Part %zu", i))) +
                           htmlImage(parts[i].image, format("Part %zu", i)) + terms(facts),
                       "card");
    }
    return element("div", out, "cards");
}

std::vector<std::string> channelRow(const Json& c, const Panel& panel, bool container)
{
    const Statistics& s = panel.statistics;
    const bool counted = s.count > 0;
    const bool mean = counted && !panel.lut;
    return {"#" + number(c["slot"]),
            container ? number(c["component"]) : "",
            shown(c["label"]),
            number(c["wavelength_um"]),
            shown(c["units"]),
            shown(c["storage"]),
            rangeText(c),
            counted ? shortNumber(static_cast<double>(s.min)) : "",
            counted ? shortNumber(static_cast<double>(s.max)) : "",
            mean ? shortNumber(s.mean) : "",
            mean ? shortNumber(s.sigma()) : "",
            notesText(c)};
}

std::string channelsHtml(const Json& info, const std::vector<Panels>& parts)
{
    if (info["channels"].empty()) return element("p", "The file has no channels.");
    std::vector<std::vector<std::string>> rows = {{"slot", "part", "label", "\u00B5m", "units",
                                                   "stored as", "range", "min", "max", "mean",
                                                   "\u03C3", "notes"}};
    const bool container = info["kind"] == "container";
    std::size_t row = 0;
    for (const Panels& part : parts)
        for (const Panel& panel : part.channels)
            rows.push_back(channelRow(info["channels"][row++], panel, container));
    return htmlTable(rows, "rrlrlllrrrrl");
}

std::string panelsHtml(Scene& scene, const std::vector<Panels>& parts)
{
    std::string out;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const ZELType& record = scene.component(static_cast<int>(i));
        std::string cards;
        for (const Panel& panel : parts[i].channels) cards += panelHtml(record, panel);
        if (cards.empty()) continue;
        if (scene.isContainer()) out += element("h3", format("Part %zu", i));
        out += element("div", cards, "cards");
    }
    return out;
}

std::string lutsHtml(const Json& info)
{
    std::string out;
    for (const Json& lut : info["luts"]) {
        std::string entries;
        for (const Json& e : lut["entries"]) {
            if (e["label"] == "None" && e["rgb"] == Json({0, 0, 0})) continue;
            const ZELLUTType color{e["rgb"][0], e["rgb"][1], e["rgb"][2], {}};
            entries += element(
                "li", swatch(color) + element("b", number(e["value"])) + html(shown(e["label"])));
        }
        out += element("details",
                       element("summary", html(shown(lut["label"])) +
                                              format(", %zu entries", lut["entries"].size())) +
                           element("ul", entries, "classes"));
    }
    return out;
}

std::string tablesHtml(const Json& info)
{
    std::vector<std::vector<std::string>> rows = {{"key", "label", "values"}};
    for (const Json& t : info["tables"])
        rows.push_back({number(t["key"]), shown(t["label"]), number(t["values"])});
    return rows.size() > 1 ? htmlTable(rows, "rlr") : "";
}

std::string metadataHtml(const Json& metadata)
{
    const std::string all = metadata.is_null() ? "" : metadata["text"].get<std::string>();
    if (all.empty()) return {};
    std::string text;
    for (const std::string& line : split(all, '\n')) text += html(line) + "\n";
    return element("pre", text);
}

// Where the outputs of a run come from.
std::string provenanceHtml()
{
    const std::string& record = provenance().record;
    if (record.empty()) return {};
    return std::string(provenanceBegin) + html(record) + "\">\n";
}

}  // namespace

std::optional<std::string> provenanceOfPage(const std::string& page)
{
    const auto begin = page.find(provenanceBegin);
    if (begin == std::string::npos) return std::nullopt;
    const auto at = begin + provenanceBegin.size();
    return fromHtml(page.substr(at, page.find('"', at) - at));
}

std::string pageOf(Scene& scene, const Subject& subject, const Look& look, Size size)
{
    const Json info = describe(scene, Stats::no);
    std::vector<Panels> parts;
    parts.reserve(static_cast<std::size_t>(scene.componentCount()));
    for (int i = 0; i < scene.componentCount(); ++i)
        parts.push_back(panelsOf(scene.component(i), scene.file()));
    const std::vector<Fact> facts = factsOf(info);
    const std::string intro =
        mainPicture(subject, look, size, scene.file()) +
        element("div", terms({facts.begin() + 1, facts.end()}) + mapHtml(scene));
    return std::string("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                       "img-src data:; style-src 'unsafe-inline'\">\n") +
           provenanceHtml() + element("title", html(shown(info["file"]))) +
           element("style", pageStyle) + "</head>\n<body>\n" + headerHtml(info) +
           element("main",
                   element("section", intro, "intro") + section("Parts", partsHtml(info, parts)) +
                       section("Channels", channelsHtml(info, parts)) +
                       section("Pictures and histograms", panelsHtml(scene, parts)) +
                       section("LUTs", lutsHtml(info)) + section("Tables", tablesHtml(info)) +
                       section("Metadata", metadataHtml(info["metadata"]))) +
           element("footer", "zel " ZEL_LIBRARY_VERSION_TEXT) + "</body>\n</html>\n";
}

}  // namespace zel_tool
