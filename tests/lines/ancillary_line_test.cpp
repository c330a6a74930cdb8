// The ground and the sun glint under each pixel of a line, and the model of the glint.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "support/file_builder.hpp"
#include "support/fresh_process.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::Bytes;
using zel_test::inFreshProcess;
using zel_test::run;
using zel_test::TempDir;

constexpr int rows = 1080, columns = 2160;
const char* const names[] = {"owe14d.img", "fnocwat.img", "global_18.map", "fnocpt.img"};

// Grid g holds 50 g + 1 west of its middle column and 50 g + 2 east of it.
void plantGrids(const TempDir& dir)
{
    for (const char* name : {"ZEL_DATA_DIR", "CC_DATA_DIR"}) unsetenv(name);
    setenv("EPA_DATA_DIR", dir.path().c_str(), 1);
    for (int grid = 0; grid < 4; ++grid) {
        Bytes bytes;
        for (int i = 0; i < rows * columns; ++i)
            bytes.push_back(static_cast<unsigned char>(50 * grid + (i % columns < 1080 ? 1 : 2)));
        zel_test::writeFile(dir.path(names[grid]), bytes);
    }
}

// Four pixels with a navigation point each: west, invalid latitude, invalid longitude, east.
zel_test::Scene fourPositions()
{
    zel_test::Scene scene = zel_test::smallScene();
    scene.navPoints = 4;
    scene.navInterval = 1;
    for (zel_test::Line& line : scene.lines) {
        line.lats = {10, 91, 10, -10};
        line.lons = {-90, 0, 181, 90};
    }
    return scene;
}

struct Lookup {
    unsigned char* (*fetch)(ZELType*);
    unsigned char* ZELType::*buffer;
    int west, east;  // the values expected
};

const Lookup lookups[] = {
    {ZELAncillaryFetchOlsonEcosystem, &ZELType::OlsonEcosystem, 1, 2},
    {ZELAncillaryFetchWaterPercentage, &ZELType::PercentWater, 51, 52},
    {ZELAncillaryFetchIGBPEcosystem, &ZELType::IGBPEcosystem, 102, 101},  // begins at longitude 0
    {ZELAncillaryFetchTerrainType, &ZELType::Terrain, 151, 152},
};

TEST(AncillaryLine, FillsTheBufferOfTheFileWithOneBytePerPixel)
{
    inFreshProcess([] {
        const TempDir dir;
        plantGrids(dir);
        zel_test::OpenedFile file(build(fourPositions()).bytes);
        for (const Lookup& lookup : lookups) {
            ZELSetCurrentLine(file.get(), 0);
            ZELReadLine(file.get());
            file->LatLonInterpolated = 0;
            const unsigned char* values = lookup.fetch(file.get());
            ASSERT_EQ(values, file.get()->*lookup.buffer);
            EXPECT_EQ(values[0], lookup.west);
            EXPECT_EQ(values[1], 255);
            EXPECT_EQ(values[2], 255);
            EXPECT_EQ(values[3], lookup.east);
            EXPECT_EQ(file->LatLonInterpolated, 1) << "interpolated on the way";
        }
    });
}

TEST(AncillaryLine, CountsTheInvalidPositions)
{
    inFreshProcess([] {
        const TempDir dir;
        plantGrids(dir);
        zel_test::OpenedFile file(build(fourPositions()).bytes);
        ZELReadLine(file.get());
        ZELClearBadLatLonCount();
        ZELAncillaryFetchTerrainType(file.get());
        EXPECT_EQ(ZELGetBadLatLonCount(), 2);
    });
}

TEST(AncillaryLine, TakesPositionsThatAreInterpolatedAsTheyStand)
{
    inFreshProcess([] {
        const TempDir dir;
        plantGrids(dir);
        zel_test::OpenedFile file(build(fourPositions()).bytes);
        ZELReadLine(file.get());
        ZELInterpolateLatLong(file.get());
        file->Lon[0] = 90;
        EXPECT_EQ(ZELAncillaryFetchOlsonEcosystem(file.get())[0], 2);
    });
}

TEST(AncillaryLine, WithoutNavigationEveryPixelIsMissing)
{
    inFreshProcess([] {
        const TempDir dir;
        plantGrids(dir);
        zel_test::Scene scene = zel_test::smallScene();
        scene.navPoints = 0;
        zel_test::OpenedFile file(build(scene).bytes);
        ZELReadLine(file.get());
        ZELClearBadLatLonCount();
        const unsigned char* values = ZELAncillaryFetchOlsonEcosystem(file.get());
        for (int x = 0; x < 4; ++x) EXPECT_EQ(values[x], 255);
        EXPECT_EQ(ZELGetBadLatLonCount(), 4);
    });
}

TEST(AncillaryLine, AMissingGridEndsTheProcessEvenWhenNoPositionIsValid)
{
    inFreshProcess([] {
        for (const char* name : {"ZEL_DATA_DIR", "EPA_DATA_DIR", "CC_DATA_DIR"}) unsetenv(name);
        zel_test::Scene scene = zel_test::smallScene();
        scene.navPoints = 0;
        zel_test::OpenedFile file(build(scene).bytes);
        ZELReadLine(file.get());
        for (int grid = 0; grid < 4; ++grid) {
            const auto outcome = run([&] { lookups[grid].fetch(file.get()); });
            EXPECT_TRUE(outcome.ended);
            EXPECT_EQ(outcome.status, -1);
            const std::string name = names[grid];
            EXPECT_EQ(outcome.out,
                      "ZELReadAncillaryFiles: Error: Ancillary data file " + name +
                          " not available.  Check path.\n"
                          "make sure environment variable ZEL_DATA_DIR is set properly\n"
                          "or file " +
                          name + " is in directory: /usr/local/zeldata/epa/\n");
        }
    });
}

// The glint model in double precision, written out from its steps.
double glint(double solarZenith, double viewZenith, double azimuth)
{
    const double pi = 3.141592654;
    const double sun = solarZenith * pi / 180, view = viewZenith * pi / 180;
    const double turn = (180 - azimuth) * pi / 180;
    const double cosBig = cos(turn) * sin(sun) * sin(view) + cos(sun) * cos(view);
    const double cosHalf = sqrt((cosBig + 1) / 2);
    const double a1 = sin(sun), a3 = cos(sun);
    const double b1 = cos(turn) * sin(view), b2 = sin(turn) * sin(view), b3 = cos(view);
    const double c1 = a3 * b1 - a1 * b3, c2 = -a3 * b2;
    const double numerator = (b1 * c1 - b2 * c2 - a1 * c1) * cosHalf;
    const double denominator =
        (b1 * a3) * (b1 * a3) + b2 * b2 + (b3 * a1) * (b3 * a1) - 2 * a1 * a3 * b1 * b3;
    const double theta = acos(numerator / denominator);
    const double ratio = theta / 0.14823430404973778;
    return 100 * exp(-0.5 * ratio * ratio);
}

struct Sky {
    float sun, view, azimuth;
};

class Sunglint : public testing::TestWithParam<Sky> {};

TEST_P(Sunglint, IsThatOfTheModel)
{
    const Sky& s = GetParam();
    const double expected = glint(s.sun, s.view, s.azimuth);
    ASSERT_TRUE(std::isfinite(expected));
    EXPECT_NEAR(ZELAncillaryFetchPixelSunglint(s.sun, s.view, s.azimuth), expected,
                1e-3 + 2e-3 * expected);
}

INSTANTIATE_TEST_SUITE_P(Skies, Sunglint,
                         testing::Values(Sky{30, 35, 20}, Sky{30, 20, 5}, Sky{45, 40, 10},
                                         Sky{10, 15, 100}, Sky{60, 50, 170}, Sky{20, 55, 30},
                                         Sky{5, 50, 150}, Sky{75, 10, 60}, Sky{25, 25, 45}));

TEST(SunglintModel, TheSkiesOfTheTestsGlintStronglyAndWeakly)
{
    EXPECT_GT(glint(30, 35, 20), 1);
    EXPECT_LT(glint(60, 50, 170), 1);
}

TEST(SunglintModel, IsZeroWhenAllThreeAnglesAreZero)
{
    EXPECT_EQ(ZELAncillaryFetchPixelSunglint(0, 0, 0), 0.0f);
}

TEST(SunglintModel, IsEvaluatedWhenOnlyTwoAnglesAreZero)
{
    // Sun and satellite overhead: the model divides zero by zero.
    EXPECT_TRUE(std::isnan(ZELAncillaryFetchPixelSunglint(0, 0, 90)));
    EXPECT_NEAR(ZELAncillaryFetchPixelSunglint(20, 0, 0), glint(20, 0, 0), 1e-3);
    EXPECT_NEAR(ZELAncillaryFetchPixelSunglint(0, 20, 0), glint(0, 20, 0), 1e-3);
}

TEST(SunglintModel, IsNotRounded)
{
    const float value = ZELAncillaryFetchPixelSunglint(30, 35, 20);
    EXPECT_NE(value, std::round(value));
}

TEST(SunglintLine, ComputesPositionsAndAnglesFirst)
{
    zel_test::Scene scene = zel_test::smallScene();
    scene.navPoints = 2;
    scene.navInterval = 3;
    scene.altitude = 833;
    scene.lines[0].scanTime = 18.5;
    scene.lines[0].altitude = 0;
    scene.lines[0].nadir = 1;
    scene.lines[0].lats = {20, 23};
    scene.lines[0].lons = {-105, -96};
    zel_test::OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    const float* values = ZELAncillaryFetchSunglint(file.get());
    ASSERT_EQ(values, file->Sunglint);
    EXPECT_EQ(file->LatLonInterpolated, 1);
    EXPECT_EQ(file->SolarAnglesCalculated, 1);
    for (int x = 0; x < 4; ++x) {
        const float expected = ZELAncillaryFetchPixelSunglint(
            file->SolarZenith[x], file->ViewZenith[x], file->Azimuth[x]);
        EXPECT_EQ(values[x], expected) << x;
        EXPECT_GT(file->SolarZenith[x], 0) << x;
    }
}

TEST(SunglintLine, TakesAnglesThatAreValidAsTheyStand)
{
    zel_test::OpenedFile file(build(zel_test::smallScene()).bytes);
    ZELReadLine(file.get());
    ZELInterpolateLatLong(file.get());
    ZELCalculateAngles(file.get());
    ASSERT_EQ(file->SolarAnglesCalculated, 1);
    file->SolarZenith[2] = 30;
    file->ViewZenith[2] = 35;
    file->Azimuth[2] = 20;
    EXPECT_NEAR(ZELAncillaryFetchSunglint(file.get())[2], glint(30, 35, 20), 0.1);
}

TEST(SunglintLine, WithoutAnglesThereIsNoGlint)
{
    zel_test::Scene scene = zel_test::smallScene();
    scene.navPoints = 0;
    zel_test::OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    const float* values = ZELAncillaryFetchSunglint(file.get());
    for (int x = 0; x < 4; ++x) EXPECT_EQ(values[x], 0.0f);
}

}  // namespace
