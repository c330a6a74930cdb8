// Navigation for the rooms that count and read lines.
#ifndef ZEL_LINES_NAVIGATE_HPP
#define ZEL_LINES_NAVIGATE_HPP

#include "zel_types.h"

namespace zel {

// Copies the navigation points of the current line, or forgets the destination's when the source has
// none. Ends the process (-1) when the destination has room for fewer points.
void copyNavigationPoints(ZELType& dest, const ZELType& src, const char* function);

// The current line's solar zenith angles alone, degrees: the line's own when all angles are valid,
// else computed into SolarZenith without marking the angles valid.
const float* solarZenithOfLine(ZELType& file);

}  // namespace zel

#endif
