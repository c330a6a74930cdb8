// A plan as text and as JSON.
#include "base/text.hpp"
#include "combine/plan.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

const Source& sourceOf(Sources& sources, int part)
{
    return sources.files()[static_cast<std::size_t>(sources.fileOf(part))];
}

std::string gridText(const ZELType& record)
{
    return format("%d x %d pixels of ", record.ZELHeader.NPixelPerLine, record.NumLines) +
           shortest(record.ZELHeader.SpatialResolution) + " m";
}

std::string sourceText(Sources& sources, const ChannelPlan& channel)
{
    const Source& source = sourceOf(sources, channel.part);
    const std::string part =
        source.parts > 1 ? format(" part %d", sources.indexInFile(channel.part)) : "";
    return printable(source.file) + part + format(" #%d", channel.sourceSlot);
}

std::string relationText(const ChannelPlan& channel)
{
    if (channel.grid == Grid::same) return "same";
    return (channel.grid == Grid::finer ? "finer, " : "coarser, ") + std::to_string(channel.factor);
}

// The lines of the base that a channel has no pixels for.
std::string gapText(const ChannelPlan& channel, int lines)
{
    if (channel.linesCovered >= lines) return {};
    return spanText(channel.linesCovered, lines - 1);
}

std::vector<std::string> rowOf(const ChannelPlan& channel, Sources& sources, const Recipe& recipe)
{
    std::vector<std::string> row = {format("#%d", channel.slot), printable(channel.label)};
    if (channel.part < 0)
        row.insert(row.end(), {printable(recipe.raster.file), "", "same"});
    else
        row.insert(row.end(), {sourceText(sources, channel), gridText(sources.part(channel.part)),
                               relationText(channel)});
    row.insert(row.end(), {channel.methodText(), storageName(channel.storage),
                           printable(join(channel.missing.texts, ", ")),
                           gapText(channel, sources.view().NumLines)});
    return row;
}

// Without the columns that would stay empty.
std::string channelTable(const Plan& plan, Sources& sources, const Recipe& recipe)
{
    std::vector<std::vector<std::string>> rows = {{"slot", "label", "from", "grid", "relation",
                                                   "method", "stored as", "missing",
                                                   "missing lines"}};
    for (const ChannelPlan& channel : plan.channels)
        rows.push_back(rowOf(channel, sources, recipe));
    for (const std::size_t column : {std::size_t{7}, std::size_t{8}}) {
        bool used = false;
        for (std::size_t i = 1; i < rows.size(); ++i) used = used || !rows[i][column].empty();
        if (!used) rows[0][column].clear();
    }
    return table(rows, "rllllllll", "  ");
}

Json gridJson(const ZELType& record)
{
    return {{"pixels", record.ZELHeader.NPixelPerLine},
            {"lines", record.NumLines},
            {"resolution", jsonNumber(record.ZELHeader.SpatialResolution)}};
}

Json gapJson(long long first, long long lines)
{
    if (first >= lines) return nullptr;
    return {{"first", first}, {"last", lines - 1}};
}

Json sourceJson(const ChannelPlan& channel, Sources& sources, const Recipe& recipe)
{
    if (channel.part < 0)
        return {{"file", utf8(recipe.raster.file)},
                {"part", nullptr},
                {"slot", channel.sourceSlot},
                {"grid", nullptr}};
    return {{"file", utf8(sourceOf(sources, channel.part).file)},
            {"part", sources.indexInFile(channel.part)},
            {"slot", channel.sourceSlot},
            {"grid", gridJson(sources.part(channel.part))}};
}

Json channelJson(const ChannelPlan& channel, Sources& sources, const Recipe& recipe)
{
    static constexpr const char* relations[] = {"same", "finer", "coarser"};
    Json missing = nullptr;
    if (channel.missing.isDeclared()) {
        missing = {{"values", Json::array()}, {"min_valid", channel.minValid}};
        for (const std::string& text : channel.missing.texts)
            missing["values"].push_back(utf8(text));
    }
    return {{"slot", channel.slot},
            {"label", utf8(channel.label)},
            {"source", sourceJson(channel, sources, recipe)},
            {"relation", relations[static_cast<int>(channel.grid)]},
            {"factor", channel.factor},
            {"method", channel.methodText()},
            {"storage", storageName(channel.storage)},
            {"classes", channel.classes},
            {"missing", missing},
            {"missing_lines", gapJson(channel.linesCovered, sources.view().NumLines)}};
}

}  // namespace

std::string planText(const Plan& plan, Sources& sources, const Recipe& recipe)
{
    const int base = sources.view().NumLines;
    std::string text = "Grid: " + gridText(sources.view()) + ", of " +
                       printable(sourceOf(sources, sources.basePart()).file) + "\n";
    if (plan.lines < base)
        text += format("Lines: %d of %d; ", plan.lines, base) + linesText(plan.lines, base - 1) +
                " will be missing\n";
    return text + "\n" + channelTable(plan, sources, recipe);
}

Json planJson(const Plan& plan, Sources& sources, const Recipe& recipe)
{
    Json files = Json::array();
    for (const Source& source : sources.files())
        files.push_back(
            {{"file", utf8(source.file)}, {"bytes", source.bytes}, {"parts", source.parts}});
    Json channels = Json::array();
    for (const ChannelPlan& channel : plan.channels)
        channels.push_back(channelJson(channel, sources, recipe));
    Json problems = Json::array();
    for (const Problem& problem : plan.problems)
        problems.push_back({{"name", problem.name},
                            {"message", problem.message},
                            {"allowed", recipe.allows(problem.name)}});
    Json grid = gridJson(sources.view());
    grid["file"] = utf8(sourceOf(sources, sources.basePart()).file);
    grid["part"] = sources.indexInFile(sources.basePart());
    return {{"files", files},       {"grid", grid},
            {"lines", plan.lines},  {"missing_lines", gapJson(plan.lines, sources.view().NumLines)},
            {"problems", problems}, {"channels", channels}};
}

}  // namespace zel_tool
