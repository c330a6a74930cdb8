// What a run is going to write, looked at before it begins.
#pragma once

#include "archive/manifest.hpp"
#include "archive/run_recipe.hpp"

namespace zel_tool {

// Throws Misuse where two outputs of the scenes have one name, or one is a file that is read.
void requireOwnPaths(const RunRecipe& recipe, const Manifest& manifest, const std::string& root);

}  // namespace zel_tool
