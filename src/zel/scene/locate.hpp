// The pixel at a position on Earth, by the navigation of a record.
#pragma once

#include <string>

#include "scene/footprint.hpp"
#include "zel.h"

namespace zel_tool {

struct Located {
    int x = 0;
    int y = 0;
    double metres = 0.0;   // from the centre of the pixel
    double spacing = 0.0;  // to the farthest of its neighbours, metres
    bool isInside() const { return metres <= spacing; }
};

// The pixel nearest to a position. Reads every line. Throws Failure when no pixel has a position.
Located locate(ZELType& record, const Position& wanted, const std::string& file);

// Metres between two positions, on a sphere.
double distance(const Position& a, const Position& b);

}  // namespace zel_tool
