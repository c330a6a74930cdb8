// zel run: a recipe for each scene of a manifest.
#include <climits>
#include <memory>
#ifdef __GLIBC__  // known from the header before
#include <malloc.h>
#endif

#include "archive/recipe/run_recipe.hpp"
#include "archive/run/line_log.hpp"
#include "archive/run/output_paths.hpp"
#include "archive/run/scene_inputs.hpp"
#include "archive/run/scene_workers.hpp"
#include "archive/scenes/manifest.hpp"
#include "base/failure.hpp"
#include "base/progress.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "command/verbs.hpp"

namespace zel_tool {
namespace {

constexpr int mostJobs = 500;
constexpr int notGiven = INT_MIN;
constexpr const char* allShards = "all";

struct Options {
    std::string recipe;
    std::string manifest;
    std::string shard = allShards;
    std::string log;
    RunPlace place;
    int batch = notGiven;
    int jobs = 1;
    bool shards = false;
    bool dryRun = false;
};

struct Share {
    long long number = 1;
    long long count = 1;
};

// "3/10"; with --batch the count is known and may be left out.
Share shareOf(const Options& o, const Manifest& manifest)
{
    const auto slash = o.shard.find('/');
    const long long groups = o.batch > 0 ? groupCount(manifest, o.batch) : 0;
    Share share;
    bool isGood = parseInteger(o.shard.substr(0, slash), share.number);
    if (slash != std::string::npos)
        isGood = isGood && parseInteger(o.shard.substr(slash + 1), share.count);
    else
        share.count = groups;
    const std::string text = "--shard " + (o.shard.empty() ? "''" : printable(o.shard));
    if (!isGood || share.count < 1)
        throw Misuse(text + " is not of the form " + (groups > 0 ? "3 or " : "") + "3/10");
    if (share.number < 1 || share.number > share.count)
        throw Misuse(text +
                     format(": there are shards 1 to %lld", groups > 0 ? groups : share.count));
    if (groups > 0 && share.count != groups)
        throw Misuse(format("with --batch %d there are %lld shards, not %lld", o.batch, groups,
                            share.count));
    return share;
}

void keepShare(const Options& o, Manifest& manifest)
{
    const Share share = shareOf(o, manifest);
    if (o.batch > 0)
        keepGroup(manifest, share.number, o.batch);
    else
        keepShard(manifest, share.number, share.count);
}

void checkOptions(const Options& o)
{
    if (o.manifest.empty()) throw Misuse("--manifest is required");
    if (o.jobs < 1 || o.jobs > mostJobs) throw Misuse(format("--jobs takes 1 to %d", mostJobs));
    if (o.batch != notGiven && o.batch < 1) throw Misuse("--batch takes a number of scenes from 1");
    if (o.shards && o.batch == notGiven) throw Misuse("--shards needs --batch");
    if (o.place.root.empty()) throw Misuse("--root takes a directory");
}

// What would be read and written for a scene.
bool showScene(const RunRecipe& recipe, const ManifestScene& scene)
{
    put(printable(scene.id) + "\n");
    try {
        const Json json = scene.json();
        const SceneInputs inputs = inputsOf(recipe, json);
        std::vector<std::vector<std::string>> rows;
        for (const auto& [name, files] : inputs)
            for (const InputFile& file : files)
                rows.push_back({name, "from", printable(file.path)});
        for (const RecipeOutput* output : stepsFor(recipe, inputs).outputs)
            rows.push_back({output->name, "to", printable(output->path.of(json))});
        put(table(rows, "lll", "  "));
        return true;
    } catch (const Failure& failure) {
        put(std::string("  cannot be run: ") + failure.what() + "\n");
        return false;
    }
}

int showPlan(const RunRecipe& recipe, const Manifest& manifest)
{
    bool all = manifest.unread.empty();
    for (const ManifestScene& scene : manifest.scenes) all = showScene(recipe, scene) && all;
    for (const UnreadFile& file : manifest.unread) complain(file.path, printable(file.error));
    return all ? statusDone : statusProblem;
}

struct Counts {
    long long done = 0;
    long long skipped = 0;
    long long failed = 0;

    void add(const Json& line)
    {
        const std::string status = line["status"];
        ++(status == "done" ? done : status == "skipped" ? skipped : failed);
        if (status == "failed")
            complain(line.contains("file") ? line["file"] : line["id"],
                     printable(line["reason"].get<std::string>()));
    }
};

int runAll(const Options& o, const RunRecipe& recipe, const Manifest& manifest, LineLog& log)
{
    Counts counts;
    long long ended = 0;
    Progress progress("scenes", static_cast<long long>(manifest.scenes.size()));
    const auto take = [&](const Json& line) {
        log.add(line);
        counts.add(line);
        progress.update(++ended);
    };
    for (const UnreadFile& file : manifest.unread) take(unreadLine(file, recipe));
    SceneWorkers workers(recipe, o.place, static_cast<std::size_t>(o.jobs), take);
    const int signal = workers.run(manifest.scenes);
    if (signal != 0) {
        complain("", "stopped by " + signalName(signal));
        return 128 + signal;
    }
    remark(
        format("%lld done, %lld skipped, %lld failed", counts.done, counts.skipped, counts.failed));
    return counts.failed > 0 ? statusProblem : statusDone;
}

struct Work {
    RunRecipe recipe;
    Manifest manifest;
};

// All that can be wrong before a scene is run. Throws Misuse.
Work prepare(const Options& o)
{
    Work work;
    try {
        work.recipe = readRecipe(o.recipe);
    } catch (const Failure& failure) {
        throw Misuse(printable(o.recipe) + ": " + failure.what());
    }
    OutputPaths outputs(work.recipe, o.place.root);
    const bool isShare = o.shard != allShards && !o.shards;
    work.manifest = readManifest(o.manifest, isShare ? Reading::outlines : Reading::whole,
                                 [&](const SceneOutline& scene) { outputs.add(scene); });
    if (isShare) {
        keepShare(o, work.manifest);
        lookAtOutlined(
            work.manifest, [&](const SceneOutline& scene) { outputs.add(scene); },
            [&](const SceneOutline& scene) { outputs.compare(scene); });
        work.manifest.others.clear();
    }
    outputs.check();
    return work;
}

// The rest of a long manifest would count as memory of every scene.
void returnMemory()
{
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

int run(const Options& o)
{
    checkOptions(o);
    Work work;
    std::unique_ptr<LineLog> log;
    try {
        work = prepare(o);
        if (o.shards) {
            put(format("%lld\n", groupCount(work.manifest, o.batch)));
            return statusDone;
        }
        returnMemory();
        if (!o.dryRun) log = std::make_unique<LineLog>(o.log);
    } catch (const Misuse& misuse) {
        complain("", misuse.what());
        return statusUsage;
    }
    return o.dryRun ? showPlan(work.recipe, work.manifest)
                    : runAll(o, work.recipe, work.manifest, *log);
}

}  // namespace

Command runCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "run",
        "runs a recipe for every scene of a manifest",
        {"Runs the steps of a recipe, a TOML file, for each scene of a manifest that zel scenes "
         "has written, or for a shard of them, and prints a line of JSON for each scene as it "
         "ends. The recipe is validated before anything runs.",
         "A scene is a process of its own: one that fails, or is killed, does not stop the "
         "others. One that is killed is run once more alone, after the others. Outputs appear "
         "under their names when all of the scene is whole; on SIGINT, SIGTERM and SIGHUP the "
         "scenes that run are dropped, and the exit status is 128 and the number of the signal.",
         "Every output holds the checksum of the recipe, those of the inputs and the version. "
         "--skip-existing leaves out scenes whose outputs are there with the same: a run resumes, "
         "and a changed recipe starts over."},
        {{"RECIPE", "A recipe.", &o->recipe}},
        {{"-m,--manifest", "FILE", "The scenes: what zel scenes has written; - is standard input.",
          &o->manifest, Takes::file},
         {"--shard", "I/N",
          "Run share I of N, from 1: every N-th scene of the manifest sorted by id. With --batch, "
          "I alone: the I-th group.",
          &o->shard},
         {"--batch", "SCENES", "Shares are groups of so many scenes, one after the other.",
          &o->batch},
         {"--shards", "", "Print how many groups --batch makes, and run nothing.", &o->shards},
         {"-j,--jobs", "N", "Run so many scenes at a time; 1 is the default.", &o->jobs},
         {"--skip-existing", "",
          "Leave out scenes whose outputs are there, of this recipe, these inputs and this "
          "version.",
          &o->place.skipExisting},
         {"--root", "DIRECTORY", "Outputs go below this directory; the current one is the default.",
          &o->place.root, Takes::file},
         {"--log", "FILE", "Add the lines to this file instead of printing them.", &o->log,
          Takes::file},
         {"--dry-run", "", "Show what would be read and written for each scene, and run nothing.",
          &o->dryRun},
         {"--overwrite", "", "Replace existing files that no run has made.", &o->place.overwrite}},
        {{"run ndvi.toml --manifest scenes.jsonl --root out --jobs 4 --log run.jsonl",
          "All scenes, four at a time."},
         {"run ndvi.toml --manifest scenes.jsonl --shard 3/10", "The third of ten shares."},
         {"run ndvi.toml --manifest scenes.jsonl --batch 50 --shards",
          "How many tasks of 50 scenes are there?"}},
        "some scenes failed; their lines say why",
        [o] { return run(*o); }};
}

}  // namespace zel_tool
