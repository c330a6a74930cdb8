#include "archive/recipe/recipe_reader.hpp"

#include <algorithm>
#include <cmath>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {

RecipeTable::RecipeTable(const std::string& file, const TomlNode& node, std::string what)
    : file_(file), node_(node), what_(std::move(what))
{
    requireKind(file, node, TomlNode::Kind::table, what_);
}

void RecipeTable::refuse(const TomlNode& at, const std::string& message) const
{
    refuseAt(file_, at, message);
}

void RecipeTable::requireKeys(const std::vector<std::string>& keys) const
{
    for (const auto& [key, member] : node_.members)
        if (std::find(keys.begin(), keys.end(), key) == keys.end())
            refuse(member, "unknown key '" + printable(key) + "' in " + what_ + "; there are " +
                               join(keys, ", "));
}

const TomlNode& RecipeTable::require(const std::string& key, TomlNode::Kind kind) const
{
    const TomlNode* member = find(key);
    if (!member) refuse(node_, what_ + " has no '" + key + "'");
    requireKind(file_, *member, kind, "'" + key + "'");
    return *member;
}

std::string RecipeTable::text(const std::string& key) const
{
    return find(key) ? require(key, TomlNode::Kind::text).text : "";
}

bool RecipeTable::flag(const std::string& key) const
{
    return find(key) && require(key, TomlNode::Kind::flag).flag;
}

void requireKind(const std::string& file, const TomlNode& node, TomlNode::Kind kind,
                 const std::string& what)
{
    if (node.kind != kind)
        refuseAt(file, node, what + " is " + kindName(node.kind) + ", not " + kindName(kind));
}

void requireName(const std::string& file, const TomlNode& at, const std::string& name)
{
    static const std::string characters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
    if (name.empty() || name[0] == '-' || name.find_first_not_of(characters) != std::string::npos)
        refuseAt(file, at, "'" + printable(name) + "' is no name: it has letters, digits, _ and -");
}

namespace {

void readResolution(const RecipeTable& table, Role& role)
{
    const TomlNode* node = table.find("resolution");
    if (!node) return;
    if (node->kind == TomlNode::Kind::integer)
        role.resolution = static_cast<double>(node->integer);
    else if (node->kind == TomlNode::Kind::number)
        role.resolution = node->number;
    else if (node->kind == TomlNode::Kind::text && node->text == "finest")
        role.pick = Role::Pick::finest;
    else if (node->kind == TomlNode::Kind::text && node->text == "coarsest")
        role.pick = Role::Pick::coarsest;
    else
        table.refuse(*node, "'resolution' is a number of metres, \"finest\" or \"coarsest\"");
    if (role.resolution && !(*role.resolution > 0.0 && std::isfinite(*role.resolution)))
        table.refuse(*node, "'resolution' is above 0");
}

}  // namespace

Role readRole(const std::string& file, const std::string& name, const TomlNode& node)
{
    requireName(file, node, name);
    const RecipeTable table(file, node, "input '" + name + "'");
    table.requireKeys({"resolution", "channel", "file", "kind", "optional", "many"});
    Role role;
    role.name = name;
    readResolution(table, role);
    role.channel = table.text("channel");
    role.file = table.text("file");
    role.kind = table.text("kind");
    role.optional = table.flag("optional");
    role.many = table.flag("many");
    if (!role.kind.empty() && role.kind != "file" && role.kind != "container")
        table.refuse(*table.find("kind"), "'kind' is \"file\" or \"container\"");
    return role;
}

}  // namespace zel_tool
