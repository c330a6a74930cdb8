#include "archive/run/scene_run.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

#include "archive/run/run_record.hpp"
#include "archive/run/sample_inputs.hpp"
#include "archive/run/scene_inputs.hpp"
#include "archive/run/scratch_directory.hpp"
#include "archive/run/step_process.hpp"
#include "base/failure.hpp"
#include "base/output_file.hpp"
#include "base/provenance.hpp"
#include "base/sha256.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

// A file to be made: its name in the recipe, that below the root, and where that is.
struct Target {
    std::string name;
    std::string shown;
    std::string path;
    Form form;
};

bool exists(const std::string& path)
{
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

long long sizeOf(const std::string& path)
{
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : 0;
}

class SceneRun {
public:
    SceneRun(const RunRecipe& recipe, const RunPlace& place, const ManifestScene& scene,
             int descriptor)
        : recipe_(recipe),
          place_(place),
          id_(scene.id),
          scene_(scene.json()),
          descriptor_(descriptor),
          inputs_(inputsOf(recipe, scene_)),
          steps_(stepsFor(recipe, inputs_)),
          record_(runRecord(recipe, id_, inputs_))
    {
        for (const RecipeOutput* output : steps_.outputs) addTarget(*output);
    }

    // Whether all outputs are there and of this recipe, these inputs and this version.
    bool isDone() const
    {
        for (const Target& target : targets_)
            if (!exists(target.path) || !hasKey(recordFor(target.path, target.form), record_))
                return false;
        return true;
    }

    void run()
    {
        requireOwnOutputs();
        requireUnchanged(inputs_);
        for (const Target& target : targets_) makeDirectoryOf(target.path);
        const ScratchDirectory scratch(scratchParent(), id_);
        try {
            for (const Step* step : steps_.steps) runOne(*step, scratch);
        } catch (const Failure& failure) {
            throw Failure(scratch.withoutIt(failure.what()));
        }
        describe(scratch);
        if (const int signal = StopSignals::check()) throw Killed{signal, true};
        for (const Target& target : targets_) publish(target, scratch);
    }

    // The checksums of what is there are not computed again.
    void skip()
    {
        ScratchDirectory::removeLeft(scratchParent(), id_);
        for (const Target& target : targets_)
            outputs_.push_back({{"path", utf8(target.shown)},
                                {"bytes", sizeOf(target.path)},
                                {"checksum", nullptr}});
    }

    const Json& warnings() const { return warnings_; }
    const Json& outputs() const { return outputs_; }

private:
    void addTarget(const RecipeOutput& output)
    {
        const std::string shown = output.path.of(scene_);
        const Made* made = recipe_.findMade(output.name);
        targets_.push_back({output.name, shown, outputPath(place_, shown), made->form});
        for (const Step* step : steps_.steps)
            for (const Made& beside : step->makes)
                if (beside.owner == output.name) addBeside(beside, output.name, shown);
    }

    // The second file of an output has its name with an ending.
    void addBeside(const Made& beside, const std::string& owner, const std::string& shown)
    {
        const std::string name = shown + beside.name.substr(owner.size());
        targets_.push_back({beside.name, name, outputPath(place_, name), beside.form});
    }

    static std::string directoryOf(const std::string& path)
    {
        return path.substr(0, path.rfind('/'));
    }

    std::string scratchParent() const { return directoryOf(targets_.front().path); }

    static void makeDirectoryOf(const std::string& path)
    {
        std::error_code error;
        const std::string directory = directoryOf(path);
        std::filesystem::create_directories(directory, error);
        if (error) throw Failure("cannot create " + printable(directory) + ": " + error.message());
    }

    // Inputs are never replaced, and what no run has made only if that is wanted.
    void requireOwnOutputs() const
    {
        for (const Target& target : targets_) {
            if (!exists(target.path)) continue;
            for (const Json& file : scene_["files"])
                if (isSameFile(file["path"], target.path))
                    throw Failure(printable(target.path) + " is one of the files of the scene");
            for (const auto& [name, path] : recipe_.files)
                if (isSameFile(path, target.path))
                    throw Failure(printable(target.path) + " is read by the recipe");
            if (!place_.overwrite && !recordFor(target.path, target.form))
                throw Failure(printable(target.path) +
                              " exists, and no run has made it; --overwrite replaces it");
        }
    }

    // Names that outputs are to have in each other: where they will be, not where they are now.
    void nameFiles(const ScratchDirectory& scratch) const
    {
        Provenance& p = provenance();
        p.record = record_.dump(-1, ' ', true);
        for (const auto& [name, path] : recipe_.files) p.names[path] = name;
        for (const std::string& name : steps_.made) p.names[scratch.path(name)] = name;
        for (const Target& target : targets_) p.names[scratch.path(target.name)] = target.shown;
    }

    std::vector<std::string> pathsOf(const StepValue& value, const ScratchDirectory& scratch) const
    {
        std::vector<std::string> paths;
        switch (value.is) {
        case StepValue::Is::text:
            return {value.text};
        case StepValue::Is::file:
            return {recipe_.files.at(value.text)};
        case StepValue::Is::output:
            return {scratch.path(value.text)};
        case StepValue::Is::made:
            if (steps_.has(value, inputs_)) paths = {scratch.path(value.text)};
            break;
        case StepValue::Is::role:
            for (const InputFile& file : inputs_.at(value.text)) paths.push_back(file.path);
        }
        return paths;
    }

    void runOne(const Step& step, const ScratchDirectory& scratch)
    {
        nameFiles(scratch);
        const auto paths = [&](const StepValue& value) { return pathsOf(value, scratch); };
        std::vector<std::string> words = step.words(paths);
        if (step.kind->hasInputs) {
            std::vector<std::string> scenes;
            for (const StepValue& value : step.inputs)
                for (const std::string& path : paths(value)) scenes.push_back(path);
            words.back() =
                withInputs(words.back(), scenes, scratch.path(step.makes.front().name + ".par"));
        }
        const bool prints = step.kind->outputs.front().option.empty();
        const std::string printed = prints ? scratch.path(step.makes.front().name) : "";
        for (const std::string& warning : runStep(step, words, printed, descriptor_))
            warnings_.push_back(step.title() + ": " + utf8(scratch.withoutIt(warning)));
    }

    void describe(const ScratchDirectory& scratch)
    {
        for (const Target& target : targets_) {
            const std::string made = scratch.path(target.name);
            outputs_.push_back({{"path", utf8(target.shown)},
                                {"bytes", sizeOf(made)},
                                {"checksum", sha256Of(made)}});
        }
    }

    static void give(const std::string& name, const std::string& file)
    {
        if (rename(file.c_str(), name.c_str()) != 0)
            throw Failure("cannot write " + printable(name) + ": " + std::strerror(errno));
    }

    void giveRecord(const Target& target, const Json& record, const ScratchDirectory& scratch) const
    {
        OutputFile file(scratch.path(target.name + ".run.json"), Overwrite::yes);
        file.write(jsonText(record));
        file.commit();
        give(recordBeside(target.path), scratch.path(target.name + ".run.json"));
    }

    // A run may be killed between an output and the record beside it, so the record comes first.
    // While an older output is there, it has no key: the output is of a run, and is made again.
    void publish(const Target& target, const ScratchDirectory& scratch) const
    {
        const std::string made = scratch.path(target.name);
        const bool holdsRecord = hasKey(recordInside(made, target.form), record_);
        const bool isNew = !exists(target.path);
        Json first = record_;
        if (!isNew) first["key"] = nullptr;
        if (!holdsRecord) giveRecord(target, first, scratch);
        give(target.path, made);
        if (holdsRecord)
            unlink(recordBeside(target.path).c_str());
        else if (!isNew)
            giveRecord(target, record_, scratch);
    }

    const RunRecipe& recipe_;
    const RunPlace& place_;
    std::string id_;
    Json scene_;
    int descriptor_;
    SceneInputs inputs_;
    SceneSteps steps_;
    Json record_;
    std::vector<Target> targets_;
    Json warnings_ = Json::array();
    Json outputs_ = Json::array();
};

// What this process and those that it has waited for have read and written, as the system counts.
void addBytes(Json& result)
{
    std::ifstream counts("/proc/self/io");
    result["bytes_read"] = result["bytes_written"] = nullptr;
    std::string name;
    for (long long value = 0; counts >> name >> value;) {
        if (name == "rchar:") result["bytes_read"] = value;
        if (name == "wchar:") result["bytes_written"] = value;
    }
}

}  // namespace

std::string outputPath(const RunPlace& place, const std::string& name)
{
    return place.root + (place.root.ends_with('/') ? "" : "/") + name;
}

Json runScene(const RunRecipe& recipe, const RunPlace& place, const ManifestScene& scene,
              int descriptor)
{
    Json result = {{"status", "failed"},
                   {"reason", nullptr},
                   {"warnings", Json::array()},
                   {"outputs", Json::array()}};
    try {
        SceneRun run(recipe, place, scene, descriptor);
        const bool skips = place.skipExisting && run.isDone();
        skips ? run.skip() : run.run();
        result["status"] = skips ? "skipped" : "done";
        result["warnings"] = run.warnings();
        result["outputs"] = run.outputs();
    } catch (const Failure& failure) {
        result["reason"] = utf8(failure.what());
    } catch (const Misuse& misuse) {
        result["reason"] = utf8(misuse.what());
    } catch (const std::bad_alloc&) {
        result["reason"] = "cannot allocate memory";
    } catch (const std::exception& error) {
        result["reason"] = std::string("internal error: ") + error.what();
    } catch (const Killed& killed) {
        result["status"] = killed.isStop ? "dropped" : "killed";
        result["signal"] = killed.signal;
    }
    addBytes(result);
    return result;
}

}  // namespace zel_tool
