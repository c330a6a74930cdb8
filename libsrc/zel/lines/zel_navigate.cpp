#include "zel_navigate.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "ground/zel_door.hpp"
#include "lines/zel_navigate.hpp"

namespace {

constexpr float noPosition = -9999.0f;

// Navigation points of a line: point k is at pixel start + k * interval.
struct Points {
    int start;
    int interval;
    int count;
    int pixels;

    // The pixel of point k, or the end of the line where that is beyond it.
    int pixelOf(int k) const
    {
        const long long pixel = start + static_cast<long long>(k) * interval;
        return static_cast<int>(std::min<long long>(pixel, pixels - 1));
    }
};

Points pointsOf(const ZELType& file)
{
    const ZELHeaderType& h = file.ZELHeader;
    return {h.StartNavPoint, h.NavPointInterval, h.NumNavPoints, h.NPixelPerLine};
}

void checkPoints(const Points& p)
{
    if (p.start < 0 || p.start >= p.pixels || p.interval < 1)
        zel::fail("ZELInterpolateLatLong: invalid navigation points: start %d, interval %d\n",
                  p.start, p.interval);
}

float wrapWest(float lon)
{
    return lon < -180.0f ? lon + 360.0f : lon;
}

float wrapEast(float lon)
{
    return lon > 180.0f ? lon - 360.0f : lon;
}

float wrapBoth(float lon)
{
    return wrapEast(wrapWest(lon));
}

float unwrapped(float lon)
{
    return lon;
}

// The step from one longitude to the next, the shorter way round.
struct LongitudeStep {
    float step;
    bool crosses;
};

LongitudeStep longitudeStep(float from, float to, int interval)
{
    const float difference = to - from;
    const bool crosses = std::fabs(difference) > 180.0f;
    const float turn = !crosses ? 0.0f : from <= 0.0f ? -360.0f : 360.0f;
    return {(difference + turn) / static_cast<float>(interval), crosses};
}

// values[x] = values[x - 1] + step for first <= x <= last: steps accumulate.
template <class Wrap>
void continueForward(float* values, int first, int last, float step, Wrap wrap)
{
    for (int x = first; x <= last; ++x) values[x] = wrap(values[x - 1] + step);
}

template <class Wrap>
void continueBackward(float* values, int from, float step, Wrap wrap)
{
    for (int x = from - 1; x >= 0; --x) values[x] = wrap(values[x + 1] - step);
}

void interpolateLatitude(const float* points, const Points& p, float* lat)
{
    const auto stepAfter = [&](int k) {
        return (points[k + 1] - points[k]) / static_cast<float>(p.interval);
    };
    lat[p.start] = points[0];
    continueBackward(lat, p.start, stepAfter(0), unwrapped);
    for (int k = 0; k < p.count - 1; ++k)
        continueForward(lat, p.pixelOf(k) + 1, p.pixelOf(k + 1), stepAfter(k), unwrapped);
    continueForward(lat, p.pixelOf(p.count - 1) + 1, p.pixels - 1, stepAfter(p.count - 2),
                    unwrapped);
}

void interpolateLongitude(const float* points, const Points& p, float* lon)
{
    const auto stepAfter = [&](int k) {
        return longitudeStep(points[k], points[k + 1], p.interval);
    };
    lon[p.start] = points[0];
    continueBackward(lon, p.start, stepAfter(0).step, wrapBoth);
    for (int k = 0; k < p.count - 1; ++k) {
        const LongitudeStep segment = stepAfter(k);
        const auto wrap = !segment.crosses ? unwrapped : segment.step < 0.0f ? wrapWest : wrapEast;
        continueForward(lon, p.pixelOf(k) + 1, p.pixelOf(k + 1), segment.step, wrap);
    }
    continueForward(lon, p.pixelOf(p.count - 1) + 1, p.pixels - 1, stepAfter(p.count - 2).step,
                    wrapBoth);
}

void fillPosition(ZELType& file, float lat, float lon)
{
    std::fill_n(file.Lat, file.ZELHeader.NPixelPerLine, lat);
    std::fill_n(file.Lon, file.ZELHeader.NPixelPerLine, lon);
}

void copyPoints(ZELType& file, const Points& p)
{
    const int count = std::min(p.count, p.pixels);
    std::copy_n(file.LatBuffer, count, file.Lat);
    std::copy_n(file.LonBuffer, count, file.Lon);
}

}  // namespace

void ZELInterpolateLatLong(ZELType* ZELdata)
{
    const Points p = pointsOf(*ZELdata);
    if (!ZELdata->Lat || !ZELdata->Lon) zel::fail("ZELInterpolateLatLong: the file is not open\n");
    if (p.count < 1) {
        fillPosition(*ZELdata, noPosition, noPosition);
        return;
    }
    if (!ZELdata->LatBuffer || !ZELdata->LonBuffer)
        zel::fail("ZELInterpolateLatLong: no navigation points loaded\n");
    if (p.count == 1) {
        fillPosition(*ZELdata, ZELdata->LatBuffer[0], ZELdata->LonBuffer[0]);
    } else if (p.start == 0 && p.interval == 1) {
        copyPoints(*ZELdata, p);
    } else {
        checkPoints(p);
        interpolateLatitude(ZELdata->LatBuffer, p, ZELdata->Lat);
        interpolateLongitude(ZELdata->LonBuffer, p, ZELdata->Lon);
    }
    ZELdata->LatLonInterpolated = 1;
}

zel::Positions zel::positionsOf(ZELType& file)
{
    if (!file.LatLonInterpolated) ZELInterpolateLatLong(&file);
    return {file.Lat, file.Lon};
}

void ZELSetSolarChannels(ZELType* ZELdata, int szIndex, int vzIndex, int azIndex)
{
    ZELdata->ZELHeader.SZChannelIndex = static_cast<int16_t>(szIndex);
    ZELdata->ZELHeader.VZChannelIndex = static_cast<int16_t>(vzIndex);
    ZELdata->ZELHeader.AZChannelIndex = static_cast<int16_t>(azIndex);
}

void ZELLoadNavigation(ZELType* ZELdata, double ScanTime, const float* lat, const float* lon)
{
    const int points = ZELdata->ZELHeader.NumNavPoints;
    ZELdata->ScanTime = ScanTime;
    ZELdata->LatLonInterpolated = 0;
    ZELdata->SolarAnglesCalculated = 0;
    if (points < 1) {
        ZELdata->LatBuffer = nullptr;
        return;
    }
    if (!ZELdata->LatBuffer || !ZELdata->LonBuffer)
        zel::fail("ZELLoadNavigation: the file is not open for writing\n");
    std::copy_n(lat, points, ZELdata->LatBuffer);
    std::copy_n(lon, points, ZELdata->LonBuffer);
}

void ZELCopyNavigation(ZELType* ZELdataDest, ZELType* ZELdataSrc)
{
    ZELdataDest->ScanTime = ZELdataSrc->ScanTime;
    ZELdataDest->ScanAltitude = ZELdataSrc->ScanAltitude;
    ZELdataDest->LatLonInterpolated = 0;
    ZELdataDest->SolarAnglesCalculated = 0;
    zel::copyNavigationPoints(*ZELdataDest, *ZELdataSrc, "ZELCopyNavigation");
}

void zel::copyNavigationPoints(ZELType& dest, const ZELType& src, const char* function)
{
    const int points = src.ZELHeader.NumNavPoints;
    if (points < 1) {
        dest.LatBuffer = dest.LonBuffer = nullptr;
        return;
    }
    if (points > dest.ZELHeader.NumNavPoints)
        fail("%s: the files have %d and %d navigation points\n", function, points,
             dest.ZELHeader.NumNavPoints);
    if (!src.LatBuffer || !src.LonBuffer || !dest.LatBuffer || !dest.LonBuffer)
        fail("%s: no navigation points loaded\n", function);
    std::copy_n(src.LatBuffer, points, dest.LatBuffer);
    std::copy_n(src.LonBuffer, points, dest.LonBuffer);
}

void ZELSetScanAltitude(ZELType* ZELdata, float ScanAltitude)
{
    ZELdata->ScanAltitude = ScanAltitude;
}
