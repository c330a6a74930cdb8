// The blocks that an open reads with the header, files inside files, and the end of a reader's
// life.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <utility>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"
#include "zel/lines/file_reader.hpp"

namespace {

using zel_test::build;
using zel_test::Bytes;
using zel_test::Histogram;
using zel_test::Lut;
using zel_test::OpenedFile;
using zel_test::Outcome;
using zel_test::run;
using zel_test::Scene;
using zel_test::smallScene;
using zel_test::Table;
using zel_test::TempDir;
using zel_test::writeFile;

Scene sceneWithBlocks()
{
    Scene scene = smallScene();
    scene.luts = {Lut{4, "Classes", {{1, 2, 3, "one"}, {250, 251, 252, "two"}}},
                  Lut{9, "Empty", {}}};
    scene.tables = {Table{6, "Gains", {1.5f, -2.0f}}};
    scene.slots[0].tables = {Table{1, "Curve", {0.25f}}, Table{2, "None", {}}};
    scene.slots[0].histogram = Histogram{10.0f, 1.0f, {3, 0, 2, 1}};
    scene.slots[0].standardHistogram = Histogram{100.0f, 0.0f, {7, 8}};
    return scene;
}

TEST(OpenBlocks, DisplayLutsAreRead)
{
    OpenedFile file(build(sceneWithBlocks()).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->ZELHeader.NumDisplayLUTs, 2);
    const ZELDisplayLUTType* lut = file->ZELHeader.DisplayLUTHead;
    ASSERT_NE(lut, nullptr);
    EXPECT_EQ(lut->DisplayLUTKeyValue, 4);
    EXPECT_EQ(lut->NumLUTValues, 2);
    EXPECT_STREQ(lut->DisplayLUTLabel, "Classes");
    EXPECT_EQ(lut->DisplayLUT[1].R, 250);
    EXPECT_EQ(lut->DisplayLUT[1].G, 251);
    EXPECT_EQ(lut->DisplayLUT[1].B, 252);
    EXPECT_STREQ(lut->DisplayLUT[1].LUTEntryLabel, "two");
    ASSERT_NE(lut->NextDisplayLUT, nullptr);
    EXPECT_EQ(lut->NextDisplayLUT->NumLUTValues, 0);
    EXPECT_EQ(lut->NextDisplayLUT->NextDisplayLUT, nullptr);
}

TEST(OpenBlocks, HeaderTablesAndChannelTablesAreRead)
{
    OpenedFile file(build(sceneWithBlocks()).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->ZELHeader.TableList.NumTables, 1);
    const TableType* gains = file->ZELHeader.TableList.TableHead;
    ASSERT_NE(gains, nullptr);
    EXPECT_EQ(gains->TableKeyValue, 6);
    EXPECT_STREQ(gains->TableLabel, "Gains");
    EXPECT_EQ(gains->Table[1], -2.0f);
    EXPECT_EQ(file->Channels[0].TableList.NumTables, 2);
    const TableType* curve = file->Channels[0].TableList.TableHead;
    ASSERT_NE(curve, nullptr);
    EXPECT_EQ(curve->Table[0], 0.25f);
    EXPECT_STREQ(curve->NextTable->TableLabel, "None");
    EXPECT_EQ(file->Channels[2].TableList.NumTables, 0);
}

TEST(OpenBlocks, ReadingTablesTracesThemOnStandardOutput)
{
    OpenedFile file(build(sceneWithBlocks()).bytes);
    EXPECT_EQ(file.outcome.out,
              "ZELReadTables:NumTables 1\n"
              "ZELReadTables:NumTableValues 2\n"
              "ZELReadTables:TableKeyValue 6\n"
              "ZELReadTables:TableLabel Gains\n"
              "ZELReadTables:0: 1.500000\n"
              "ZELReadTables:1: -2.000000\n"
              "Table offset 612\n"  // 204 + 204 x 2
              "ZELReadTables:NumTables 2\n"
              "ZELReadTables:NumTableValues 1\n"
              "ZELReadTables:TableKeyValue 1\n"
              "ZELReadTables:TableLabel Curve\n"
              "ZELReadTables:0: 0.250000\n"
              "ZELReadTables:NumTableValues 0\n"
              "ZELReadTables:TableKeyValue 2\n"
              "ZELReadTables:TableLabel None\n"
              "Table offset 612\n");  // 204 + 204 x 1, and 204
}

TEST(OpenBlocks, HeaderOffsetIsWhereTheLinesBegin)
{
    const auto built = build(sceneWithBlocks());
    OpenedFile file(built.bytes);
    ASSERT_EQ(file.result, 0);
    // 24127 without blocks; LUTs 204 + 2 x 203 and 204; tables 204 + 8, 204 + 4 and 204; histograms
    // 10 + 16 and 10 + 8.
    EXPECT_EQ(file->HeaderOffset, 24127 + 610 + 204 + 212 + 208 + 204 + 26 + 18);
    EXPECT_EQ(file->NumLines, 2);
    run([&] { ZELReadLine(file.get()); });
    EXPECT_EQ(file->Channels[0].ChannelData[0], 11.0f);
}

TEST(OpenBlocks, HistogramsAreReadWithTheirPlaces)
{
    const auto built = build(sceneWithBlocks());
    OpenedFile file(built.bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->HistogramFlag, 1);
    const ZELHistogramType* h = file->Channels[0].ChannelHistogram;
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(h->NumHistogramBins, 4);
    EXPECT_EQ(h->Max, 10.0f);
    EXPECT_EQ(h->Min, 1.0f);
    EXPECT_EQ(h->Histogram[2], 2);
    EXPECT_EQ(h->NumPixels, 6.0f);
    EXPECT_EQ(h->fileOffset,
              static_cast<int>(built.offset("channel[0].histogram.NumHistogramBins")));
    const ZELHistogramType* standard = file->Channels[0].ChannelStandardHistogram;
    ASSERT_NE(standard, nullptr);
    EXPECT_EQ(standard->Histogram[1], 8);
    EXPECT_EQ(standard->fileOffset,
              static_cast<int>(built.offset("channel[0].standardHistogram.NumHistogramBins")));
    EXPECT_EQ(file->Channels[0].UpdateChannelHistogramFlag, 0);
}

TEST(OpenBlocks, OnlyAChannelHistogramSetsTheHistogramFlag)
{
    Scene scene = sceneWithBlocks();
    scene.slots[0].histogram.reset();
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->HistogramFlag, 0);
    EXPECT_EQ(file->Channels[0].ChannelHistogram, nullptr);
    EXPECT_NE(file->Channels[0].ChannelStandardHistogram, nullptr);
}

TEST(OpenBlocks, BlocksOfAnAbsentSlotAreReadPast)
{
    Scene scene = sceneWithBlocks();
    scene.slots[1].tables = {Table{3, "left over", {1.0f, 2.0f}}};
    scene.slots[1].histogram = Histogram{1.0f, 0.0f, {1, 2, 3}};
    const auto built = build(scene);
    OpenedFile file(built.bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->HeaderOffset, static_cast<int>(built.headerEnd));
    EXPECT_STREQ(file->Channels[2].ChannelLabel, "third");
}

// A second file after a first one, as a component lies in its container.
class Component : public testing::Test {
protected:
    void SetUp() override
    {
        Scene second = sceneWithBlocks();
        second.year = 1999;
        second.lines[1].pixels[0] = {91, 92, 93, 94};
        built = build(second);
        Bytes bytes = build(smallScene()).bytes;
        start = static_cast<int>(bytes.size());
        bytes.insert(bytes.end(), built.bytes.begin(), built.bytes.end());
        bytes.resize(bytes.size() + 600);  // something after the component: ten lines' worth
        writeFile(dir.path("both.zel"), bytes);
        run([&] {
            result = OpenReadOnlyFile(record.get(), dir.path("both.zel").c_str(), start,
                                      static_cast<int>(built.bytes.size()));
        });
        ASSERT_EQ(result, 0);
    }
    void TearDown() override
    {
        if (result == 0) run([&] { ZELFinishReadingFile(record.get()); });
    }

    TempDir dir;
    zel_test::BuiltFile built;
    int start = 0;
    int result = -9;
    std::unique_ptr<ZELType> record = zel_test::junkRecord();
};

TEST_F(Component, OffsetsAreRelativeToItsStart)
{
    EXPECT_EQ(record->ZELHeader.year, 1999);
    EXPECT_EQ(record->fileOffset, start);
    EXPECT_EQ(record->HeaderOffset, static_cast<int>(built.headerEnd));
    EXPECT_EQ(record->Channels[0].ChannelHistogram->fileOffset,
              static_cast<int>(built.offset("channel[0].histogram.NumHistogramBins")));
}

TEST_F(Component, ItsSizeLimitsTheNumberOfLines)
{
    EXPECT_EQ(record->NumLines, 2);
}

TEST_F(Component, ItsLinesAreReadFromInsideIt)
{
    run([&] {
        ZELSetCurrentLine(record.get(), 1);
        ZELReadLine(record.get());
    });
    EXPECT_EQ(record->ScanTime, 11.25);
    EXPECT_EQ(record->Channels[0].ChannelData[0], 91.0f);
}

// What follows the component's end is no part of its header.
TEST_F(Component, ASizeThatEndsInsideTheHeaderIsRefused)
{
    const std::string name = dir.path("both.zel");
    for (const char* field : {"MaxNumChan", "lut[0].entry[1].R", "table[0].value[0]",
                              "MetaDataText", "channel[2].Type"}) {
        auto cut = zel_test::junkRecord();
        int refused = -9;
        const Outcome outcome = run([&] {
            refused = OpenReadOnlyFile(cut.get(), name.c_str(), start,
                                       static_cast<int>(built.offset(field)));
        });
        EXPECT_EQ(refused, -2) << field;
        EXPECT_NE(outcome.out.find("OpenReadOnlyFile: corrupt file " + name + ": "),
                  std::string::npos)
            << field << ": " << outcome.out;
        if (refused == 0) run([&] { ZELFinishReadingFile(cut.get()); });
    }
}

TEST(OpenBlocks, APrefixOfOneComponentIsAPlainFileWhateverItsDirectoryHolds)
{
    for (int components : {1, 0, -3}) {
        Scene scene = smallScene();
        scene.prefix.components = components;
        scene.prefix.base = 5;
        scene.prefix.offsets = {77, 78};
        scene.prefix.sizes = {79};
        OpenedFile file(build(scene).bytes);
        EXPECT_EQ(file.result, 0) << components;
        EXPECT_EQ(file->numZELComponents, 1) << components;
        EXPECT_EQ(file->NumLines, 2) << components;
    }
}

TEST(OpenBlocks, APrefixOfTwoComponentsOpensAsAComposite)
{
    Scene coarse = smallScene();
    coarse.resolution = 60;
    OpenedFile file(zel_test::buildComposite({smallScene(), coarse}, 1));
    ASSERT_EQ(file.result, 0) << file.outcome.out;
    EXPECT_EQ(file->numZELComponents, 2);
    EXPECT_EQ(file->baseZELComponent, 1);
    EXPECT_EQ(file->NumTotalChans, 4);
    EXPECT_EQ(file->ZELHeader.SpatialResolution, 60.0f);
}

TEST(Open, ClearsTheCountOfInvalidPositions)
{
    ZELBadLatLon(95.0f, 0.0f);
    OpenedFile file(build(smallScene()).bytes);
    EXPECT_EQ(ZELGetBadLatLonCount(), 0);
}

TEST(FinishReading, ReportsInvalidPositionsByFileName)
{
    TempDir dir;
    const std::string name = dir.path("scene.zel");
    writeFile(name, build(smallScene()).bytes);
    auto record = zel_test::junkRecord();
    run([&] { ZELOpenReadOnlyFile(record.get(), name.c_str()); });
    ZELBadLatLon(95.0f, 0.0f);
    ZELBadLatLon(0.0f, 181.0f);
    const Outcome outcome = run([&] { ZELFinishReadingFile(record.get()); });
    EXPECT_EQ(outcome.out,
              "\nWARNING: file " + name + ": 2 Out of range lat/lon values detected\n");
    ZELClearBadLatLonCount();
}

TEST(FinishReading, IsSilentWithoutInvalidPositionsAndClosesTheStream)
{
    TempDir dir;
    const std::string name = dir.path("scene.zel");
    writeFile(name, build(sceneWithBlocks()).bytes);
    auto record = zel_test::junkRecord();
    const int before = zel_test::openDescriptors();
    run([&] { ZELOpenReadOnlyFile(record.get(), name.c_str()); });
    record->FileOpened = 1;
    EXPECT_EQ(zel_test::openDescriptors(), before + 1);
    const Outcome outcome = run([&] { ZELFinishReadingFile(record.get()); });
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(zel_test::openDescriptors(), before);
    EXPECT_EQ(record->FileOpened, 0);
    EXPECT_EQ(record->ZELHeader.NumDisplayLUTs, 0);
    EXPECT_EQ(record->ZELHeader.DisplayLUTHead, nullptr);
    EXPECT_EQ(record->ZELHeader.TableList.NumTables, 0);
}

TEST(FinishReading, ClosesEveryComponentOfAComposite)
{
    TempDir dir;
    const std::string name = dir.path("both.zel");
    writeFile(name, zel_test::buildComposite({smallScene(), smallScene()}));
    auto record = zel_test::junkRecord();
    const int before = zel_test::openDescriptors();
    int result = -9;
    run([&] { result = ZELOpenReadOnlyFile(record.get(), name.c_str()); });
    ASSERT_EQ(result, 0);
    const Outcome outcome = run([&] { ZELFinishReadingFile(record.get()); });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(zel_test::openDescriptors(), before);
}

TEST(FinishReading, EndsTheProcessOnAWriteOnlyRecord)
{
    auto record = zel_test::writeOnlyRecord();
    const Outcome outcome = run([&] { ZELFinishReadingFile(record.get()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELFinishReadingFile can only be used on a read only ZEL file\n");
}

TEST(FreeData, LeavesTheStreamOpen)
{
    TempDir dir;
    writeFile(dir.path("scene.zel"), build(sceneWithBlocks()).bytes);
    auto record = zel_test::junkRecord();
    run([&] { ZELOpenReadOnlyFile(record.get(), dir.path("scene.zel").c_str()); });
    record->FileOpened = 1;
    const Outcome outcome = run([&] { ZELFreeData(record.get()); });
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(record->FileOpened, 0);
    EXPECT_EQ(record->ZELHeader.NumDisplayLUTs, 0);
    EXPECT_EQ(record->ZELHeader.TableList.NumTables, 0);
    ASSERT_NE(record->fptr, nullptr);
    EXPECT_EQ(fseek(record->fptr, 0, SEEK_SET), 0);
    EXPECT_EQ(fgetc(record->fptr), 'Z');
    fclose(record->fptr);
}

// ---- Headers whose length no record can say ----

// Where the lines begin that come after an empty slot at a place of a file whose header begins at
// 0, or why they cannot. Empty: the file is too large for this file system.
std::string endOfHeader(int version, std::int64_t start)
{
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(std::tmpfile(), &std::fclose);
    if (ftruncate(fileno(stream.get()), start + 1000) != 0) return "";
    const auto file = zel_test::zeroRecord();
    file->fptr = stream.get();
    file->ZELHeader.MaxNumChan = 1;
    zel::FileReader reader(*file, 0, start + 1000);
    reader.setVersion(version);
    reader.seek(start);
    try {
        zel::walkSlot(reader, *file, 0);
    } catch (const zel::Damage& damage) {
        return damage.what;
    }
    return std::to_string(file->HeaderOffset);
}

// A slot of version 1.11 has 268 bytes, which are counted; one of version 2.30 has 284, and the
// place after it is taken as it is.
TEST(OpenBlocks, LinesThatBeginBeyond31BitsAreRefused)
{
    constexpr std::int64_t most = 2147483647;
    if (endOfHeader(230, most).empty()) GTEST_SKIP() << "no files of 2 GB without their bytes";
    for (const auto& [version, size] : {std::pair(111, 268), std::pair(230, 284)}) {
        EXPECT_EQ(endOfHeader(version, most - size), "2147483647") << version;
        EXPECT_EQ(endOfHeader(version, most - size + 1), "invalid header length 2.14748365e+09")
            << version;
    }
}

}  // namespace
