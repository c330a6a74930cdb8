// A TOML document with the place of everything in it.
#pragma once

#include <string>
#include <vector>

#include "base/json.hpp"

namespace zel_tool {

struct TomlMember;

struct TomlNode {
    enum class Kind { text, integer, number, flag, list, table };

    Kind kind = Kind::table;
    std::string text;
    long long integer = 0;
    double number = 0.0;
    bool flag = false;
    std::vector<TomlNode> items;      // of a list
    std::vector<TomlMember> members;  // of a table, as they stand in the file
    int line = 1;                     // of its key, where it has one
    int column = 1;

    const TomlNode* find(const std::string& key) const;
};

struct TomlMember {
    std::string name;
    TomlNode node;
};

// "a text", "a number", for messages.
std::string kindName(TomlNode::Kind kind);

// Throws Misuse, with the place, for what is no TOML; Failure where the file cannot be read.
TomlNode readToml(const std::string& file);
TomlNode parseToml(const std::string& text, const std::string& file);

// The document without its order and its form: equal for equal documents.
Json canonicalJson(const TomlNode& node);

// Throws Misuse: "recipe.toml:7:1: message".
[[noreturn]] void refuseAt(const std::string& file, const TomlNode& node,
                           const std::string& message);

}  // namespace zel_tool
