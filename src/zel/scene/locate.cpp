#include "scene/locate.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/failure.hpp"
#include "base/progress.hpp"
#include "scene/library.hpp"

namespace zel_tool {
namespace {

constexpr double degreesPerRadian = 57.29577951308232;
constexpr double metresPerKilometre = 1000.0;

// Unit vectors: the straight distance between two orders as the one along the sphere does, knows no
// date line and no poles.
struct Vector {
    double x, y, z;
};

Vector vectorOf(const Position& p)
{
    const double lat = p.lat / degreesPerRadian;
    const double lon = p.lon / degreesPerRadian;
    return {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)};
}

double squaredChord(const Vector& a, const Vector& b)
{
    const double x = a.x - b.x;
    const double y = a.y - b.y;
    const double z = a.z - b.z;
    return x * x + y * y + z * z;
}

class Navigation {
public:
    explicit Navigation(ZELType& record) : record_(record), undecoded_(record) {}

    void read(int line)
    {
        readLine(record_, line, Decode::no);
        guarded([&] { ZELFetchNavigation(&record_, &lat_, &lon_); });
    }

    int pixels() const { return record_.ZELHeader.NPixelPerLine; }
    Position at(int x) const
    {
        return {static_cast<double>(lat_[x]), static_cast<double>(lon_[x])};
    }

private:
    ZELType& record_;
    Undecoded undecoded_;
    float* lat_ = nullptr;
    float* lon_ = nullptr;
};

double spacingAt(ZELType& record, const Located& found)
{
    Navigation navigation(record);
    navigation.read(found.y);
    const Position own = navigation.at(found.x);
    double spacing = 0.0;
    for (const int x : {found.x - 1, found.x + 1})
        if (x >= 0 && x < navigation.pixels())
            spacing = std::max(spacing, distance(own, navigation.at(x)));
    for (const int y : {found.y - 1, found.y + 1}) {
        if (y < 0 || y >= record.NumLines) continue;
        navigation.read(y);
        spacing = std::max(spacing, distance(own, navigation.at(found.x)));
    }
    return spacing;
}

}  // namespace

double distance(const Position& a, const Position& b)
{
    const double chord = std::sqrt(squaredChord(vectorOf(a), vectorOf(b)));
    return 2.0 * std::asin(std::min(chord / 2.0, 1.0)) * earth_radius * metresPerKilometre;
}

Located locate(ZELType& record, const Position& wanted, const std::string& file)
{
    if (record.ZELHeader.NumNavPoints < 1) throw Failure("has no navigation");
    const Vector target = vectorOf(wanted);
    Located found;
    double nearest = std::numeric_limits<double>::infinity();
    Navigation navigation(record);
    Progress progress(file, record.NumLines);
    for (int y = 0; y < record.NumLines; ++y) {
        navigation.read(y);
        for (int x = 0; x < navigation.pixels(); ++x) {
            const Position here = navigation.at(x);
            if (!isValid(here)) continue;
            const double chord = squaredChord(vectorOf(here), target);
            if (chord >= nearest) continue;
            nearest = chord;
            found = {x, y, distance(here, wanted), 0.0};
        }
        progress.update(y + 1);
    }
    if (std::isinf(nearest)) throw Failure("no pixel has a valid position");
    found.spacing = spacingAt(record, found);
    return found;
}

}  // namespace zel_tool
