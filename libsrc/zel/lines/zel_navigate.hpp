// Navigation for the rooms that count and read lines.
#ifndef ZEL_LINES_NAVIGATE_HPP
#define ZEL_LINES_NAVIGATE_HPP

#include <cstdint>

#include "zel_types.h"

namespace zel {

// Latitude and longitude of every pixel of the current line, interpolated when that is not yet
// done.
struct Positions {
    const float* lat;
    const float* lon;
};
Positions positionsOf(ZELType& file);

// Copies the navigation points of the current line, or clears the destination's pointers when the
// source has none. Ends the process (-1) when the destination has room for fewer points.
void copyNavigationPoints(ZELType& dest, const ZELType& src, const char* function);

// Altitude of a polar satellite by its number, km: odd and even ones fly on two orbits.
inline float altitudeOfSatellite(int number)
{
    return number % 2 != 0 ? 860.0f : 820.0f;
}

// require(ok, field, value) for each rule that a header's navigation points keep: there are none,
// one, or several that begin inside the line and go forward.
template <class Require>
void checkNavigation(const ZELHeaderType& h, Require require)
{
    const bool several = h.NumNavPoints > 1;
    const bool startsInside = h.StartNavPoint >= 0 && h.StartNavPoint < h.NPixelPerLine;
    require(h.NumNavPoints >= 0 && h.NumNavPoints <= INT16_MAX, "NumNavPoints", h.NumNavPoints);
    require(!several || startsInside, "StartNavPoint", h.StartNavPoint);
    require(!several || h.NavPointInterval >= 1, "NavPointInterval", h.NavPointInterval);
}

}  // namespace zel

#endif
