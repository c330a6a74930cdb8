// The feature layer's own store of the global grids, and the builders of pixel records.
#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string>

#include "support/outcome.hpp"
#include "zel_ancillary.h"
#include "zel_features/evaluate/zel_feature_ancillary.hpp"
#include "zel_features/zel_features.h"

namespace {

using zel_test::Outcome;
using zel_test::TempDir;

constexpr int rows = 1080;
constexpr int columns = 2160;
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

const char* const fileNames[] = {"owe14d.img", "fnocwat.img", "global_18.map", "fnocpt.img"};

// What the tests put into a cell: different in neighbouring rows, columns and grids.
int cell(int grid, int row, int column)
{
    return (grid * 50 + row * 7 + column * 3) % 251;
}

std::string gridContent(int grid)
{
    std::string content;
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
            content += static_cast<char>(cell(grid, row, column));
    return content;
}

const std::string noSuchFile = std::string("system error code:: ") + std::strerror(ENOENT) + "\n";

// Starts and ends without grids, and with no directory to find them in but those a test names.
class FeatureAncillary : public testing::Test {
protected:
    FeatureAncillary() { forget(); }
    ~FeatureAncillary() override { forget(); }

    static void forget()
    {
        zel::resetFeatureGrids();
        for (const char* name : {"ZEL_DATA_DIR", "EPA_DATA_DIR", "CC_DATA_DIR"}) unsetenv(name);
        ZELClearBadLatLonCount();
        errno = 0;
    }

    // All four grids, where ZEL_DATA_DIR says.
    void provideGrids()
    {
        std::filesystem::create_directory(dir_.path("epa"));
        for (int grid = 0; grid < 4; ++grid)
            zel_test::writeFile(dir_.path("epa/") + fileNames[grid], gridContent(grid));
        setenv("ZEL_DATA_DIR", dir_.path().c_str(), 1);
    }

    static std::string notAvailable(const char* file, const std::string& lastLine)
    {
        return std::string("make sure environment variable ZEL_DATA_DIR is set properly\n") +
               lastLine + "or file " + file + " is in directory: /usr/local/zeldata/epa/\n" +
               lastLine;
    }

    TempDir dir_;
};

TEST_F(FeatureAncillary, TheFirstFetchReadsTheFiles)
{
    provideGrids();
    int value = 0;
    const Outcome outcome = zel_test::run([&] { value = FetchAncillary(0, 90.0f, -180.0f); });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(value, cell(0, 0, 0));
}

TEST_F(FeatureAncillary, PositionsMapToTheCellsOfEachGrid)
{
    provideGrids();
    for (const int grid : {0, 1, 3}) {
        EXPECT_EQ(FetchAncillary(grid, 90.0f, -180.0f), cell(grid, 0, 0));
        EXPECT_EQ(FetchAncillary(grid, -90.0f, 180.0f), cell(grid, 1079, 2159));
        EXPECT_EQ(FetchAncillary(grid, 0.0f, 0.0f), cell(grid, 539, 1079));
        // 1079 - (45 + 90) * 1079 / 180 = 269.75; (10 + 180) * 2159 / 360 = 1139.47
        EXPECT_EQ(FetchAncillary(grid, 45.0f, 10.0f), cell(grid, 269, 1139));
    }
    EXPECT_EQ(FetchAncillary(2, 90.0f, 0.0f), cell(2, 0, 0));
    EXPECT_EQ(FetchAncillary(2, 0.0f, 0.0f), cell(2, 539, 0));
    // 359.5 * 2159 / 360 = 2156.001
    EXPECT_EQ(FetchAncillary(2, 0.0f, -0.5f), cell(2, 539, 2156));
    EXPECT_EQ(FetchAncillary(2, -90.0f, -180.0f), cell(2, 1079, 1079));
}

TEST_F(FeatureAncillary, InvalidPositionsAreMissingAndCounted)
{
    provideGrids();
    EXPECT_EQ(FetchAncillary(0, 90.0001f, 0.0f), 255);
    EXPECT_EQ(FetchAncillary(3, 0.0f, -180.5f), 255);
    EXPECT_EQ(FetchEPA(-91.0f, 0.0f, 0), 255);
    EXPECT_EQ(ZELGetBadLatLonCount(), 3);
    EXPECT_EQ(FetchAncillary(0, notANumber, 0.0f), 255);  // in no cell, but not counted
    EXPECT_EQ(ZELGetBadLatLonCount(), 3);
}

TEST_F(FeatureAncillary, GridsThatDoNotExistAreMissing)
{
    provideGrids();
    for (const int grid : {-1, 4}) {
        EXPECT_EQ(FetchAncillary(grid, 0.0f, 0.0f), 255);
        EXPECT_EQ(FetchEPA(0.0f, 0.0f, grid), 255);
    }
}

TEST_F(FeatureAncillary, AnInvalidPositionReadsNoFile)
{
    const Outcome outcome = zel_test::run([] { FetchAncillary(0, 91.0f, 0.0f); });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(outcome.err, "");
}

TEST_F(FeatureAncillary, MissingFilesAreReportedAsErrorsAndFatalWhenUsed)
{
    if (std::filesystem::exists("/usr/local/zeldata/epa")) GTEST_SKIP() << "grids are installed";
    const Outcome read = zel_test::run([] { AncillaryReadFiles(); });
    EXPECT_FALSE(read.ended);
    EXPECT_EQ(read.out, "");
    std::string expected;
    for (const char* file : fileNames)
        expected += std::string("cannot open file /usr/local/zeldata/epa//") + file + "\n" +
                    noSuchFile + "ZELReadAncillaryFiles: Ancillary data file " + file +
                    " not available.  Check path.\n" + noSuchFile + notAvailable(file, noSuchFile);
    EXPECT_EQ(read.err, expected);

    errno = 0;
    const Outcome used = zel_test::run([] { FetchAncillary(1, 0.0f, 0.0f); });
    EXPECT_TRUE(used.ended);
    EXPECT_EQ(used.status, -1);
    EXPECT_EQ(used.out, "");
    EXPECT_EQ(used.err,
              " FetchAncillary: Error: Ancillary data file fnocwat.img not available.  Check "
              "path.\n" +
                  notAvailable("fnocwat.img", ""));
}

TEST_F(FeatureAncillary, FilesAreLookedForOnce)
{
    zel_test::run([] { AncillaryReadFiles(); });
    provideGrids();
    errno = 0;
    const Outcome again = zel_test::run([] { AncillaryReadFiles(); });
    EXPECT_EQ(again.err, "");
    EXPECT_TRUE(zel_test::run([] { FetchAncillary(0, 0.0f, 0.0f); }).ended);
}

TEST_F(FeatureAncillary, TheSecondDirectoryHoldsTheFilesThemselves)
{
    for (int grid = 0; grid < 4; ++grid)
        zel_test::writeFile(dir_.path(fileNames[grid]), gridContent(grid));
    setenv("EPA_DATA_DIR", dir_.path().c_str(), 1);
    EXPECT_EQ(FetchAncillary(3, 90.0f, -180.0f), cell(3, 0, 0));
}

TEST_F(FeatureAncillary, TheStoreIsNotTheLibrarys)
{
    provideGrids();
    EXPECT_EQ(FetchAncillary(0, 90.0f, -180.0f), cell(0, 0, 0));
    if (SuccessfullyRead[0]) GTEST_SKIP() << "the library has read its own already";
    EXPECT_TRUE(zel_test::run([] { ZELAncillaryFetchPixelOlsonEcosystem(0.0f, 0.0f); }).ended);
}

TEST_F(FeatureAncillary, OneGridCanBeReadFromAnyFile)
{
    zel_test::writeFile(dir_.path("eco"), gridContent(0));
    zel_test::writeFile(dir_.path("ground"), gridContent(3));
    ZELInitializeOlsonEcosystem(dir_.path("eco").c_str());
    ZELInitializeTerrain(dir_.path("ground").c_str());
    EXPECT_EQ(FetchOlsonEcosystem(0.0f, 0.0f), cell(0, 539, 1079));
    EXPECT_EQ(FetchTerrain(-90.0f, 180.0f), cell(3, 1079, 2159));
    // The others are not read; their cells are 0 here.
    EXPECT_EQ(FetchEPA(0.0f, 0.0f, 1), 0);
}

TEST_F(FeatureAncillary, AShortGridFileLeavesTheRestZero)
{
    zel_test::writeFile(dir_.path("ground"), gridContent(3).substr(0, 3 * columns + 5));
    ZELInitializeTerrain(dir_.path("ground").c_str());
    EXPECT_EQ(FetchTerrain(90.0f, 180.0f), cell(3, 0, 2159));
    EXPECT_EQ(FetchTerrain(0.0f, 0.0f), 0);
}

TEST_F(FeatureAncillary, AGridFileThatDoesNotOpenEndsTheProcess)
{
    const std::string path = dir_.path("none");
    const Outcome olson = zel_test::run([&] { ZELInitializeOlsonEcosystem(path.c_str()); });
    EXPECT_TRUE(olson.ended);
    EXPECT_EQ(olson.status, -1);
    EXPECT_EQ(olson.err, "ZELInitializeOlsonEcosystem: error: cannot read Olson Ecosystem file " +
                             path + "\n" + noSuchFile);
    const Outcome terrain = zel_test::run([&] { ZELInitializeTerrain(path.c_str()); });
    EXPECT_TRUE(terrain.ended);
    EXPECT_EQ(terrain.status, -1);
    EXPECT_EQ(terrain.err,
              "ZELInitializeTerrain: error: cannot read Terrain file " + path + "\n" + noSuchFile);
}

TEST_F(FeatureAncillary, SingleGridsMustBeInitialised)
{
    const Outcome olson = zel_test::run([] { FetchOlsonEcosystem(0.0f, 0.0f); });
    EXPECT_TRUE(olson.ended);
    EXPECT_EQ(olson.status, -1);
    EXPECT_EQ(olson.err, "ZELFetchOlsonEcosystem: ecosystem data not initialized: call "
                         "ZELInitializeOlsonEcosystem first\n");
    const Outcome terrain = zel_test::run([] { FetchTerrain(0.0f, 0.0f); });
    EXPECT_TRUE(terrain.ended);
    EXPECT_EQ(terrain.status, -1);
    EXPECT_EQ(terrain.err, "ZELFetchTerrain: terrain data not initialized: call "
                           "ZELInitiailizeTerrain first\n");
}

TEST_F(FeatureAncillary, FetchEPATakesEveryGridsCellAlike)
{
    provideGrids();
    AncillaryReadFiles();
    for (int grid = 0; grid < 4; ++grid) {
        EXPECT_EQ(FetchEPA(0.0f, 0.0f, grid), cell(grid, 539, 1079)) << grid;
        EXPECT_EQ(FetchEPA(-90.0f, 180.0f, grid), cell(grid, 1079, 2159)) << grid;
    }
}

TEST_F(FeatureAncillary, FetchEPAMovesWhatIsInNoCellToTheEdge)
{
    provideGrids();
    AncillaryReadFiles();
    errno = 0;
    int value = 0;
    const Outcome lat = zel_test::run([&] { value = FetchEPA(notANumber, 180.0f, 0); });
    EXPECT_EQ(lat.err, "FetchEPA: invalid latitude nan\n");
    EXPECT_EQ(value, cell(0, 0, 2159));
    const Outcome lon = zel_test::run([&] { value = FetchEPA(-90.0f, notANumber, 0); });
    EXPECT_EQ(lon.err, "FetchEPA: invalid longitude nan\n");
    EXPECT_EQ(value, cell(0, 1079, 0));
}

TEST_F(FeatureAncillary, SunGlintIsTheLibrarysButForThreeZeros)
{
    EXPECT_EQ(ComputeSunglint(30.0f, 20.0f, 100.0f),
              ZELAncillaryFetchPixelSunglint(30.0f, 20.0f, 100.0f));
    EXPECT_EQ(ZELAncillaryFetchPixelSunglint(0.0f, 0.0f, 0.0f), 0.0f);
    EXPECT_TRUE(std::isnan(ComputeSunglint(0.0f, 0.0f, 0.0f)));  // 0 / 0 on the way
}

// ---- Pixel records ----

class FeaturePixel : public FeatureAncillary {
protected:
    // Full of something that a builder must overwrite, or keep.
    FeaturePixel()
    {
        std::memset(&pixel_, 0x11, sizeof pixel_);
        before_ = pixel_;
    }
    void expectUntouched() const
    {
        EXPECT_EQ(std::memcmp(pixel_.Registers, before_.Registers, sizeof before_.Registers), 0);
        EXPECT_EQ(
            std::memcmp(pixel_.class_weights, before_.class_weights, sizeof before_.class_weights),
            0);
    }

    float channels_[3] = {1.0f, 2.0f, 3.0f};
    ZELPixelStruct pixel_;
    ZELPixelStruct before_;
};

TEST_F(FeaturePixel, CreatePixelLooksUpWhatLiesUnderIt)
{
    provideGrids();
    ZELFeatureCreatePixel(7, 8, 9, 10U, channels_, 3, 45.0f, 10.0f, 30.0f, 20.0f, 100.0f, 121, 2001,
                          &pixel_);
    EXPECT_EQ(pixel_.olsonEco, static_cast<float>(cell(0, 269, 1139)));
    EXPECT_EQ(pixel_.percentWater, static_cast<float>(cell(1, 269, 1139)));
    // (90 - 45) * 1079 / 180 = 269.75; 10 * 2159 / 360 = 59.97
    EXPECT_EQ(pixel_.igbpEco, static_cast<float>(cell(2, 269, 59)));
    EXPECT_EQ(pixel_.terrain, static_cast<float>(cell(3, 269, 1139)));
    EXPECT_EQ(pixel_.sg, ComputeSunglint(30.0f, 20.0f, 100.0f));
    EXPECT_EQ(pixel_.Class, 7.0f);
    EXPECT_EQ(pixel_.ElementaryClass, 8);
    EXPECT_EQ(pixel_.BoxIndex, 9);
    EXPECT_EQ(pixel_.Priority, 10U);
    EXPECT_EQ(pixel_.Channels, channels_);
    EXPECT_EQ(pixel_.numChannels, 3);
    EXPECT_EQ(pixel_.lat, 45.0f);
    EXPECT_EQ(pixel_.lon, 10.0f);
    EXPECT_EQ(pixel_.sz, 30.0f);
    EXPECT_EQ(pixel_.vz, 20.0f);
    EXPECT_EQ(pixel_.az, 100.0f);
    EXPECT_EQ(pixel_.jday, 121.0f);
    EXPECT_EQ(pixel_.year, 2001.0f);
    EXPECT_EQ(pixel_.skipPixelFlag, 0);
    expectUntouched();
}

TEST_F(FeaturePixel, APixelWithoutAPositionHasNoGround)
{
    provideGrids();
    ZELFeatureCreatePixel(0, 0, 0, 0U, channels_, 3, -999.0f, -999.0f, 30.0f, 20.0f, 100.0f, 1,
                          2001, &pixel_);
    for (const float value : {pixel_.olsonEco, pixel_.percentWater, pixel_.igbpEco, pixel_.terrain})
        EXPECT_EQ(value, 255.0f);
    EXPECT_EQ(ZELGetBadLatLonCount(), 4);
}

TEST_F(FeaturePixel, CreatePixelNeedsTheGrids)
{
    if (std::filesystem::exists("/usr/local/zeldata/epa")) GTEST_SKIP() << "grids are installed";
    const Outcome outcome = zel_test::run([&] {
        ZELFeatureCreatePixel(0, 0, 0, 0U, channels_, 3, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f, 1, 2001,
                              &pixel_);
    });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_NE(outcome.err.find(" FetchAncillary: Error: Ancillary data file owe14d.img not "
                               "available.  Check path.\n"),
              std::string::npos);
}

TEST_F(FeaturePixel, CreatePixelMinnisLooksUpTheTerrainOnly)
{
    zel_test::writeFile(dir_.path("ground"), gridContent(3));
    ZELInitializeTerrain(dir_.path("ground").c_str());
    ZELFeatureCreatePixelMinnis(7, 8, 9, 10U, channels_, 3, 45.0f, 10.0f, 30.0f, 20.0f, 100.0f,
                                66.5f, 121, 2001, 11, 12, 13, &pixel_);
    EXPECT_EQ(pixel_.igbpEco, 11.0f);
    EXPECT_EQ(pixel_.percentWater, 12.0f);
    EXPECT_EQ(pixel_.olsonEco, 13.0f);
    EXPECT_EQ(pixel_.sg, 66.5f);
    EXPECT_EQ(pixel_.terrain, static_cast<float>(cell(3, 269, 1139)));
    EXPECT_EQ(pixel_.Class, 7.0f);
    EXPECT_EQ(pixel_.ElementaryClass, 8);
    EXPECT_EQ(pixel_.BoxIndex, 9);
    EXPECT_EQ(pixel_.Priority, 10U);
    EXPECT_EQ(pixel_.Channels, channels_);
    EXPECT_EQ(pixel_.numChannels, 3);
    EXPECT_EQ(pixel_.lat, 45.0f);
    EXPECT_EQ(pixel_.lon, 10.0f);
    EXPECT_EQ(pixel_.sz, 30.0f);
    EXPECT_EQ(pixel_.vz, 20.0f);
    EXPECT_EQ(pixel_.az, 100.0f);
    EXPECT_EQ(pixel_.jday, 121.0f);
    EXPECT_EQ(pixel_.year, 2001.0f);
    EXPECT_EQ(pixel_.skipPixelFlag, 0);
    expectUntouched();
}

TEST_F(FeaturePixel, CreatePixelMinnisNeedsTheTerrain)
{
    const Outcome outcome = zel_test::run([&] {
        ZELFeatureCreatePixelMinnis(0, 0, 0, 0U, channels_, 3, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f, 0.0f,
                                    1, 2001, 1, 1, 1, &pixel_);
    });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.err, "ZELFetchTerrain: terrain data not initialized: call "
                           "ZELInitiailizeTerrain first\n");
}

TEST_F(FeaturePixel, ExpressionsSeeTheRecordThatWasBuilt)
{
    provideGrids();
    ZELFeatureCreatePixel(7, 0, 0, 0U, channels_, 3, 45.0f, 10.0f, 30.0f, 20.0f, 100.0f, 121, 2001,
                          &pixel_);
    ZELStackStruct stack;
    ASSERT_EQ(ZELParseExpression("Ch3*1000+terrain+julian_day", &stack, 1, nullptr), 0);
    ZELBindPixel(&pixel_);
    EXPECT_EQ(ZELEvaluateStack(&stack, &pixel_),
              3000.0f + static_cast<float>(cell(3, 269, 1139)) + 121.0f);
    ZELBindPixel(nullptr);
    ZELFreeStackElements(&stack);
}

}  // namespace
