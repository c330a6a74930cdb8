#include "archive/recipe/run_recipe.hpp"

#include <algorithm>

#include "archive/recipe/recipe_reader.hpp"
#include "base/failure.hpp"
#include "base/sha256.hpp"
#include "base/text.hpp"
#include "zel.h"

namespace zel_tool {
namespace {

using Kind = TomlNode::Kind;

constexpr long long formNumber = 1;

void readRoles(const RecipeTable& document, RunRecipe& recipe)
{
    for (const auto& [name, node] : document.require("inputs", Kind::table).members)
        recipe.roles.push_back(readRole(recipe.file, name, node));
    if (recipe.roles.empty()) document.refuse(document.node(), "[inputs] names no input");
}

void readSteps(const RecipeTable& document, RunRecipe& recipe)
{
    const TomlNode& list = document.require("steps", Kind::list);
    for (const TomlNode& node : list.items) recipe.steps.push_back(readStep(recipe, node));
    if (recipe.steps.empty()) document.refuse(list, "there are no steps");
}

void readOutputs(const RecipeTable& document, RunRecipe& recipe)
{
    const TomlNode& table = document.require("outputs", Kind::table);
    for (const auto& [name, node] : table.members) {
        requireKind(recipe.file, node, Kind::text, "output '" + printable(name) + "'");
        const Made* made = recipe.findMade(name);
        if (!made) document.refuse(node, "no step makes '" + printable(name) + "'");
        if (!made->owner.empty())
            document.refuse(node, "'" + name + "' is written beside '" + made->owner + "'");
        try {
            recipe.outputs.push_back({name, NameTemplate(node.text)});
        } catch (const Misuse& misuse) {
            document.refuse(node, "output '" + name + "': " + misuse.what());
        }
    }
    if (recipe.outputs.empty()) document.refuse(table, "[outputs] names no output");
}

bool usesName(const Step& step, const std::string& name)
{
    const auto names = [&](const StepValue& value) {
        return value.text == name &&
               (value.is == StepValue::Is::made || value.is == StepValue::Is::role);
    };
    return std::any_of(step.inputs.begin(), step.inputs.end(), names) ||
           std::any_of(step.arguments.begin(), step.arguments.end(), [&](const StepArgument& a) {
               return std::any_of(a.values.begin(), a.values.end(), names);
           });
}

bool isUsed(const RunRecipe& recipe, const std::string& name)
{
    return std::any_of(recipe.steps.begin(), recipe.steps.end(),
                       [&](const Step& step) { return usesName(step, name); }) ||
           std::any_of(recipe.outputs.begin(), recipe.outputs.end(),
                       [&](const RecipeOutput& output) { return output.name == name; });
}

// What nothing uses is a slip of the pen.
void requireUses(const RecipeTable& document, const RunRecipe& recipe)
{
    for (const auto& [name, node] : document.find("inputs")->members)
        if (!isUsed(recipe, name)) document.refuse(node, "no step uses the input '" + name + "'");
    for (const Step& step : recipe.steps)
        for (const Made& made : step.makes)
            if (made.owner.empty() && !isUsed(recipe, made.name))
                document.refuse(step.place,
                                step.title() + " makes '" + made.name + "', which nothing uses");
}

// All that the outputs depend on besides the scene.
std::string hashOf(const TomlNode& document, const RunRecipe& recipe)
{
    Json sums = Json::object();
    for (const auto& [name, path] : recipe.files) sums[utf8(name)] = sha256Of(path);
    const Json all = {{"version", ZEL_LIBRARY_VERSION_TEXT},
                      {"recipe", canonicalJson(document)},
                      {"files", sums}};
    Sha256 sum;
    sum.add(all.dump());
    return sum.finish();
}

}  // namespace

std::string Step::title() const
{
    return format("step %d (", number) + kind->name + ")";
}

const Role* RunRecipe::findRole(const std::string& name) const
{
    for (const Role& role : roles)
        if (role.name == name) return &role;
    return nullptr;
}

const Made* RunRecipe::findMade(const std::string& name) const
{
    for (const Step& step : steps)
        for (const Made& made : step.makes)
            if (made.name == name) return &made;
    return nullptr;
}

RunRecipe readRecipe(const std::string& file)
{
    RunRecipe recipe;
    recipe.file = file;
    const TomlNode root = readToml(file);
    const RecipeTable document(recipe.file, root, "the recipe");
    document.requireKeys({"format", "inputs", "steps", "outputs"});
    if (const TomlNode& number = document.require("format", Kind::integer);
        number.integer != formNumber)
        document.refuse(
            number, format("'format' is %lld; this zel knows %lld", number.integer, formNumber));
    readRoles(document, recipe);
    readSteps(document, recipe);
    readOutputs(document, recipe);
    requireUses(document, recipe);
    recipe.hash = hashOf(root, recipe);
    return recipe;
}

}  // namespace zel_tool
