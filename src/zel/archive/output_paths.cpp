#include "archive/output_paths.hpp"

#include <filesystem>

#include "archive/run_record.hpp"
#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

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
    for (const auto& [name, path] : recipe.files) read_.insert(normal(here_, path));
}

void OutputPaths::add(const std::string& id, const Json& scene)
{
    for (const Json& file : scene["files"])
        read_.insert(normal(here_, file["path"].get<std::string>()));
    std::vector<std::string> names;
    try {
        names = namesFor(recipe_, scene);
    } catch (const Failure&) {
        return;  // a scene without one of the fields fails when it is run
    }
    for (const std::string& name : names) {
        const auto [owner, isNew] = owners_.emplace(name, id);
        if (isNew || !twice_.empty()) continue;
        const bool isOwn = owner->second == id;
        twice_ = printable(name) + " would be written for " +
                 (isOwn ? "two outputs of " + printable(id)
                        : printable(owner->second) + " and for " + printable(id));
    }
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
