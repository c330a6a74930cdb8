#include "navigation.hpp"

#include <algorithm>
#include <cmath>

namespace zel_gdal {
namespace {

constexpr int tiedLines = 20;
constexpr int tiedPoints = 20;
constexpr double tolerance = 0.01;  // of a pixel

bool isPlace(const Position& position)
{
    return std::abs(position.lat) <= 90 && std::abs(position.lon) <= 180;
}

// Longitudes up to 360 are places as well.
Position cleaned(float lat, float lon)
{
    const Position position = {lat, lon > 180.0F && lon <= 360.0F ? static_cast<double>(lon) - 360
                                                                  : static_cast<double>(lon)};
    return isPlace(position) ? position : Position{noPosition, noPosition};
}

double wrapped(double lon)
{
    return lon > 180 ? lon - 360 : lon < -180 ? lon + 360 : lon;
}

// The step from one longitude to the next, the short way round.
double lonStep(double from, double to)
{
    return wrapped(to - from);
}

// As far beyond a point as its neighbour is on the other side, times steps.
Position beyond(const Position& point, const Position& neighbour, int steps)
{
    if (!isPlace(point) || !isPlace(neighbour)) return {noPosition, noPosition};
    const Position position = {point.lat + (point.lat - neighbour.lat) * steps,
                               wrapped(point.lon + lonStep(neighbour.lon, point.lon) * steps)};
    return isPlace(position) ? position : Position{noPosition, noPosition};
}

// How many of up to most numbers below count are evenly spread, and the k-th of them.
int spread(int count, int most)
{
    return std::min(count, most);
}

int spreadOut(int k, int count, int most)
{
    const int gaps = std::max(1, spread(count, most) - 1);
    return static_cast<int>(static_cast<GIntBig>(k) * (count - 1) / gaps);
}

// How many steps are as long as a distance, or longer; none for one that is not ahead.
int stepsOver(GIntBig distance, int step)
{
    return distance > 0 ? static_cast<int>((distance + step - 1) / step) : 0;
}

}  // namespace

RawRasterBand::ByteOrder byteOrder(bool isSwapped)
{
    return isSwapped == (CPL_IS_LSB != 0) ? RawRasterBand::ByteOrder::ORDER_BIG_ENDIAN
                                          : RawRasterBand::ByteOrder::ORDER_LITTLE_ENDIAN;
}

Navigation::Navigation(ZELType& record, const LinePlaces& places) : places_(places)
{
    const ZELHeaderType& h = record.ZELHeader;
    const std::int64_t place = ZELFetchPlaceInLine(&record, "LatBuffer");
    const int interval = h.NavPointInterval;
    if (h.NumNavPoints < 1 || place < 0) return;
    if (h.NumNavPoints > 1 && interval < 1) return;
    offset_ = static_cast<vsi_l_offset>(place);
    points_ = h.NumNavPoints;
    start_ = h.StartNavPoint;
    interval_ = std::max(interval, 1);
    const GIntBig last = pixelOf(points_ - 1);
    before_ = stepsOver(start_, interval_);
    after_ = stepsOver(h.NPixelPerLine - 1 - last, interval_);
}

bool Navigation::readPoints(VSILFILE* file, int line, std::vector<Position>& points) const
{
    const auto count = static_cast<std::size_t>(points_);
    std::vector<float> stored(2 * count);
    const vsi_l_offset place =
        places_.firstLine +
        static_cast<vsi_l_offset>(line) * static_cast<vsi_l_offset>(places_.lineSize) + offset_;
    if (VSIFSeekL(file, place, SEEK_SET) != 0 ||
        VSIFReadL(stored.data(), sizeof(float), stored.size(), file) != stored.size())
        return false;
    if (places_.isSwapped) GDALSwapWords(stored.data(), sizeof(float), 2 * points_, sizeof(float));
    points.resize(count);
    for (std::size_t k = 0; k < count; ++k) points[k] = cleaned(stored[k], stored[count + k]);
    return true;
}

bool Navigation::readLine(VSILFILE* file, int line, std::vector<Position>& positions) const
{
    std::vector<Position> points;
    if (!readPoints(file, line, points)) return false;
    const std::size_t last = points.size() - 1;
    positions.clear();
    for (int k = before_; k > 0; --k) positions.push_back(beyond(points[0], points[1], k));
    positions.insert(positions.end(), points.begin(), points.end());
    for (int k = 1; k <= after_; ++k)
        positions.push_back(beyond(points[last], points[last - 1], k));
    return true;
}

std::vector<ControlPoint> Navigation::controlPoints(VSILFILE* file) const
{
    std::vector<ControlPoint> found;
    std::vector<Position> points;
    for (int n = 0; n < spread(lines(), tiedLines); ++n) {
        const int line = spreadOut(n, lines(), tiedLines);
        if (!readPoints(file, line, points)) return {};
        for (int k = 0; k < spread(points_, tiedPoints); ++k) {
            const int point = spreadOut(k, points_, tiedPoints);
            const Position& at = points[static_cast<std::size_t>(point)];
            if (isPlace(at))
                found.push_back({static_cast<double>(pixelOf(point)) + 0.5, line + 0.5, at});
        }
    }
    return found;
}

bool Navigation::isOnGrid(VSILFILE* file, const Position& origin, double latStep,
                          double lonStep) const
{
    std::vector<Position> points;
    for (int n = 0; n < lines(); ++n) {
        if (!readPoints(file, n, points)) return false;
        for (int k = 0; k < points_; ++k) {
            const Position& at = points[static_cast<std::size_t>(k)];
            const double east = zel_gdal::lonStep(origin.lon, at.lon);
            const double wanted = static_cast<double>(pixelOf(k) - start_) * lonStep;
            if (!(std::abs(at.lat - origin.lat - n * latStep) <= tolerance * -latStep) ||
                !(std::abs(wrapped(east - wanted)) <= tolerance * lonStep))
                return false;
        }
    }
    return true;
}

// The steps come from the corners; most other grids are refused by the first line.
bool Navigation::isNorthUp(VSILFILE* file, double (&transform)[6]) const
{
    if (!isGrid() || lines() < 2) return false;
    std::vector<Position> first;
    std::vector<Position> last;
    if (!readPoints(file, 0, first) || !readPoints(file, lines() - 1, last)) return false;
    if (!isPlace(first.front()) || !isPlace(first.back()) || !isPlace(last.front())) return false;
    const Position origin = first.front();
    const double latStep = (last.front().lat - origin.lat) / (lines() - 1);
    double width = first.back().lon - origin.lon;
    if (width < 0) width += 360;
    const double lonStep = width / (static_cast<double>(points_ - 1) * interval_);
    if (!(latStep < 0) || !(lonStep > 0) || !isOnGrid(file, origin, latStep, lonStep)) return false;
    const double found[6] = {
        origin.lon - (start_ + 0.5) * lonStep, lonStep, 0, origin.lat - 0.5 * latStep, 0, latStep};
    std::copy(found, found + 6, transform);
    return true;
}

}  // namespace zel_gdal
