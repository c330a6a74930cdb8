// A feature parameter file for other inputs than it names.
#pragma once

#include <string>
#include <vector>

namespace zel_tool {

// Writes a copy to a path, with these inputs instead of its own, and returns the path. Throws
// Failure.
std::string withInputs(const std::string& parameterFile, const std::vector<std::string>& inputs,
                       const std::string& copy);

}  // namespace zel_tool
