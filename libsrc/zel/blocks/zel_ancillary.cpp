#include "zel_ancillary.h"

#include <cmath>
#include <utility>

#include "blocks/ancillary_grids.hpp"
#include "blocks/zel_ancillary.hpp"
#include "ground/zel_door.hpp"

int SuccessfullyRead[4] = {0, 0, 0, 0};
int BadLatLonCount = 0;

namespace {

zel::GridCells cells;

void printReport(const char* text)
{
    zel::report("%s", text);
}

unsigned char fetchPixel(int grid, float lat, float lon)
{
    if (ZELBadLatLon(lat, lon)) return zel::missingCell;
    zel::requireGrid(grid);
    return zel::storedCell(grid, lat, lon);
}

constexpr double radiansPerDegreeOf(double degrees)
{
    return degrees * 3.141592654 / 180.0;
}

}  // namespace

void ZELAncillaryReadFiles(void)
{
    if (std::exchange(zel::gridsWereSought(), true)) return;
    zel::findGrids(cells, SuccessfullyRead, printReport);
}

bool& zel::gridsWereSought()
{
    static bool sought = false;
    return sought;
}

void zel::requireGrid(int grid)
{
    if (SuccessfullyRead[grid]) return;
    printMissingGrid(grid, "ZELReadAncillaryFiles", printReport);
    terminate(-1);
}

unsigned char zel::storedCell(int grid, float lat, float lon)
{
    return gridCell(cells, grid, lat, lon);
}

unsigned char ZELAncillaryFetchPixelOlsonEcosystem(float lat, float lon)
{
    return fetchPixel(zel::olsonGrid, lat, lon);
}

unsigned char ZELAncillaryFetchPixelWaterPercentage(float lat, float lon)
{
    return fetchPixel(zel::waterGrid, lat, lon);
}

unsigned char ZELAncillaryFetchPixelIGBPEcosystem(float lat, float lon)
{
    return fetchPixel(zel::igbpGrid, lat, lon);
}

unsigned char ZELAncillaryFetchPixelTerrainType(float lat, float lon)
{
    return fetchPixel(zel::terrainGrid, lat, lon);
}

float ZELAncillaryFetchPixelSunglint(float sol_zen_deg, float view_zen_deg, float azimuth_deg)
{
    if (sol_zen_deg == 0.0f && view_zen_deg == 0.0f && azimuth_deg == 0.0f) return 0.0f;
    return zel::sunglint(sol_zen_deg, view_zen_deg, azimuth_deg);
}

// Probability that a wave facet mirrors the sun to the sensor, by the facet's slope. Each named
// value is held in single precision; functions are evaluated in double.
float zel::sunglint(float sol_zen_deg, float view_zen_deg, float azimuth_deg)
{
    const auto sol_zen = static_cast<float>(radiansPerDegreeOf(sol_zen_deg));
    const auto view_zen = static_cast<float>(radiansPerDegreeOf(view_zen_deg));
    const auto azimuth_c =
        static_cast<float>(radiansPerDegreeOf(180.0 - static_cast<double>(azimuth_deg)));
    const auto sine = [](float x) { return std::sin(static_cast<double>(x)); };
    const auto cosine = [](float x) { return std::cos(static_cast<double>(x)); };

    const auto cos_big_theta = static_cast<float>(
        cosine(azimuth_c) * sine(sol_zen) * sine(view_zen) + cosine(sol_zen) * cosine(view_zen));
    const auto cos_half_big_theta =
        static_cast<float>(std::sqrt((static_cast<double>(cos_big_theta) + 1.0) / 2.0));
    const auto a1 = static_cast<float>(sine(sol_zen));
    const auto a3 = static_cast<float>(cosine(sol_zen));
    const auto b1 = static_cast<float>(cosine(azimuth_c) * sine(view_zen));
    const auto b2 = static_cast<float>(sine(azimuth_c) * sine(view_zen));
    const auto b3 = static_cast<float>(cosine(view_zen));
    const float c1 = a3 * b1 - a1 * b3;
    const float c2 = -a3 * b2;
    // The third term takes c1, as the model was built.
    const float glint_num = (b1 * c1 - b2 * c2 - a1 * c1) * cos_half_big_theta;
    const float denom =
        (b1 * a3) * (b1 * a3) + b2 * b2 + (b3 * a1) * (b3 * a1) - 2.0f * a1 * a3 * b1 * b3;
    const auto theta = static_cast<float>(std::acos(static_cast<double>(glint_num / denom)));
    constexpr double width = 0.14823430404973778;  // radians
    const double slope = static_cast<double>(theta) / width;
    const auto prob = static_cast<float>(std::exp(-0.5 * (slope * slope)));
    return static_cast<float>(100.0 * static_cast<double>(prob));
}

int ZELBadLatLon(float lat, float lon)
{
    if (zel::isPosition(lat, lon)) return 0;
    ++BadLatLonCount;
    return 1;
}

int ZELGetBadLatLonCount(void)
{
    return BadLatLonCount;
}

void ZELClearBadLatLonCount(void)
{
    BadLatLonCount = 0;
}
