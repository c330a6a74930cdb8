#include "scene/footprint.hpp"

#include <algorithm>
#include <cmath>

#include "scene/library.hpp"

namespace zel_tool {
namespace {

constexpr int sampledLines = 9;
constexpr int sampledPixels = 9;

// count places from 0 to last, both included, evenly spread and without repetition.
std::vector<int> spread(int last, int count)
{
    std::vector<int> places;
    places.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        places.push_back(static_cast<int>(static_cast<long long>(last) * i / (count - 1)));
    places.erase(std::unique(places.begin(), places.end()), places.end());
    return places;
}

struct Outline {
    std::vector<Position> first, last, left, right, track;
    Position center{0.0, 0.0};
};

void addLine(Outline& outline, ZELType& record, int line, const std::vector<int>& lines)
{
    float* lat = nullptr;
    float* lon = nullptr;
    guarded([&] { ZELFetchNavigation(&record, &lat, &lon); });
    const auto at = [&](int pixel) {
        return Position{static_cast<double>(lat[pixel]), static_cast<double>(lon[pixel])};
    };
    const int last = record.ZELHeader.NPixelPerLine - 1;
    outline.left.push_back(at(0));
    outline.right.push_back(at(last));
    for (const int pixel : spread(last, sampledPixels)) {
        if (line == lines.front()) outline.first.push_back(at(pixel));
        if (line == lines.back()) outline.last.push_back(at(pixel));
    }
    if (line == lines[lines.size() / 2]) outline.center = at(last / 2);
    if (record.NadirPixel >= 0 && record.NadirPixel <= last)
        outline.track.push_back(at(record.NadirPixel));
}

std::vector<Position> closedRing(const Outline& o)
{
    std::vector<Position> ring = o.first;
    if (o.right.size() > 1) ring.insert(ring.end(), o.right.begin() + 1, o.right.end());
    if (!o.last.empty()) ring.insert(ring.end(), o.last.rbegin() + 1, o.last.rend());
    if (o.left.size() > 1) ring.insert(ring.end(), o.left.rbegin() + 1, o.left.rend());
    return ring;
}

// West and east edge: the ends of the widest gap between neighbouring longitudes, so that a scene
// across the date line is as wide as it is.
void boundLongitudes(Footprint& footprint)
{
    std::vector<double> lons;
    for (const Position& p : footprint.outline) lons.push_back(p.lon);
    std::sort(lons.begin(), lons.end());
    double widest = lons.front() + 360.0 - lons.back();
    footprint.west = lons.front();
    footprint.east = lons.back();
    for (std::size_t i = 1; i < lons.size(); ++i) {
        if (lons[i] - lons[i - 1] <= widest) continue;
        widest = lons[i] - lons[i - 1];
        footprint.west = lons[i];
        footprint.east = lons[i - 1];
    }
}

std::optional<Footprint> footprintOf(const Outline& outline)
{
    Footprint footprint{closedRing(outline), outline.center, 0.0, 0.0, 0.0, 0.0};
    const auto& ring = footprint.outline;
    if (ring.empty() || !std::all_of(ring.begin(), ring.end(), isValid)) return std::nullopt;
    const auto [south, north] =
        std::minmax_element(ring.begin(), ring.end(),
                            [](const Position& a, const Position& b) { return a.lat < b.lat; });
    footprint.south = south->lat;
    footprint.north = north->lat;
    boundLongitudes(footprint);
    return footprint;
}

}  // namespace

bool isValid(const Position& p)
{
    return std::fabs(p.lat) <= 90.0 && std::fabs(p.lon) <= 180.0;
}

Survey survey(ZELType& record)
{
    Survey result;
    if (record.NumLines < 1) return result;
    Outline outline;
    const Undecoded undecoded(record);
    const std::vector<int> lines = spread(record.NumLines - 1, sampledLines);
    for (const int line : lines) {
        readLine(record, line, Decode::no);
        if (line == lines.front()) result.firstTime = record.ScanTime;
        if (line == lines.back()) result.lastTime = record.ScanTime;
        if (record.ZELHeader.NumNavPoints > 0) addLine(outline, record, line, lines);
    }
    if (record.ZELHeader.NumNavPoints < 1) return result;
    result.footprint = footprintOf(outline);
    std::copy_if(outline.track.begin(), outline.track.end(), std::back_inserter(result.track),
                 isValid);
    return result;
}

}  // namespace zel_tool
