// What decides whether files are of one scene.
#pragma once

#include <string>
#include <vector>

#include "zel.h"

namespace zel_tool {

struct SceneKey {
    std::string file;
    int dataType, year, julian, satellite;
    double time;  // of the first line, in hours
};

// Reads the first line of a record. Throws Failure, also when there is none.
SceneKey keyOf(const std::string& file, ZELType& record);

// In what the second differs from the first: "year 2016, not 2015".
std::vector<std::string> differences(const SceneKey& a, const SceneKey& b);

}  // namespace zel_tool
