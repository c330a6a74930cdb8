// What a run is going to write, looked at before it begins.
#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "archive/recipe/run_recipe.hpp"
#include "archive/scenes/manifest_line.hpp"

namespace zel_tool {

class OutputPaths {
public:
    OutputPaths(const RunRecipe& recipe, const std::string& root);

    // Takes in a scene of the manifest.
    void add(const SceneOutline& scene);

    // Looks at a scene of another share beside those that were added.
    void compare(const SceneOutline& other);

    // Throws Misuse where two outputs have one name, or one is a file that is read.
    void check() const;

private:
    void addRead(const std::string& path);
    void refuseTwice(const std::string& name, const std::string& first, const std::string& second);

    const RunRecipe& recipe_;
    std::string here_;
    std::string root_;
    std::unordered_map<std::string, std::string> owners_;  // id of the scene, by path
    std::unordered_set<std::string> read_;
    std::string twice_;  // what is wrong with the first name that two outputs have
};

}  // namespace zel_tool
