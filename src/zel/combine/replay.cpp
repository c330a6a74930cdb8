// zel replay: an output of zel combine, made again from the plan that it holds.
#include <memory>

#include "base/failure.hpp"
#include "base/progress.hpp"
#include "base/report.hpp"
#include "base/sha256.hpp"
#include "base/text.hpp"
#include "combine/combine.hpp"
#include "combine/record.hpp"
#include "command/verbs.hpp"
#include "scene/library.hpp"

namespace zel_tool {
namespace {

struct Options {
    std::string file;
    std::string inputs;  // directory
    CombineRun run;
};

std::string directoryOf(const std::string& path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

std::string nameOf(const std::string& path)
{
    return path.substr(directoryOf(path).size());
}

bool isThere(const std::string& path)
{
    try {
        requireFile(path);
    } catch (const Failure&) {
        return false;
    }
    return true;
}

// An input is where its name says, seen from here or from the output, unless a directory is given.
std::string placeOf(const std::string& name, const Options& o)
{
    if (!o.inputs.empty()) return o.inputs + "/" + nameOf(name);
    if (name.starts_with('/') || isThere(name)) return name;
    return directoryOf(o.file) + name;
}

Record recordOf(const std::string& file)
{
    Scene scene(file);
    if (scene.isContainer()) throw Failure("is a container, which holds no plan of its own");
    const std::optional<Record> record = recordIn(scene.view().ZELHeader);
    if (!record) throw Failure("holds no plan of zel combine");
    return *record;
}

// Whether a file is the one that was recorded; reports why not.
bool isUnchanged(const Recorded& now, const Recorded& then, const std::string& path)
{
    if (now.bytes != then.bytes)
        complain(path, format("has changed: %lld bytes, not %lld", now.bytes, then.bytes));
    else if (now.sum != then.sum)
        complain(path, "has changed: its SHA-256 is " + now.sum + ", not " + then.sum);
    return now.bytes == then.bytes && now.sum == then.sum;
}

bool areUnchanged(const Record& record)
{
    bool all = true;
    long long done = 0;
    Progress progress("checksums", static_cast<long long>(record.inputs.size()));
    for (const Recorded& then : record.inputs) {
        const std::string& path = record.recipe.pathOf(then.name);
        try {
            const long long bytes = requireFile(path);
            const std::string sum = sha256Of(path);
            all = isUnchanged({then.name, bytes, sum}, then, path) && all;
        } catch (const Failure& failure) {
            complain(path, failure.what());
            all = false;
        }
        progress.update(++done);
    }
    return all;
}

int replay(const Options& o)
{
    Record record = recordOf(o.file);
    for (const Recorded& input : record.inputs)
        record.recipe.found[input.name] = placeOf(input.name, o);
    if (!areUnchanged(record)) return statusProblem;
    if (record.version != ZEL_LIBRARY_VERSION_TEXT)
        warn(o.file, "made by version " + printable(record.version));
    return combine(record.recipe, o.run);
}

int run(Options& o)
{
    if (o.run.output.empty()) o.run.output = o.file;
    return forEachFile({o.file}, [&](const std::string&) { return replay(o); });
}

}  // namespace

Command replayCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "replay",
        "makes an output of zel combine again",
        {"Takes the plan from the metadata of a file that zel combine has written, compares the "
         "files that it was made of with the checksums that are stored there, and makes it again. "
         "If a file has changed it says which, and writes nothing.",
         "The files are looked for under the names that they had, seen from here and then from the "
         "directory of FILE. The same files give the same bytes."},
        {{"FILE", "A file that zel combine has written.", &o->file}},
        {{"-o,--output", "FILE", "Write this file; FILE itself is the default.", &o->run.output,
          Takes::file},
         {"--inputs", "DIRECTORY", "The directory that holds the files now.", &o->inputs,
          Takes::file},
         {"--dry-run", "", "Compare the files, show the plan and write nothing.", &o->run.dryRun},
         {"--json", "", "Print the plan as JSON.", &o->run.json},
         {"--overwrite", "", "Replace an existing output.", &o->run.overwrite}},
        {{"replay grid.zel -o again.zel", "The same bytes again."},
         {"replay grid.zel --dry-run", "Are the files that it was made of still the same?"}},
        "the file holds no plan, a file has changed, or the output could not be written",
        [o] { return run(*o); }};
}

}  // namespace zel_tool
