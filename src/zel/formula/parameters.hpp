// A feature parameter file.
#pragma once

#include <memory>
#include <string>

#include "zel_features/zel_features.h"

namespace zel_tool {

struct FreeParameters {
    void operator()(ZELParameterStruct* parameters) const;
};
using Parameters = std::unique_ptr<ZELParameterStruct, FreeParameters>;

// Reads the file; output stands for the one that it names, unless it is empty. What the library
// ignores is warned of, but an input that cannot be opened is an error. Throws Failure.
Parameters readParameters(const std::string& file, const std::string& output);

}  // namespace zel_tool
