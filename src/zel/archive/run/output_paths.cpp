#include "archive/run/output_paths.hpp"

#include <filesystem>

#include "archive/run/run_record.hpp"
#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

// All names of a scene; those of an output that is beside another too. A scene without one of the
// fields has no outputs: it fails when it is run.
std::vector<std::string> namesFor(const RunRecipe& recipe, const Json& scene)
try {
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
} catch (const Failure&) {
    return {};
}

// The path without ".", ".." and repeated slashes, seen from a directory.
std::string normal(const std::string& directory, const std::string& path)
{
    std::string whole = path.starts_with('/') ? path : directory + "/" + path;
    if (whole.find("//") == std::string::npos && whole.find("/.") == std::string::npos)
        return whole;
    return std::filesystem::path(whole).lexically_normal().string();
}

}  // namespace

OutputPaths::OutputPaths(const RunRecipe& recipe, const std::string& root)
    : recipe_(recipe),
      here_(std::filesystem::current_path().string()),
      root_(normal(here_, root + "/"))
{
    for (const auto& [name, path] : recipe.files) addRead(path);
}

// Of the paths that are read those below the root matter.
void OutputPaths::addRead(const std::string& path)
{
    std::string whole = normal(here_, path);
    if (whole.starts_with(root_)) read_.insert(std::move(whole));
}

void OutputPaths::refuseTwice(const std::string& name, const std::string& first,
                              const std::string& second)
{
    if (!twice_.empty()) return;
    twice_ = printable(name) + " would be written for " +
             (first == second ? "two outputs of " + printable(first)
                              : printable(first) + " and for " + printable(second));
}

void OutputPaths::add(const SceneOutline& scene)
{
    const std::string id = scene.fields["id"];
    for (const std::string& path : scene.paths) addRead(path);
    for (const std::string& name : namesFor(recipe_, scene.fields)) {
        const auto [owner, isNew] = owners_.emplace(name, id);
        if (!isNew) refuseTwice(name, owner->second, id);
    }
}

void OutputPaths::compare(const SceneOutline& other)
{
    for (const std::string& path : other.paths) addRead(path);
    for (const std::string& name : namesFor(recipe_, other.fields))
        if (const auto owner = owners_.find(name); owner != owners_.end())
            refuseTwice(name, owner->second, other.fields["id"]);
}

void OutputPaths::check() const
{
    if (!twice_.empty()) throw Misuse(twice_);
    const std::pair<const std::string, std::string>* first = nullptr;
    for (const auto& output : owners_)
        if (read_.count(root_ + output.first) > 0 && (!first || output.first < first->first))
            first = &output;
    if (first)
        throw Misuse(printable(first->first) + " would be written for " + printable(first->second) +
                     ", and is read");
}

}  // namespace zel_tool
