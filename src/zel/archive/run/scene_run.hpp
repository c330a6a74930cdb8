// A recipe for one scene: from its files to whole outputs, or none.
#pragma once

#include <string>
#include <vector>

#include "archive/recipe/run_recipe.hpp"
#include "archive/scenes/manifest.hpp"

namespace zel_tool {

struct RunPlace {
    std::string root = ".";
    bool skipExisting = false;
    bool overwrite = false;  // also what no run has made
};

// "path" of an output below the root.
std::string outputPath(const RunPlace& place, const std::string& name);

// Runs it, in a process that has StopSignals, and gives what became of it: status ("done",
// "skipped", "failed", or "killed" with the signal), reason, warnings, outputs, bytes. The
// descriptor is the one that this process writes to.
Json runScene(const RunRecipe& recipe, const RunPlace& place, const ManifestScene& scene,
              int descriptor);

}  // namespace zel_tool
