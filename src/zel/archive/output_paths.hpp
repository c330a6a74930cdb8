// What a run is going to write, looked at before it begins.
#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "archive/run_recipe.hpp"

namespace zel_tool {

class OutputPaths {
public:
    OutputPaths(const RunRecipe& recipe, const std::string& root);

    // Takes in a scene of the manifest.
    void add(const std::string& id, const Json& scene);

    // Throws Misuse where two outputs have one name, or one is a file that is read.
    void check() const;

private:
    const RunRecipe& recipe_;
    std::string here_;
    std::string root_;
    std::unordered_map<std::string, std::string> owners_;  // id of the scene, by path
    std::unordered_set<std::string> read_;
    std::string twice_;  // what is wrong with the first name that two outputs have
};

}  // namespace zel_tool
