// What the description of a file says, in words.
#pragma once

#include <string>
#include <vector>

#include "base/json.hpp"

namespace zel_tool {

// A number as short as it can be; nothing for null.
std::string number(const Json& value);

// A fact without text does not hold for the file; one without a name goes on with the one before.
struct Fact {
    const char* name;
    std::string text;
};

// Scene, time, sensor, grid, place, navigation and format of a file.
std::vector<Fact> factsOf(const Json& info);

// Of a channel: "0 .. 1.5", and its LUT, comment, histogram, mask and tables.
std::string rangeText(const Json& channel);
std::string notesText(const Json& channel);

// How a part of a container comes onto the base grid: "average 2".
std::string useOfPart(const Json& component);
std::vector<std::string> labelsOfPart(const Json& info, const Json& index);

}  // namespace zel_tool
