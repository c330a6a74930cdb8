#include "scene/box.hpp"

#include <algorithm>
#include <cmath>

namespace zel_tool {
namespace {

constexpr double circle = 360.0;

struct Arc {
    double west;
    double east;  // not less than west: beyond 180 across the date line
};

Arc arcOf(const Box& box)
{
    return {box.west, box.east < box.west ? box.east + circle : box.east};
}

double onMap(double longitude)
{
    return std::remainder(longitude, circle);
}

// The arcs are gone through twice, so that the gaps of the second round know of all arcs before.
Arc hullOf(std::vector<Arc> arcs)
{
    std::sort(arcs.begin(), arcs.end(), [](const Arc& a, const Arc& b) { return a.west < b.west; });
    double reach = arcs.front().east;
    for (const Arc& arc : arcs) reach = std::max(reach, arc.east);
    double widest = 0.0;
    Arc hull{-180.0, 180.0};
    for (const Arc& arc : arcs) {
        const double gap = arc.west + circle - reach;
        if (gap > widest) {
            widest = gap;
            hull = {arc.west, onMap(reach)};
        }
        reach = std::max(reach, arc.east + circle);
    }
    return hull;
}

}  // namespace

std::optional<Box> around(const std::vector<Box>& boxes)
{
    if (boxes.empty()) return std::nullopt;
    Box all = boxes.front();
    std::vector<Arc> arcs;
    arcs.reserve(boxes.size());
    for (const Box& box : boxes) {
        all.south = std::min(all.south, box.south);
        all.north = std::max(all.north, box.north);
        arcs.push_back(arcOf(box));
    }
    const Arc hull = hullOf(std::move(arcs));
    all.west = hull.west;
    all.east = hull.east;
    return all;
}

bool meet(const Box& a, const Box& b)
{
    if (a.south > b.north || b.south > a.north) return false;
    const Arc first = arcOf(a);
    const Arc second = arcOf(b);
    for (const double shift : {-circle, 0.0, circle})
        if (first.west <= second.east + shift && second.west + shift <= first.east) return true;
    return false;
}

}  // namespace zel_tool
