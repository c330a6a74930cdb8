// Files to one container, byte for byte.
#include <algorithm>

#include "base/failure.hpp"
#include "base/output_file.hpp"
#include "base/progress.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "combine/combine.hpp"
#include "combine/extents.hpp"
#include "scene/scene_key.hpp"

namespace zel_tool {
namespace {

struct ContainerPart {
    std::string file;
    int part;
    int pixels, lines;
    float resolution;
};

struct ContainerPlan {
    std::vector<ContainerPart> parts;
    int base = 0;         // among them
    int baseInFile = -1;  // of a base file that is a container
    std::vector<Problem> problems;
};

void addFile(ContainerPlan& plan, const Recipe& recipe, int index, std::vector<SceneKey>& keys)
{
    const std::string& file = recipe.pathOf(recipe.files[static_cast<std::size_t>(index)]);
    Scene scene(file);
    const int count = scene.componentCount();
    if (index == recipe.base) {
        const int part = recipe.basePart < 0 ? scene.baseComponent() : recipe.basePart;
        if (part >= count) throw Failure(format("no part %d; there are 0 to %d", part, count - 1));
        plan.base = static_cast<int>(plan.parts.size()) + part;
        plan.baseInFile = scene.isContainer() ? part : -1;
    }
    keys.push_back(keyOf(file, scene.view()));
    if (!scene.isContainer())
        for (Problem& cut : cutLine(file, scene.view(), scene.bytes()))
            plan.problems.push_back(std::move(cut));
    for (int i = 0; i < count; ++i) {
        const ZELType& part = scene.component(i);
        plan.parts.push_back({file, i, part.ZELHeader.NPixelPerLine, part.NumLines,
                              part.ZELHeader.SpatialResolution});
    }
}

ContainerPlan containerPlan(const Recipe& recipe)
{
    ContainerPlan plan;
    std::vector<SceneKey> keys;
    for (std::size_t i = 0; i < recipe.files.size(); ++i) {
        try {
            addFile(plan, recipe, static_cast<int>(i), keys);
        } catch (const Failure& failure) {
            throw Failure(printable(recipe.pathOf(recipe.files[i])) + ": " + failure.what());
        }
    }
    for (Problem& problem : otherScenes(keys))
        plan.problems.push_back({"", problem.message + "; a container holds one scene"});
    // The library writes the position of a plain base file, and readers take it for that of a part.
    if (plan.baseInFile < 0 && plan.base != recipe.base)
        plan.problems.push_back(
            {"", printable(recipe.files[static_cast<std::size_t>(recipe.base)]) +
                     ": a plain file that is the base comes before containers"});
    return plan;
}

std::string textOf(const ContainerPlan& plan)
{
    std::vector<std::vector<std::string>> rows = {{"part", "from", "grid", ""}};
    for (std::size_t i = 0; i < plan.parts.size(); ++i) {
        const ContainerPart& part = plan.parts[i];
        rows.push_back({std::to_string(i), printable(part.file) + format(" part %d", part.part),
                        format("%d x %d pixels of ", part.pixels, part.lines) +
                            shortest(part.resolution) + " m",
                        static_cast<int>(i) == plan.base ? "base" : ""});
    }
    return table(rows, "rlll", "  ");
}

Json jsonOf(const ContainerPlan& plan)
{
    Json parts = Json::array();
    for (const ContainerPart& part : plan.parts)
        parts.push_back({{"file", utf8(part.file)},
                         {"part", part.part},
                         {"grid",
                          {{"pixels", part.pixels},
                           {"lines", part.lines},
                           {"resolution", jsonNumber(part.resolution)}}}});
    return {{"container", {{"base", plan.base}, {"parts", parts}}}};
}

// The progress of the library's copying.
class CopyProgress {
public:
    CopyProgress() : progress_("bytes", 1000) { ZELSetProgressSink(receive, this); }
    ~CopyProgress() { ZELSetProgressSink(nullptr, nullptr); }
    CopyProgress(const CopyProgress&) = delete;
    CopyProgress& operator=(const CopyProgress&) = delete;

private:
    static void receive(void* self, const char*, double done, double total)
    {
        const double part = total > 0.0 ? done / total : 1.0;
        static_cast<CopyProgress*>(self)->progress_.update(static_cast<long long>(part * 1000.0));
    }

    Progress progress_;
};

// A file of an old layout or of the other byte order cannot be read as a part.
void requireReadable(const std::string& file)
{
    try {
        const Scene scene(file);
    } catch (const Failure& failure) {
        throw Failure(std::string("the container could not be read again: ") + failure.what());
    }
}

void write(const ContainerPlan& plan, const Recipe& recipe, const CombineRun& run)
{
    spareInputs(recipe, run.output);
    const std::vector<std::string> paths = recipe.paths();
    std::vector<const char*> names;
    names.reserve(paths.size());
    for (const std::string& path : paths) names.push_back(path.c_str());
    OutputFile file(run.output, run.overwrite ? Overwrite::yes : Overwrite::no);
    const CopyProgress progress;
    int result = 0;
    guardedWriting(file.temporary(), run.output, [&] {
        result = ZELCreateCompositeFile(names.data(), static_cast<int>(names.size()), recipe.base,
                                        plan.baseInFile, file.temporary().c_str(), 0);
    });
    if (result != 0)
        throw Failure(replaced(openingReason(run.output), file.temporary(), printable(run.output)));
    if (!file.isDevice()) requireReadable(file.temporary());
    file.commit();
}

}  // namespace

int combineToContainer(const Recipe& recipe, const CombineRun& run)
{
    if (recipe.files.size() < 2) throw Misuse("--container takes two files or more");
    const ContainerPlan plan = containerPlan(recipe);
    const bool allowed = reportProblems(plan.problems, recipe);
    if (allowed && !run.dryRun) write(plan, recipe, run);
    if (run.json && (allowed || run.dryRun)) put(jsonText(jsonOf(plan)));
    if (run.dryRun && !run.json) put(textOf(plan));
    if (allowed && !run.dryRun)
        remark(printable(run.output) + format(": a container of %zu parts", plan.parts.size()));
    return allowed ? statusDone : statusProblem;
}

}  // namespace zel_tool
