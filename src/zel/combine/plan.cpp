#include "combine/plan.hpp"

#include <algorithm>

#include "base/failure.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "combine/extents.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

std::string shownChannel(const ChannelPlan& channel)
{
    return format("channel #%d ", channel.slot) + printable(channel.label);
}

// A sum over a scaled channel would leave its range; that of one pixel is the pixel.
void chooseSum(ChannelPlan& channel)
{
    if (channel.method != Method::sum || channel.grid == Grid::same) return;
    if (channel.grid == Grid::coarser)
        throw Failure(shownChannel(channel) +
                      " is coarser than the base: repeated pixels cannot be "
                      "summed");
    channel.storage = ZEL_STORED_FLOAT;
}

struct Choices {
    std::vector<std::optional<Method>> methods;
    std::vector<Missing> missing;
    MinValid minValid;
};

ChannelPlan channelPlan(Sources& sources, int slot, const Choices& choices)
{
    const Scene::Origin origin = sources.scene().origin(slot);
    const ZELChannelType& channel = origin.record->Channels[origin.slot];
    const auto index = static_cast<std::size_t>(slot);
    const long long factor = factorOf(*origin.record);
    ChannelPlan made{slot,
                     origin.component,
                     origin.slot,
                     channel.ChannelLabel,
                     gridOf(*origin.record),
                     static_cast<int>(factor),
                     Method::mean,
                     holdsClasses(*origin.record, origin.slot),
                     choices.missing[index],
                     choices.missing[index].isDeclared() ? choices.minValid.of(factor * factor) : 1,
                     channel.Type,
                     linesCovered(*origin.record)};
    made.method = choices.methods[index].value_or(made.classes ? Method::nearest : Method::mean);
    chooseSum(made);
    return made;
}

void warnOfClasses(const Plan& plan)
{
    for (const ChannelPlan& channel : plan.channels)
        if (channel.classes && channel.grid == Grid::finer && channel.factor > 1 &&
            (channel.method == Method::mean || channel.method == Method::sum))
            warn("", shownChannel(channel) + " holds classes: " + methodName(channel.method) +
                         " makes numbers of no class");
}

}  // namespace

bool ChannelPlan::needsBlocks() const
{
    return part >= 0 && grid == Grid::finer && (method != Method::mean || missing.isDeclared());
}

std::string ChannelPlan::methodText() const
{
    if (part < 0 || grid == Grid::same) return "copy";
    return grid == Grid::coarser ? "repeat" : methodName(method);
}

const std::vector<std::string>& problemNames()
{
    static const std::vector<std::string> names = {"different-scenes", "truncated", "ratio",
                                                   "extent"};
    return names;
}

Plan planOf(Sources& sources, const Recipe& recipe)
{
    if (!recipe.minValid.empty() && recipe.missing.empty())
        throw Misuse("--min-valid needs --missing");
    const Choices choices{methodsOf(sources.view(), recipe.methods),
                          missingOf(sources.view(), recipe.missing), MinValid(recipe.minValid)};
    Plan plan;
    for (const int slot : presentSlots(sources.view()))
        plan.channels.push_back(channelPlan(sources, slot, choices));
    long long lines = sources.view().NumLines;
    for (int i = 0; i < sources.partCount(); ++i)
        lines = std::min(lines, linesCovered(sources.part(i)));
    plan.lines = static_cast<int>(lines);
    plan.problems = problemsOf(sources);
    warnOfClasses(plan);
    return plan;
}

bool reportProblems(const std::vector<Problem>& problems, const Recipe& recipe)
{
    bool all = true;
    for (const Problem& problem : problems) {
        if (recipe.allows(problem.name)) {
            warn("", problem.message);
            continue;
        }
        const std::string hint = problem.name.empty() ? "" : " (--allow " + problem.name + ")";
        complain("", problem.message + hint);
        all = false;
    }
    return all;
}

}  // namespace zel_tool
