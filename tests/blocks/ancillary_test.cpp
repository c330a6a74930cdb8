// The global grids: where they are looked for, what is said when they are missing, and which cell a
// position reads. They are read once per process, so that each scenario runs in one of its own.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>

#include "support/file_builder.hpp"
#include "support/fresh_process.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::Bytes;
using zel_test::inFreshProcess;
using zel_test::run;
using zel_test::TempDir;

constexpr int rows = 1080, columns = 2160;
const std::string names[] = {"owe14d.img", "fnocwat.img", "global_18.map", "fnocpt.img"};
const std::string builtIn = "/usr/local/zeldata/epa/";

// The byte of a cell: neighbours differ, and so do the grids. At most 250: 255 means "missing".
unsigned char cell(int grid, int row, int column)
{
    return static_cast<unsigned char>((31 * row + 17 * column + 101 * grid) % 251);
}

Bytes gridContent(int grid)
{
    Bytes bytes;
    bytes.reserve(static_cast<std::size_t>(rows) * columns);
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column) bytes.push_back(cell(grid, row, column));
    return bytes;
}

// No variable names a directory of this machine.
void clearEnvironment()
{
    for (const char* name : {"ZEL_DATA_DIR", "EPA_DATA_DIR", "CC_DATA_DIR"}) unsetenv(name);
}

// A data directory with the grids under "epa", as ZEL_DATA_DIR names it.
class DataDirectory {
public:
    DataDirectory()
    {
        clearEnvironment();
        std::filesystem::create_directory(path("epa"));
        setenv("ZEL_DATA_DIR", dir_.path().c_str(), 1);
    }
    void add(int grid) { zel_test::writeFile(path("epa/" + names[grid]), gridContent(grid)); }
    void addAll()
    {
        for (int grid = 0; grid < 4; ++grid) add(grid);
    }
    std::string path(const std::string& name) { return dir_.path(name); }

private:
    TempDir dir_;
};

std::string loadingMessage(int grid)
{
    return "cannot open file " + builtIn + "/" + names[grid] +
           "\nZELReadAncillaryFiles: Ancillary data file " + names[grid] +
           " not available.  Check path.\nmake sure environment variable ZEL_DATA_DIR is set "
           "properly\nor file " +
           names[grid] + " is in directory: " + builtIn + "\n";
}

std::string useMessage(int grid)
{
    return "ZELReadAncillaryFiles: Error: Ancillary data file " + names[grid] +
           " not available.  Check path.\nmake sure environment variable ZEL_DATA_DIR is set "
           "properly\nor file " +
           names[grid] + " is in directory: " + builtIn + "\n";
}

// A file whose every byte is the value, in a directory that is made for it.
void plantGrid(const std::string& path, int value)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    zel_test::writeFile(path,
                        Bytes(std::size_t{rows} * columns, static_cast<unsigned char>(value)));
}

using PixelLookup = unsigned char (*)(float, float);
constexpr PixelLookup lookups[] = {
    ZELAncillaryFetchPixelOlsonEcosystem, ZELAncillaryFetchPixelWaterPercentage,
    ZELAncillaryFetchPixelIGBPEcosystem, ZELAncillaryFetchPixelTerrainType};

TEST(AncillarySearch, WithoutAnyFileEachGridIsReportedAndSkipped)
{
    if (std::filesystem::exists(builtIn)) GTEST_SKIP() << "this machine has " << builtIn;
    inFreshProcess([] {
        clearEnvironment();
        const auto outcome = run(ZELAncillaryReadFiles);
        EXPECT_FALSE(outcome.ended);
        EXPECT_EQ(outcome.out,
                  loadingMessage(0) + loadingMessage(1) + loadingMessage(2) + loadingMessage(3));
        EXPECT_EQ(outcome.err, "");
        for (const int read : SuccessfullyRead) EXPECT_EQ(read, 0);
    });
}

TEST(AncillarySearch, ReadsTheFilesOfZelDataDirFromItsSubdirectory)
{
    inFreshProcess([] {
        DataDirectory data;
        data.addAll();
        const int open = zel_test::openDescriptors();
        EXPECT_EQ(run(ZELAncillaryReadFiles).out, "");
        EXPECT_EQ(zel_test::openDescriptors(), open);
        for (const int read : SuccessfullyRead) EXPECT_EQ(read, 1);
        for (int grid = 0; grid < 4; ++grid)
            EXPECT_EQ(lookups[grid](90.0f, 0.0f), cell(grid, 0, grid == 2 ? 0 : 1079));
    });
}

TEST(AncillarySearch, ReadsTheFilesOfEpaDataDirWithoutTheSubdirectory)
{
    inFreshProcess([] {
        const TempDir dir;
        clearEnvironment();
        for (int grid = 0; grid < 4; ++grid)
            zel_test::writeFile(dir.path(names[grid]), gridContent(grid));
        setenv("EPA_DATA_DIR", dir.path().c_str(), 1);
        EXPECT_EQ(run(ZELAncillaryReadFiles).out, "");
        EXPECT_EQ(ZELAncillaryFetchPixelTerrainType(-90.0f, 180.0f), cell(3, 1079, 2159));
    });
}

TEST(AncillarySearch, ReadsTheFilesOfCcDataDirFromItsSubdirectory)
{
    inFreshProcess([] {
        const TempDir dir;
        clearEnvironment();
        for (int grid = 0; grid < 4; ++grid) plantGrid(dir.path("epa/" + names[grid]), 40 + grid);
        setenv("CC_DATA_DIR", dir.path().c_str(), 1);
        EXPECT_EQ(run(ZELAncillaryReadFiles).out, "");
        EXPECT_EQ(ZELAncillaryFetchPixelTerrainType(0, 0), 43);
    });
}

TEST(AncillarySearch, GoesThroughTheDirectoriesForEachGridInTurn)
{
    inFreshProcess([] {
        const TempDir dir;
        clearEnvironment();
        setenv("ZEL_DATA_DIR", dir.path("zel").c_str(), 1);
        setenv("EPA_DATA_DIR", dir.path("epa").c_str(), 1);
        setenv("CC_DATA_DIR", dir.path("cc").c_str(), 1);
        plantGrid(dir.path("zel/epa/" + names[0]), 1);  // everywhere: the first wins
        plantGrid(dir.path("epa/" + names[0]), 2);
        plantGrid(dir.path("cc/epa/" + names[0]), 3);
        plantGrid(dir.path("epa/" + names[1]), 4);  // the second wins over the third
        plantGrid(dir.path("cc/epa/" + names[1]), 5);
        plantGrid(dir.path("cc/epa/" + names[2]), 6);
        plantGrid(dir.path("zel/" + names[3]), 7);      // not where it is looked for
        plantGrid(dir.path("epa/epa/" + names[3]), 8);  // nor there
        plantGrid(dir.path("cc/" + names[3]), 9);       // nor there
        const auto outcome = run(ZELAncillaryReadFiles);
        EXPECT_EQ(outcome.out, loadingMessage(3));
        EXPECT_EQ(ZELAncillaryFetchPixelOlsonEcosystem(0, 0), 1);
        EXPECT_EQ(ZELAncillaryFetchPixelWaterPercentage(0, 0), 4);
        EXPECT_EQ(ZELAncillaryFetchPixelIGBPEcosystem(0, 0), 6);
        EXPECT_EQ(SuccessfullyRead[2], 1);
        EXPECT_EQ(SuccessfullyRead[3], 0);
    });
}

TEST(AncillarySearch, HappensOncePerProcess)
{
    inFreshProcess([] {
        clearEnvironment();
        EXPECT_NE(run(ZELAncillaryReadFiles).out, "");
        DataDirectory data;
        data.addAll();
        EXPECT_EQ(run(ZELAncillaryReadFiles).out, "");
        EXPECT_EQ(SuccessfullyRead[0], 0);
    });
}

TEST(AncillarySearch, HappensWhenTheFirstFileIsOpened)
{
    if (std::filesystem::exists(builtIn)) GTEST_SKIP() << "this machine has " << builtIn;
    inFreshProcess([] {
        clearEnvironment();
        const TempDir dir;
        const std::string path = dir.path("scene.zel");
        zel_test::writeFile(path, build(zel_test::smallScene()).bytes);
        for (const bool first : {true, false}) {
            auto record = zel_test::junkRecord();
            const auto outcome = run([&] { ZELOpenReadOnlyFile(record.get(), path.c_str()); });
            EXPECT_EQ(outcome.out, first ? loadingMessage(0) + loadingMessage(1) +
                                               loadingMessage(2) + loadingMessage(3)
                                         : "");
            ZELFinishReadingFile(record.get());
        }
    });
}

TEST(AncillarySearch, HappensWhenTheFirstFileIsCreated)
{
    inFreshProcess([] {
        DataDirectory data;
        data.add(0);
        auto record = zel_test::writeOnlyRecord();
        const std::string path = data.path("new.zel");
        run([&] { ZELOpenWriteOnlyFile(record.get(), path.c_str()); });
        EXPECT_EQ(SuccessfullyRead[0], 1);
        EXPECT_EQ(SuccessfullyRead[1], 0);
        ZELFinishWritingFile(record.get());
    });
}

// Loads the first grid from a path of that many characters.
void loadFromPathOf(std::size_t length)
{
    const TempDir dir;
    clearEnvironment();
    const std::string file = "/epa/" + names[0];
    ASSERT_LT(dir.path().size() + 2 + file.size(), length);
    const std::string data =
        dir.path(std::string(length - dir.path().size() - 1 - file.size(), 'd'));
    plantGrid(data + file, 5);
    ASSERT_EQ((data + file).size(), length);
    setenv("ZEL_DATA_DIR", data.c_str(), 1);
    run(ZELAncillaryReadFiles);
}

TEST(AncillarySearch, APathOf119CharactersFits)
{
    inFreshProcess([] {
        loadFromPathOf(119);
        EXPECT_EQ(ZELAncillaryFetchPixelOlsonEcosystem(0, 0), 5);
    });
}

TEST(AncillarySearch, APathOf120CharactersDoesNot)
{
    inFreshProcess([] {
        loadFromPathOf(120);
        EXPECT_EQ(SuccessfullyRead[0], 0);
    });
}

TEST(AncillarySearch, ADirectoryTooLongForThePathIsPassedOver)
{
    inFreshProcess([] {
        const TempDir dir;
        clearEnvironment();
        setenv("ZEL_DATA_DIR", ("/" + std::string(5000, 'z')).c_str(), 1);
        setenv("EPA_DATA_DIR", dir.path().c_str(), 1);
        plantGrid(dir.path(names[0]), 6);
        const auto outcome = run(ZELAncillaryReadFiles);
        EXPECT_FALSE(outcome.ended);
        EXPECT_EQ(ZELAncillaryFetchPixelOlsonEcosystem(0, 0), 6);
    });
}

TEST(AncillarySearch, AShortFileCountsAsReadAndIsZeroAfterItsEnd)
{
    inFreshProcess([] {
        DataDirectory data;
        zel_test::writeFile(data.path("epa/" + names[1]), Bytes{7, 8, 9});
        run(ZELAncillaryReadFiles);
        EXPECT_EQ(SuccessfullyRead[1], 1);
        EXPECT_EQ(ZELAncillaryFetchPixelWaterPercentage(90.0f, -180.0f), 7);
        EXPECT_EQ(ZELAncillaryFetchPixelWaterPercentage(0, 0), 0);
    });
}

TEST(AncillaryUse, AMissingGridEndsTheProcessWhenItIsUsed)
{
    inFreshProcess([] {
        clearEnvironment();
        run(ZELAncillaryReadFiles);
        for (int grid = 0; grid < 4; ++grid) {
            const auto outcome = run([grid] { lookups[grid](0, 0); });
            EXPECT_TRUE(outcome.ended);
            EXPECT_EQ(outcome.status, -1);
            EXPECT_EQ(outcome.out, useMessage(grid));
        }
    });
}

TEST(AncillaryUse, AnInvalidPositionIsMissingBeforeTheGridIsAskedFor)
{
    inFreshProcess([] {
        clearEnvironment();
        run(ZELAncillaryReadFiles);
        ZELClearBadLatLonCount();
        for (const PixelLookup lookup : lookups) {
            unsigned char value = 0;
            const auto outcome = run([&] { value = lookup(90.0001f, 0); });
            EXPECT_FALSE(outcome.ended);
            EXPECT_EQ(value, 255);
        }
        EXPECT_EQ(ZELGetBadLatLonCount(), 4);
    });
}

TEST(AncillaryUse, OnlyTheMissingGridIsAnError)
{
    inFreshProcess([] {
        DataDirectory data;
        data.add(2);
        run(ZELAncillaryReadFiles);
        EXPECT_FALSE(run([] { ZELAncillaryFetchPixelIGBPEcosystem(10, 10); }).ended);
        EXPECT_TRUE(run([] { ZELAncillaryFetchPixelTerrainType(10, 10); }).ended);
    });
}

// All grids loaded; the checks of one test in one process.
void withGrids(const std::function<void()>& checks)
{
    inFreshProcess([&] {
        DataDirectory data;
        data.addAll();
        ASSERT_EQ(run(ZELAncillaryReadFiles).out, "");
        ZELClearBadLatLonCount();
        checks();
    });
}

TEST(AncillaryCell, TheCornersOfTheMapAreTheCornersOfTheGrids)
{
    withGrids([] {
        for (const int grid : {0, 1, 3}) {
            EXPECT_EQ(lookups[grid](90, -180), cell(grid, 0, 0)) << grid;
            EXPECT_EQ(lookups[grid](90, 180), cell(grid, 0, 2159)) << grid;
            EXPECT_EQ(lookups[grid](-90, -180), cell(grid, 1079, 0)) << grid;
            EXPECT_EQ(lookups[grid](-90, 180), cell(grid, 1079, 2159)) << grid;
        }
        EXPECT_EQ(ZELGetBadLatLonCount(), 0);
    });
}

TEST(AncillaryCell, TheMiddleOfTheMapIsTruncatedToItsCell)
{
    withGrids([] {
        for (const int grid : {0, 1, 3})
            EXPECT_EQ(lookups[grid](0, 0), cell(grid, 539, 1079)) << grid;
        EXPECT_EQ(lookups[2](0, 0), cell(2, 539, 0));
    });
}

TEST(AncillaryCell, TheIgbpGridBeginsAtLongitudeZero)
{
    withGrids([] {
        EXPECT_EQ(lookups[2](90, 0), cell(2, 0, 0));
        EXPECT_EQ(lookups[2](-90, 0), cell(2, 1079, 0));
        EXPECT_EQ(lookups[2](0, 180), cell(2, 539, 1079));
        EXPECT_EQ(lookups[2](0, -180), cell(2, 539, 1079));
        EXPECT_EQ(lookups[2](0, -0.5f), cell(2, 539, 2156));
        EXPECT_EQ(lookups[2](0, -0.001f), cell(2, 539, 2158));
        EXPECT_EQ(lookups[2](0, -0.0f), cell(2, 539, 0));
    });
}

// The middle of every row and column, by the scale 1079 / 180 and 2159 / 360.
TEST(AncillaryCell, EveryRowAndColumnIsReachedFromItsMiddle)
{
    withGrids([] {
        int wrong = 0;
        for (int row = 0; row < 1079; ++row) {
            const auto lat = static_cast<float>(90.0 - (row + 0.5) * 180.0 / 1079.0);
            for (const int grid : {0, 1, 3})
                wrong += lookups[grid](lat, -180) != cell(grid, row, 0);
            wrong += lookups[2](lat, 0) != cell(2, row, 0);
        }
        for (int column = 0; column < 2159; ++column) {
            const double place = (column + 0.5) * 360.0 / 2159.0;
            const auto fromDateLine = static_cast<float>(place - 180.0);
            for (const int grid : {0, 1, 3})
                wrong += lookups[grid](90, fromDateLine) != cell(grid, 0, column);
            const auto fromZero = static_cast<float>(place > 180.0 ? place - 360.0 : place);
            wrong += lookups[2](90, fromZero) != cell(2, 0, column);
        }
        EXPECT_EQ(wrong, 0);
    });
}

TEST(AncillaryCell, TheScaleIsNotSixCellsPerDegree)
{
    withGrids([] {
        // 150 degrees from the edge: 899.17 rows and 899.58 columns, where six cells make 900.
        EXPECT_EQ(lookups[0](-60, -180), cell(0, 899, 0));
        EXPECT_EQ(lookups[0](90, -30), cell(0, 0, 899));
    });
}

TEST(AncillaryCell, AnInvalidPositionIsMissingAndCounted)
{
    withGrids([] {
        for (const PixelLookup lookup : lookups) {
            EXPECT_EQ(lookup(90.0001f, 0), 255);
            EXPECT_EQ(lookup(-90.0001f, 0), 255);
            EXPECT_EQ(lookup(0, 180.001f), 255);
            EXPECT_EQ(lookup(0, -180.001f), 255);
        }
        EXPECT_EQ(ZELGetBadLatLonCount(), 16);
    });
}

TEST(AncillaryCell, ANotANumberReadsNoCellOutsideTheGrid)
{
    withGrids([] {
        const float nan = std::numeric_limits<float>::quiet_NaN();
        for (const PixelLookup lookup : lookups) EXPECT_FALSE(run([&] { lookup(nan, nan); }).ended);
        EXPECT_EQ(ZELGetBadLatLonCount(), 0) << "it passes as valid";
    });
}

}  // namespace
