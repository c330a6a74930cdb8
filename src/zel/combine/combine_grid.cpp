// Files to one grid.
#include <optional>

#include "base/failure.hpp"
#include "base/progress.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "combine/blocks.hpp"
#include "combine/combine.hpp"
#include "combine/plan.hpp"
#include "combine/raster.hpp"
#include "combine/record.hpp"
#include "scene/names.hpp"
#include "scene/writer.hpp"

namespace zel_tool {
namespace {

// The storage of sums; every other channel keeps that of its source.
void chooseStorage(const Plan& plan, ZELType& out)
{
    for (const ChannelPlan& planned : plan.channels) {
        ZELChannelType& channel = out.Channels[planned.slot];
        if (planned.storage == channel.Type) continue;
        channel.Type = ZEL_STORED_FLOAT;
        channel.DataByteSize = 4;
        channel.DataBitResolution = 32;
        channel.MinValue = channel.MaxValue = 0.0F;
    }
}

void addRaster(Plan& plan, const Raster& raster, const ZELType& out, const Recipe& recipe,
               long long lines)
{
    int index = 0;
    for (const int slot : raster.slots()) {
        const ZELChannelType& channel = out.Channels[slot];
        const bool classes = channel.Type != ZEL_STORED_FLOAT;
        plan.channels.push_back({slot,
                                 -1,
                                 index++,
                                 channel.ChannelLabel,
                                 Grid::same,
                                 1,
                                 Method::nearest,
                                 classes,
                                 {},
                                 1,
                                 channel.Type,
                                 lines});
    }
    if (const long long missing = raster.missingBytes(); missing > 0)
        plan.problems.push_back(
            {"truncated", printable(recipe.raster.file) +
                              format(": %lld bytes are missing at its end", missing)});
}

// The lines of one base line of a component, for all of its channels that need their blocks.
void takeLines(ZELType& part, std::vector<Blocks*>& channels, int line)
{
    const int factor = channels.front()->plan().factor;
    for (int j = 0; j < factor; ++j) {
        readLine(part, line * factor + j, Decode::yes);
        for (Blocks* blocks : channels) blocks->take(part, j);
    }
}

// Channels that the view of the library cannot make, by component.
class BlockChannels {
public:
    BlockChannels(const Plan& plan, Sources& sources) : sources_(sources)
    {
        channels_.reserve(plan.channels.size());
        for (const ChannelPlan& channel : plan.channels)
            if (channel.needsBlocks()) channels_.emplace_back(channel);
        byPart_.resize(static_cast<std::size_t>(sources.partCount()));
        for (Blocks& blocks : channels_)
            byPart_[static_cast<std::size_t>(blocks.plan().part)].push_back(&blocks);
    }

    void fill(ZELType& out, int line)
    {
        for (std::size_t part = 0; part < byPart_.size(); ++part)
            if (!byPart_[part].empty())
                takeLines(sources_.part(static_cast<int>(part)), byPart_[part], line);
        for (Blocks& blocks : channels_) {
            const int slot = blocks.plan().slot;
            blocks.finish(out.Channels[slot], out.PixBuf[slot], out.ZELHeader.NPixelPerLine);
        }
    }

private:
    Sources& sources_;
    std::vector<Blocks> channels_;
    std::vector<std::vector<Blocks*>> byPart_;
};

// Channels that are stored in another way than in the view.
std::vector<int> slotsOfSums(const Plan& plan, const ZELType& view)
{
    std::vector<int> slots;
    for (const ChannelPlan& channel : plan.channels)
        if (channel.part >= 0 && channel.storage != view.Channels[channel.slot].Type)
            slots.push_back(channel.slot);
    return slots;
}

// The library copies channels between equal storages only: it is not shown the others.
void copyLine(ZELType& out, ZELType& view, const std::vector<int>& hidden)
{
    for (const int slot : hidden) view.Channels[slot].ChannelPresentFlag = 0;
    guarded([&] { ZELCopyLine(&out, &view); });
    for (const int slot : hidden) view.Channels[slot].ChannelPresentFlag = 1;
}

void writeLines(const Plan& plan, Sources& sources, Raster* raster, Writer& writer)
{
    const std::vector<int> sums = slotsOfSums(plan, sources.view());
    BlockChannels blocks(plan, sources);
    Progress progress("lines", plan.lines);
    for (int line = 0; line < plan.lines; ++line) {
        sources.readLine(line);
        copyLine(writer.record(), sources.view(), sums);
        blocks.fill(writer.record(), line);
        if (raster) raster->loadLine(writer.record());
        writer.writeLine();
        progress.update(line + 1);
    }
}

void write(const Plan& plan, Sources& sources, Raster* raster, Writer& writer, const Recipe& recipe,
           const CombineRun& run)
{
    spareInputs(recipe, run.output);
    writer.create(run.output, run.overwrite ? Overwrite::yes : Overwrite::no);
    if (run.record && !recordPlan(writer.record().ZELHeader, plan, recipe))
        remark("the metadata of the base are not free: the plan is not stored");
    writer.open();
    writeLines(plan, sources, raster, writer);
    sources.requireUnchanged();
    writer.commit();
}

}  // namespace

int combineToGrid(const Recipe& recipe, const CombineRun& run)
{
    Sources sources(recipe.paths(), recipe.base, recipe.basePart);
    Plan plan = planOf(sources, recipe);
    Writer writer(sources.view());
    chooseStorage(plan, writer.record());
    std::optional<Raster> raster;
    if (recipe.hasRaster()) {
        raster.emplace(recipe, sources.view(), writer.record());
        addRaster(plan, *raster, writer.record(), recipe, sources.view().NumLines);
    }
    const bool allowed = reportProblems(plan.problems, recipe);
    if (allowed && !run.dryRun)
        write(plan, sources, raster ? &*raster : nullptr, writer, recipe, run);
    if (run.json && (allowed || run.dryRun)) put(jsonText(planJson(plan, sources, recipe)));
    if (run.dryRun && !run.json) put(planText(plan, sources, recipe));
    if (allowed && !run.dryRun)
        remark(printable(run.output) + format(": %zu channels of %d x %d pixels",
                                              plan.channels.size(),
                                              sources.view().ZELHeader.NPixelPerLine, plan.lines));
    return allowed ? statusDone : statusProblem;
}

}  // namespace zel_tool
