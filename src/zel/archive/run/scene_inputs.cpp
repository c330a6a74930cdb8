#include "archive/run/scene_inputs.hpp"

#include <fnmatch.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "archive/scenes/header_sum.hpp"
#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/library.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr double unknownResolution = std::numeric_limits<double>::quiet_NaN();

std::vector<double> resolutionsOf(const Json& file)
{
    std::vector<double> list;
    for (const Json& grid : file["grids"])
        if (grid["resolution_m"].is_number()) list.push_back(grid["resolution_m"].get<double>());
    return list;
}

bool isSame(double a, double b)
{
    return std::fabs(a - b) <= 1e-6 * std::max(std::fabs(a), std::fabs(b));
}

bool hasResolution(const Json& file, double wanted)
{
    const std::vector<double> list = resolutionsOf(file);
    return std::any_of(list.begin(), list.end(), [&](double r) { return isSame(r, wanted); });
}

bool hasChannel(const std::string& path, const std::string& name)
{
    try {
        Scene scene(path);
        return !slotsNamed(scene.view(), name).empty();
    } catch (const Failure& failure) {
        throw Failure(printable(path) + ": " + failure.what());
    }
}

bool fits(const Json& file, const Role& role)
{
    const std::string path = file["path"].get<std::string>();
    const std::string name = path.substr(path.rfind('/') + 1);
    if (!role.kind.empty() && file["kind"] != role.kind) return false;
    if (!role.file.empty() && fnmatch(role.file.c_str(), name.c_str(), 0) != 0) return false;
    if (role.resolution && !hasResolution(file, *role.resolution)) return false;
    return role.channel.empty() || hasChannel(path, role.channel);
}

// The finest or the coarsest grid of a file; of none, what equals nothing.
double extremeOf(const Json& file, Role::Pick pick)
{
    const std::vector<double> list = resolutionsOf(file);
    if (list.empty()) return unknownResolution;
    const auto [least, greatest] = std::minmax_element(list.begin(), list.end());
    return pick == Role::Pick::finest ? *least : *greatest;
}

void keepExtreme(std::vector<const Json*>& files, Role::Pick pick)
{
    if (pick == Role::Pick::any) return;
    double best = unknownResolution;
    for (const Json* file : files) {
        const double own = extremeOf(*file, pick);
        const bool isBetter = pick == Role::Pick::finest ? own < best : own > best;
        if (isBetter || std::isnan(best)) best = own;
    }
    files.erase(
        std::remove_if(files.begin(), files.end(),
                       [&](const Json* file) { return !isSame(extremeOf(*file, pick), best); }),
        files.end());
}

std::vector<InputFile> filesFor(const Role& role, const Json& scene)
{
    std::vector<const Json*> found;
    for (const Json& file : scene["files"])
        if (fits(file, role)) found.push_back(&file);
    keepExtreme(found, role.pick);
    std::vector<InputFile> files;
    std::vector<std::string> names;
    for (const Json* file : found) {
        files.push_back({(*file)["path"], (*file)["bytes"], (*file)["checksum"]});
        names.push_back(printable(files.back().path));
    }
    if (files.empty() && !role.optional) throw Failure("no file for the input '" + role.name + "'");
    if (files.size() > 1 && !role.many)
        throw Failure(format("%zu files for the input '", files.size()) + role.name +
                      "': " + join(names, ", "));
    return files;
}

bool canRun(const Step& step, const SceneSteps& scene, const SceneInputs& inputs)
{
    const auto hasSome = [&](const std::vector<StepValue>& values) {
        return values.empty() || std::any_of(values.begin(), values.end(), [&](const auto& value) {
                   return scene.has(value, inputs);
               });
    };
    return hasSome(step.inputs) &&
           std::all_of(step.arguments.begin(), step.arguments.end(),
                       [&](const StepArgument& argument) { return hasSome(argument.values); });
}

}  // namespace

SceneInputs inputsOf(const RunRecipe& recipe, const Json& scene)
{
    SceneInputs inputs;
    for (const Role& role : recipe.roles) inputs[role.name] = filesFor(role, scene);
    return inputs;
}

bool SceneSteps::has(const StepValue& value, const SceneInputs& inputs) const
{
    if (value.is == StepValue::Is::role) return !inputs.at(value.text).empty();
    return value.is != StepValue::Is::made || made.count(value.text) > 0;
}

SceneSteps stepsFor(const RunRecipe& recipe, const SceneInputs& inputs)
{
    SceneSteps scene;
    for (const Step& step : recipe.steps) {
        if (!canRun(step, scene, inputs)) continue;
        scene.steps.push_back(&step);
        for (const Made& made : step.makes) scene.made.insert(made.name);
    }
    for (const RecipeOutput& output : recipe.outputs)
        if (scene.made.count(output.name) > 0) scene.outputs.push_back(&output);
    if (scene.outputs.empty())
        throw Failure("every output needs an optional input that the scene does not have");
    return scene;
}

void requireUnchanged(const SceneInputs& inputs)
{
    const QuietLibrary quiet;
    HeaderReader reader;
    for (const auto& [name, files] : inputs) {
        for (const InputFile& file : files) {
            std::string checksum;
            try {
                OpenFile open = reader.open(file.path);
                if (open.facts.bytes == file.bytes) takeChecksum(open);
                checksum = open.facts.checksum;
            } catch (const Failure& failure) {
                throw Failure(printable(file.path) + ": " + failure.what());
            }
            if (checksum != file.checksum)
                throw Failure(printable(file.path) + ": has changed since the manifest was made");
        }
    }
}

}  // namespace zel_tool
