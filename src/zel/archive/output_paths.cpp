#include "archive/output_paths.hpp"

#include <filesystem>
#include <unordered_map>
#include <unordered_set>

#include "archive/run_record.hpp"
#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

std::string normal(const std::string& path)
{
    return std::filesystem::absolute(path).lexically_normal().string();
}

// All names of a scene; those of an output that is beside another too.
std::vector<std::string> namesFor(const RunRecipe& recipe, const Json& scene)
{
    std::vector<std::string> names;
    for (const RecipeOutput& output : recipe.outputs) {
        const std::string name = output.path.of(scene);
        names.push_back(name);
        names.push_back(recordBeside(name));
        for (const Step& step : recipe.steps)
            for (const Made& made : step.makes)
                if (made.owner == output.name)
                    names.push_back(name + made.name.substr(output.name.size()));
    }
    return names;
}

}  // namespace

void requireOwnPaths(const RunRecipe& recipe, const Manifest& manifest, const std::string& root)
{
    std::unordered_set<std::string> read;
    for (const ManifestScene& scene : manifest.scenes) {
        const Json json = scene.json();
        for (const Json& file : json["files"]) read.insert(normal(file["path"]));
    }
    for (const auto& [name, path] : recipe.files) read.insert(normal(path));
    const std::filesystem::path base = normal(root);
    std::unordered_map<std::string, const std::string*> owners;
    for (const ManifestScene& scene : manifest.scenes) {
        std::vector<std::string> names;
        try {
            names = namesFor(recipe, scene.json());
        } catch (const Failure&) {
            continue;  // a scene without one of the fields fails when it is run
        }
        for (const std::string& name : names) {
            const auto [owner, isNew] = owners.emplace(name, &scene.id);
            if (!isNew)
                throw Misuse(printable(name) + " would be written for " +
                             (*owner->second == scene.id
                                  ? "two outputs of " + scene.id
                                  : *owner->second + " and for " + scene.id));
            if (read.count((base / name).lexically_normal().string()) > 0)
                throw Misuse(printable(name) + " would be written for " + scene.id +
                             ", and is read");
        }
    }
}

}  // namespace zel_tool
