#include "base/json.hpp"

#include <algorithm>
#include <cmath>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

std::string labelOf(const Json& value)
{
    if (!value.is_object()) return {};
    const auto label = value.find("label");
    return label != value.end() && label->is_string() ? label->get<std::string>() : std::string();
}

// Whether an object is the channel that "#5" (its slot) or "Ch6" (its number) names.
bool isNumbered(const Json& value, const std::string& name)
{
    const bool bySlot = name.starts_with("#");
    const std::string number = name.substr(bySlot ? 1 : std::min<std::size_t>(name.size(), 2));
    long long wanted = 0;
    if (!bySlot && !equalIgnoringCase(name.substr(0, 2), "ch")) return false;
    const char* key = bySlot ? "slot" : "number";
    return value.is_object() && value.contains(key) && parseInteger(number, wanted) &&
           value[key] == wanted;
}

// How an element of a list is named when its label is not enough.
std::string placeIn(const Json& list, const Json& value)
{
    if (value.contains("slot")) return "#" + value["slot"].dump();
    return std::to_string(&value - &list[0]);
}

// A label of an object, or the number of a channel, counts before a position.
const Json* elementOf(const Json& list, const std::string& name)
{
    std::vector<const Json*> found;
    for (const Json& value : list)
        if (labelOf(value) == name || isNumbered(value, name)) found.push_back(&value);
    if (found.size() == 1) return found[0];
    if (found.empty()) {
        long long index = 0;
        const bool isPosition = parseInteger(name, index) && index >= 0 &&
                                static_cast<std::size_t>(index) < list.size();
        return isPosition ? &list[static_cast<std::size_t>(index)] : nullptr;
    }
    std::vector<std::string> places;
    places.reserve(found.size());
    for (const Json* value : found) places.push_back(placeIn(list, *value));
    throw Failure("'" + printable(name) + "' is ambiguous: " + join(places, ", "));
}

const Json* memberOf(const Json& value, const std::string& name)
{
    if (value.is_array()) return elementOf(value, name);
    if (!value.is_object()) return nullptr;
    const auto member = value.find(name);
    return member == value.end() ? nullptr : &*member;
}

std::string namesIn(const Json& value)
{
    std::vector<std::string> names;
    if (value.is_object())
        for (const auto& [key, unused] : value.items()) names.push_back(key);
    if (value.is_array())
        for (std::size_t i = 0; i < value.size(); ++i)
            names.push_back(labelOf(value[i]).empty() ? std::to_string(i) : labelOf(value[i]));
    return names.empty() ? "it has no parts" : "there are " + join(names, ", ");
}

}  // namespace

std::string jsonText(const Json& document)
{
    return document.dump(2) + "\n";
}

// A label may hold dots itself: the longest name that fits is taken.
const Json& jsonAt(const Json& document, const std::string& path)
{
    const Json* value = &document;
    const auto parts = split(path, '.');
    for (std::size_t i = 0; i < parts.size();) {
        const Json* next = nullptr;
        std::size_t last = parts.size();
        for (; last > i && !next; --last)
            next = memberOf(*value, join({parts.begin() + static_cast<std::ptrdiff_t>(i),
                                          parts.begin() + static_cast<std::ptrdiff_t>(last)},
                                         "."));
        if (!next)
            throw Failure(format("no '%s' in '%s': %s", printable(parts[i]).c_str(),
                                 printable(path).c_str(), printable(namesIn(*value)).c_str()));
        value = next;
        i = last + 1;
    }
    return *value;
}

std::string jsonLine(const Json& value)
{
    if (!value.is_string()) return value.dump() + "\n";
    std::string out;
    for (const std::string& line : split(value.get<std::string>(), '\n'))
        out += printable(line) + "\n";
    return out;
}

std::string shown(const Json& value, const char* null)
{
    if (value.is_null()) return null;
    if (value.is_string()) return printable(value.get<std::string>());
    return value.is_number_float() ? shortest(value.get<double>()) : value.dump();
}

Json jsonNumber(float value)
{
    return std::isfinite(value) ? Json(widened(value)) : Json(nullptr);
}

}  // namespace zel_tool
