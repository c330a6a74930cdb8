// Drawings of a page, as SVG in its colours.
#pragma once

#include <string>
#include <vector>

#include "picture/distribution.hpp"
#include "picture/plane.hpp"
#include "scene/footprint.hpp"

namespace zel_tool {

// The bins as an area, what lies between the ends of the stretch marked. Nothing for a
// distribution without bins.
std::string histogramSvg(const Distribution& distribution, Range stretch);

struct Ground {
    std::string name;
    Survey survey;
};

// A map of the footprints, the first one in the middle, with a grid of latitudes and longitudes,
// the track and a scale. Nothing where no footprint is known.
std::string mapSvg(const std::vector<Ground>& grounds);

}  // namespace zel_tool
