// Sun and view angles of the pixels of a line.
#include "lines/angles.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "lines/zel_navigate.hpp"
#include "records/buffers.hpp"
#include "zel_ancillary.h"
#include "zel_navigate.h"

namespace {

constexpr double degreesPerRadian = 57.29577951;

double radians(double degrees)
{
    return degrees / degreesPerRadian;
}

float degrees(double radian)
{
    return static_cast<float>(radian * degreesPerRadian);
}

double clampUnit(double value)
{
    return std::clamp(value, -1.0, 1.0);
}

bool isUnit(double value)
{
    return value == 1.0 || value == -1.0;
}

// Height of the ground above the earth's centre, km, at a latitude given by its sine.
double localEarthRadius(double sinLat)
{
    return (0.99999788 - 0.00335208 * sinLat * sinLat) * 6378.388;
}

// What a line has in common.
struct Geometry {
    double hourOffset;  // degrees, to be added to a longitude for its hour angle
    double sinDeclination, cosDeclination;
    double satelliteRadius;  // km
    double nadirLon;         // degrees
    double sinNadir, cosNadir;
};

struct Place {
    double lon;  // degrees
    double sinLat, cosLat;
};

struct Angles {
    float sz = 0.0f, vz = 0.0f, az = 0.0f;
};

bool isDayOfYear(int julian)
{
    return julian >= 1 && julian <= 366;
}

// julian must be a day of the year.
Geometry geometryOf(int julian, double scanTime, double altitude, float nadirLat, float nadirLon)
{
    const double sun = radians(static_cast<double>(declination[julian - 1]));
    const double nadir = radians(static_cast<double>(nadirLat));
    Geometry g{};
    g.hourOffset = (scanTime - 12.0) * 15.0 - static_cast<double>(delon[julian - 1]);
    g.sinDeclination = std::sin(sun);
    g.cosDeclination = std::cos(sun);
    g.satelliteRadius = altitude + earth_radius;
    g.nadirLon = static_cast<double>(nadirLon);
    g.sinNadir = std::sin(nadir);
    g.cosNadir = std::cos(nadir);
    return g;
}

Place placeOf(float lat, float lon)
{
    const double latitude = radians(static_cast<double>(lat));
    return {static_cast<double>(lon), std::sin(latitude), std::cos(latitude)};
}

double hourAngle(const Geometry& g, const Place& p)
{
    return p.lon + g.hourOffset;
}

double cosSolarZenith(const Geometry& g, const Place& p)
{
    return clampUnit(std::cos(radians(hourAngle(g, p))) * g.cosDeclination * p.cosLat +
                     g.sinDeclination * p.sinLat);
}

// Cosine of the angle at the earth's centre between nadir and pixel. At the nadir itself it is
// exactly 1, which the sum may miss by its rounding.
double cosFromNadir(const Geometry& g, const Place& p)
{
    if (p.lon == g.nadirLon && p.sinLat == g.sinNadir && p.cosLat == g.cosNadir) return 1.0;
    return clampUnit(std::cos(radians(p.lon - g.nadirLon)) * g.cosNadir * p.cosLat +
                     g.sinNadir * p.sinLat);
}

float solarZenith(const Geometry& g, const Place& p)
{
    return degrees(std::acos(cosSolarZenith(g, p)));
}

Angles anglesAt(const Geometry& g, const Place& p)
{
    const double cosSun = cosSolarZenith(g, p);
    const double fromNadir = p.lon - g.nadirLon;
    const double cosB = cosFromNadir(g, p);
    const double sinB = std::sin(std::acos(cosB));
    const double ground = localEarthRadius(p.sinLat);
    const double satellite = g.satelliteRadius;
    const double slant =
        std::sqrt(ground * ground + satellite * satellite - 2.0 * satellite * ground * cosB);

    Angles angles;
    angles.sz = degrees(std::acos(cosSun));
    angles.vz = degrees(std::asin(clampUnit(sinB / slant * satellite)));
    if (isUnit(cosB) || isUnit(cosSun)) return angles;
    // From the nadir to the point that has the sun overhead.
    const double cosSubSolar =
        std::cos(radians(fromNadir - hourAngle(g, p))) * g.cosNadir * g.cosDeclination +
        g.sinNadir * g.sinDeclination;
    const double cosAzimuth =
        (cosSubSolar - cosSun * cosB) / (std::sqrt(1.0 - cosSun * cosSun) * sinB);
    angles.az = static_cast<float>(180.0 - std::acos(clampUnit(cosAzimuth)) * degreesPerRadian);
    return angles;
}

constexpr float darkestZenith = 85.0f;  // degrees
constexpr int daylightBlock = 32;       // pixels

std::uint8_t isDaylight(float zenith)
{
    return zenith <= darkestZenith ? 1 : 0;
}

void markZeniths(const float* zenith, int count, std::uint8_t* daylight)
{
    for (int x = 0; x < count; ++x) daylight[x] = isDaylight(zenith[x]);
}

double extent(const float* values, int count)
{
    float min = values[0];
    float max = values[0];
    for (int i = 1; i < count; ++i) {
        min = values[i] < min ? values[i] : min;
        max = values[i] > max ? values[i] : max;
    }
    return static_cast<double>(max) - static_cast<double>(min);
}

// Neighbouring pixels see the sun at nearly the same angle: going from one place to another changes
// the cosine by no more than the angle between them, which is at most that of the latitudes and
// that of the longitudes together. Unless the limit is that close, the pixel in the middle decides
// for its block.
void markBlock(const Geometry& g, const float* lat, const float* lon, int count,
               std::uint8_t* daylight)
{
    constexpr double margin = 1.0e-5;  // of roundings, the zenith's to float above all
    static const double limit = std::cos(radians(static_cast<double>(darkestZenith)));
    const double reach = radians(extent(lat, count) + extent(lon, count)) + margin;
    const double middle = cosSolarZenith(g, placeOf(lat[count / 2], lon[count / 2]));
    if (std::fabs(middle - limit) > reach) {
        std::fill_n(daylight, count, std::uint8_t{middle > limit});
        return;
    }
    for (int x = 0; x < count; ++x)
        daylight[x] = isDaylight(solarZenith(g, placeOf(lat[x], lon[x])));
}

bool truncatesToZero(float value)
{
    return value > -1.0f && value < 1.0f;
}

// Whether the line has all that its angles are computed from.
bool hasGeometry(const ZELType& file)
{
    const ZELHeaderType& h = file.ZELHeader;
    return !truncatesToZero(h.SatelliteAltitude) && file.ScanTime != 0.0 && h.NumNavPoints > 0 &&
           isDayOfYear(h.julian);
}

Geometry geometryOfLine(const ZELType& file, float nadirLat, float nadirLon)
{
    const float altitude =
        file.ScanAltitude > 0.0f ? file.ScanAltitude : file.ZELHeader.SatelliteAltitude;
    return geometryOf(file.ZELHeader.julian, file.ScanTime, static_cast<double>(altitude), nadirLat,
                      nadirLon);
}

bool holdsLine(const ZELType& file, int index)
{
    return index >= 0 && index < ZEL_MAX_CHANNELS && file.Channels[index].ChannelPresentFlag &&
           file.Channels[index].ChannelData;
}

// Whether the file carries all three angles as channels; one that names absent slots does not.
bool carriesAngles(const ZELType& file)
{
    const ZELHeaderType& h = file.ZELHeader;
    return holdsLine(file, h.SZChannelIndex) && holdsLine(file, h.VZChannelIndex) &&
           holdsLine(file, h.AZChannelIndex);
}

// A record with some of its angles in channels has no buffers for those.
void requireAngleBuffers(ZELType& file)
{
    const auto require = [&](float*& buffer, const char* what) {
        if (!buffer)
            buffer = zel::lineBuffer<float>(file, file.ZELHeader.NPixelPerLine,
                                            "ZELCalculateAngles", what);
    };
    require(file.SolarZenith, "solar zenith buffer");
    require(file.ViewZenith, "viewing zenith buffer");
    require(file.Azimuth, "solar azimuth buffer");
}

struct Nadir {
    float lat, lon;
};

Nadir nadirOf(ZELType& file)
{
    if (file.NadirPixel < 0) return {file.NadirLat, file.NadirLon};
    const zel::Positions positions = zel::positionsOf(file);
    const int pixel = std::min<int>(file.NadirPixel, file.ZELHeader.NPixelPerLine - 1);
    return {positions.lat[pixel], positions.lon[pixel]};
}

}  // namespace

void ZELCalculateAngles(ZELType* ZELdata)
{
    const Nadir nadir = carriesAngles(*ZELdata) ? Nadir{0.0f, 0.0f} : nadirOf(*ZELdata);
    ZELCalculateLineOfAngles(ZELdata, nadir.lat, nadir.lon);
}

void ZELCalculateLineOfAngles(ZELType* ZELdata, float centerLat, float centerLon)
{
    if (carriesAngles(*ZELdata)) {
        ZELdata->SolarZenith = ZELdata->Channels[ZELdata->ZELHeader.SZChannelIndex].ChannelData;
        ZELdata->ViewZenith = ZELdata->Channels[ZELdata->ZELHeader.VZChannelIndex].ChannelData;
        ZELdata->Azimuth = ZELdata->Channels[ZELdata->ZELHeader.AZChannelIndex].ChannelData;
        return;
    }
    const zel::Positions positions = zel::positionsOf(*ZELdata);
    requireAngleBuffers(*ZELdata);
    const int pixels = ZELdata->ZELHeader.NPixelPerLine;
    if (!hasGeometry(*ZELdata)) {
        std::fill_n(ZELdata->SolarZenith, pixels, 0.0f);
        std::fill_n(ZELdata->ViewZenith, pixels, 0.0f);
        std::fill_n(ZELdata->Azimuth, pixels, 0.0f);
        return;
    }
    const Geometry geometry = geometryOfLine(*ZELdata, centerLat, centerLon);
    for (int x = 0; x < pixels; ++x) {
        const Angles angles = anglesAt(geometry, placeOf(positions.lat[x], positions.lon[x]));
        ZELdata->SolarZenith[x] = angles.sz;
        ZELdata->ViewZenith[x] = angles.vz;
        ZELdata->Azimuth[x] = angles.az;
    }
    ZELdata->SolarAnglesCalculated = 1;
}

void zel::requireAngles(ZELType& file)
{
    if (file.SolarAnglesCalculated) return;
    positionsOf(file);
    ZELCalculateAngles(&file);
}

void zel::markDaylight(ZELType& file, std::uint8_t* daylight)
{
    const int pixels = file.ZELHeader.NPixelPerLine;
    if (file.SolarAnglesCalculated) return markZeniths(file.SolarZenith, pixels, daylight);
    if (carriesAngles(file))
        return markZeniths(file.Channels[file.ZELHeader.SZChannelIndex].ChannelData, pixels,
                           daylight);
    const Positions positions = positionsOf(file);
    if (!hasGeometry(file)) {
        std::fill_n(daylight, pixels, std::uint8_t{1});  // the angles are 0
        return;
    }
    const Geometry geometry = geometryOfLine(file, 0.0f, 0.0f);
    for (int x = 0; x < pixels; x += daylightBlock)
        markBlock(geometry, positions.lat + x, positions.lon + x,
                  std::min(daylightBlock, pixels - x), daylight + x);
}

void ZELCalculateOneAngle(ZELType* ZELdata, float lat, float lon, float* sz, float* vz, float* az)
{
    Angles angles;
    if (hasGeometry(*ZELdata)) {
        const Nadir nadir = nadirOf(*ZELdata);
        angles = anglesAt(geometryOfLine(*ZELdata, nadir.lat, nadir.lon), placeOf(lat, lon));
    }
    *sz = angles.sz;
    *vz = angles.vz;
    *az = angles.az;
}

void ZEL_UTILCalculateAngle(float lat, float lon, float ScanAltitude, int julian, float centerLat,
                            float centerLon, float scanTime, float* sz, float* vz, float* az)
{
    Angles angles;
    const bool known = !truncatesToZero(ScanAltitude) && scanTime != 0.0f && isDayOfYear(julian);
    if (known && !ZELBadLatLon(lat, lon)) {
        const Geometry geometry =
            geometryOf(julian, static_cast<double>(scanTime), static_cast<double>(ScanAltitude),
                       centerLat, centerLon);
        angles = anglesAt(geometry, placeOf(lat, lon));
    }
    *sz = angles.sz;
    *vz = angles.vz;
    *az = angles.az;
}
