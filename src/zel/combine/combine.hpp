// Combining files, for the verbs that do it.
#pragma once

#include <string>

#include "combine/recipe.hpp"

namespace zel_tool {

// How a recipe is carried out; the output does not depend on it.
struct CombineRun {
    std::string output;
    bool overwrite = false;
    bool container = false;
    bool record = true;  // the plan goes to the metadata, where that is free
    bool dryRun = false;
    bool json = false;
};

// Returns the exit status. Throws Failure or Misuse.
int combine(const Recipe& recipe, const CombineRun& run);

// The two ways.
int combineToGrid(const Recipe& recipe, const CombineRun& run);
int combineToContainer(const Recipe& recipe, const CombineRun& run);

// Throws Failure when the output is one of the files that are read.
void spareInputs(const Recipe& recipe, const std::string& output);

}  // namespace zel_tool
