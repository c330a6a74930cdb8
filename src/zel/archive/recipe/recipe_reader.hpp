// The parts of a recipe, read from its document.
#pragma once

#include <string>
#include <vector>

#include "archive/recipe/run_recipe.hpp"

namespace zel_tool {

// A table of the document; what is wrong with it is reported with its place.
class RecipeTable {
public:
    RecipeTable(const std::string& file, const TomlNode& node, std::string what);

    // Throws Misuse for a key that is not one of these.
    void requireKeys(const std::vector<std::string>& keys) const;

    const TomlNode* find(const std::string& key) const { return node_.find(key); }
    const TomlNode& require(const std::string& key, TomlNode::Kind kind) const;

    std::string text(const std::string& key) const;  // empty where it is not given
    bool flag(const std::string& key) const;

    const TomlNode& node() const { return node_; }
    [[noreturn]] void refuse(const TomlNode& at, const std::string& message) const;

private:
    const std::string& file_;
    const TomlNode& node_;
    std::string what_;  // "step 2", for messages
};

// Throws Misuse where the node is of another kind.
void requireKind(const std::string& file, const TomlNode& node, TomlNode::Kind kind,
                 const std::string& what);

// Throws Misuse where a name has other characters than letters, digits, "_" and "-".
void requireName(const std::string& file, const TomlNode& at, const std::string& name);

Role readRole(const std::string& file, const std::string& name, const TomlNode& node);

// A step that comes after those that the recipe has; the files that it reads are added.
Step readStep(RunRecipe& recipe, const TomlNode& node);

}  // namespace zel_tool
