// JSON with its keys in the order in which they are set.
#pragma once

#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

namespace zel_tool {

using Json = nlohmann::ordered_json;

// The document as text, with a newline. What is no number is null.
std::string jsonText(const Json& document);

// The value at "channels.B5.units" or "channels.0.label". In a list the name is the label of an
// object, a channel by its number or slot (Ch6, #5), or a position. Throws Failure.
const Json& jsonAt(const Json& document, const std::string& path);

// A value as a line of text: a string without quotes, anything else as JSON.
std::string jsonLine(const Json& value);

// A value in a line of text: a string made safe to print, a number as short as it can be.
std::string shown(const Json& value, const char* null = "-");

// A float as the number that its shortest text says.
Json jsonNumber(float value);

}  // namespace zel_tool
