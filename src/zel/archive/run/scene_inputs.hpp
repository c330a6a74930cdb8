// The files of a scene by the inputs of a recipe, and the steps that can be run with them.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "archive/recipe/run_recipe.hpp"

namespace zel_tool {

struct InputFile {
    std::string path;
    long long bytes;
    std::string checksum;  // of header and layout, as the manifest has it
};

// By the name of the input; empty for an optional one that the scene does not have.
using SceneInputs = std::map<std::string, std::vector<InputFile>>;

// Throws Failure where an input has no file, or several.
SceneInputs inputsOf(const RunRecipe& recipe, const Json& scene);

// The recipe for one scene: without the steps that need what is not there.
struct SceneSteps {
    std::vector<const Step*> steps;
    std::vector<const RecipeOutput*> outputs;  // that these make
    std::set<std::string> made;

    // Whether a value has a file.
    bool has(const StepValue& value, const SceneInputs& inputs) const;
};

// Throws Failure where no output is left.
SceneSteps stepsFor(const RunRecipe& recipe, const SceneInputs& inputs);

// Throws Failure where a file is no longer what the manifest says.
void requireUnchanged(const SceneInputs& inputs);

}  // namespace zel_tool
