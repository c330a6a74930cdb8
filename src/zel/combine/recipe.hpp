// What is asked of zel combine: all that its output depends on.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "base/json.hpp"

namespace zel_tool {

// Channels of a Vorn raster that are added.
struct RasterRecipe {
    std::string file;
    std::string header;   // text header with labels
    std::string label;    // instead of the file's name
    std::string prefix;   // of every label
    std::string lut;      // LUT definition file
    std::string classes;  // feature header with a table of classes
    bool cube = false;    // the colour cube as LUT
};

struct Recipe {
    std::vector<std::string> files;
    int base = 0;                      // index of the file that gives the grid
    int basePart = -1;                 // its part; -1 for the one that its directory names
    std::vector<std::string> methods;  // CHANNEL=METHOD
    std::vector<std::string> missing;  // CHANNEL=VALUE
    std::string minValid;              // N or P%
    std::vector<std::string> allow;    // names of problems
    RasterRecipe raster;

    // Where a file is, if not where its name says.
    std::map<std::string, std::string> found;
    const std::string& pathOf(const std::string& name) const;
    std::vector<std::string> paths() const;

    bool allows(const std::string& problem) const;
    bool hasRaster() const { return !raster.file.empty(); }

    // Every file that is read, in a fixed order.
    std::vector<std::string> inputs() const;
};

// What is not at its default.
Json recipeJson(const Recipe& recipe);

// Throws Failure with this message where it is no such document.
inline constexpr const char* damagedPlan = "the recorded plan is damaged";
Recipe recipeOf(const Json& json);

}  // namespace zel_tool
