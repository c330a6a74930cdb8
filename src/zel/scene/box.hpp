// Boxes of longitude and latitude, also across the date line.
#pragma once

#include <optional>
#include <vector>

namespace zel_tool {

// west > east across the date line.
struct Box {
    double west, south, east, north;
};

// The smallest box around all of them; nothing around none. Its longitudes leave out the widest gap
// between the boxes.
std::optional<Box> around(const std::vector<Box>& boxes);

// Whether they share a place; touching is enough.
bool meet(const Box& a, const Box& b);

}  // namespace zel_tool
