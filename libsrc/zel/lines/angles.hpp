// The angles of the current line, for the rooms that use them.
#ifndef ZEL_LINES_ANGLES_HPP
#define ZEL_LINES_ANGLES_HPP

#include <cstdint>

#include "zel_types.h"

namespace zel {

// Computes the angles of the current line, when that is not yet done.
void requireAngles(ZELType& file);

// 1 for each pixel of the current line where the solar zenith angle is at most 85 degrees, else 0.
// The line's own angles count when they are valid, else those that ZELCalculateAngles would
// compute; neither they nor SolarAnglesCalculated change. A pixel whose position is not a number
// may get either.
void markDaylight(ZELType& file, std::uint8_t* daylight);

}  // namespace zel

#endif
