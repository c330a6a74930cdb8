// Navigation for the rooms that count and read lines.
#ifndef ZEL_LINES_NAVIGATE_HPP
#define ZEL_LINES_NAVIGATE_HPP

#include <cstdint>

#include "zel_types.h"

namespace zel {

// Copies the navigation points of the current line, or forgets the destination's when the source has
// none. Ends the process (-1) when the destination has room for fewer points.
void copyNavigationPoints(ZELType& dest, const ZELType& src, const char* function);

// 1 for each pixel of the current line where the solar zenith angle is at most 85 degrees, else 0. The
// line's own angles count when they are valid, else those that ZELCalculateAngles would compute; neither
// they nor SolarAnglesCalculated change. A pixel whose position is not a number may get either.
void markDaylight(ZELType& file, std::uint8_t* daylight);

}  // namespace zel

#endif
