// Where on Earth a scene is, from its navigation.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "zel.h"

namespace zel_tool {

struct Position {
    double lat;
    double lon;
};

bool isValid(const Position& p);

struct Footprint {
    std::vector<Position> outline;    // along the first line, the right edge, back; closed
    Position center;                  // the middle pixel of the middle line
    double west, south, east, north;  // west > east across the date line
};

// What the first and last line of a record and some between them say; nothing without navigation
// or where a position on the outline is invalid. The track is that of the nadir pixel where the
// lines have it. The times are those of the first and last line.
struct Survey {
    std::optional<Footprint> footprint;
    std::vector<Position> track;
    double firstTime = 0.0;
    double lastTime = 0.0;
};

// Throws Failure when a line cannot be read.
Survey survey(ZELType& record);

}  // namespace zel_tool
