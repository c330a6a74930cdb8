// A step as a process of its own: the verb in a copy of this one, with a library that nothing has
// used before.
#pragma once

#include <string>
#include <vector>

#include "archive/recipe/run_recipe.hpp"
#include "base/child_process.hpp"

namespace zel_tool {

// Thrown when a signal has killed a step, or has come for this process.
struct Killed {
    int signal;
    bool isStop;  // for this process: what runs is to be dropped
};

// Runs a step with these words; what it prints goes to a file, or nowhere. The descriptor is closed
// there. Returns its warnings. Throws Failure with what it says, and Killed.
std::vector<std::string> runStep(const Step& step, const std::vector<std::string>& words,
                                 const std::string& output, int descriptor);

}  // namespace zel_tool
