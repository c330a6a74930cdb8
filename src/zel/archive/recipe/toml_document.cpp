#include "archive/recipe/toml_document.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <new>
#include <sstream>

#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/library.hpp"

#ifdef ZEL_TOML
#include <toml++/toml.h>
#endif

namespace zel_tool {

const TomlNode* TomlNode::find(const std::string& key) const
{
    for (const auto& [name, node] : members)
        if (name == key) return &node;
    return nullptr;
}

std::string kindName(TomlNode::Kind kind)
{
    static constexpr const char* names[] = {"a text",        "a whole number", "a number",
                                            "true or false", "a list",         "a table"};
    return names[static_cast<int>(kind)];
}

void refuseAt(const std::string& file, const TomlNode& node, const std::string& message)
{
    throw Misuse(printable(file) + format(":%d:%d: ", node.line, node.column) + message);
}

Json canonicalJson(const TomlNode& node)
{
    switch (node.kind) {
    case TomlNode::Kind::text:
        return utf8(node.text);
    case TomlNode::Kind::integer:
        return node.integer;
    case TomlNode::Kind::number:
        return node.number;
    case TomlNode::Kind::flag:
        return node.flag;
    case TomlNode::Kind::list: {
        Json list = Json::array();
        for (const TomlNode& item : node.items) list.push_back(canonicalJson(item));
        return list;
    }
    case TomlNode::Kind::table:
        break;
    }
    std::vector<TomlMember> members = node.members;
    std::sort(members.begin(), members.end(),
              [](const auto& a, const auto& b) { return a.name < b.name; });
    Json table = Json::object();
    for (const auto& [name, member] : members) table[utf8(name)] = canonicalJson(member);
    return table;
}

#ifdef ZEL_TOML

namespace {

void setPlace(TomlNode& node, const toml::source_region& source)
{
    node.line = static_cast<int>(source.begin.line);
    node.column = static_cast<int>(source.begin.column);
}

TomlNode converted(const toml::node& from, const std::string& file);

TomlNode tableOf(const toml::table& from, const std::string& file)
{
    TomlNode table;
    for (const auto& [key, value] : from) {
        TomlNode member = converted(value, file);
        setPlace(member, key.source());
        table.members.push_back({std::string(key.str()), std::move(member)});
    }
    const auto place = [](const auto& member) {
        return std::make_pair(member.node.line, member.node.column);
    };
    std::stable_sort(table.members.begin(), table.members.end(),
                     [&](const auto& a, const auto& b) { return place(a) < place(b); });
    return table;
}

TomlNode converted(const toml::node& from, const std::string& file)
{
    TomlNode node;
    if (const auto* table = from.as_table()) node = tableOf(*table, file);
    setPlace(node, from.source());
    if (const auto* list = from.as_array()) {
        node.kind = TomlNode::Kind::list;
        for (const toml::node& item : *list) node.items.push_back(converted(item, file));
    } else if (const auto* text = from.as_string()) {
        node.kind = TomlNode::Kind::text;
        node.text = text->get();
    } else if (const auto* integer = from.as_integer()) {
        node.kind = TomlNode::Kind::integer;
        node.integer = integer->get();
    } else if (const auto* number = from.as_floating_point()) {
        node.kind = TomlNode::Kind::number;
        node.number = number->get();
    } else if (const auto* flag = from.as_boolean()) {
        node.kind = TomlNode::Kind::flag;
        node.flag = flag->get();
    } else if (!from.is_table()) {
        refuseAt(file, node, "dates and times have no meaning here");
    }
    return node;
}

// The words of the parser, without their full stop.
std::string reasonOf(const toml::parse_error& error)
{
    std::string text(error.description());
    if (!text.empty() && text.back() == '.') text.pop_back();
    return printable(text);
}

}  // namespace

TomlNode parseToml(const std::string& text, const std::string& file)
{
    try {
        return converted(toml::parse(text, file), file);
    } catch (const toml::parse_error& error) {
        TomlNode place;
        setPlace(place, error.source());
        refuseAt(file, place, reasonOf(error));
    }
}

#else

TomlNode parseToml(const std::string&, const std::string&)
{
    throw Misuse("this zel was built without toml++ (Debian: libtomlplusplus-dev)");
}

#endif

TomlNode readToml(const std::string& file)
{
    requireFile(file);
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream) throw Failure(std::strerror(errno));
    if (text.bad()) throw std::bad_alloc();
    return parseToml(text.str(), file);
}

}  // namespace zel_tool
