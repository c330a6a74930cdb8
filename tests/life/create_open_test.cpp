// Opening a new file for writing: the bytes on disk, the record's state, and the question before an
// existing file is overwritten.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <cstring>
#include <string>

#include "support/file_builder.hpp"
#include "support/file_size_limit.hpp"
#include "support/rest_of_input.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::Bytes;
using zel_test::floatAt;
using zel_test::int16At;
using zel_test::int32At;
using zel_test::run;
using zel_test::runWithInput;
using zel_test::TempDir;
using zel_test::textAt;
using zel_test::Writer;

// What stands after the prefix and before the first channel record, without LUTs and tables:
// numbers 36, comment 2000, two counts, three indices, metadata 8 + 20000.
constexpr std::size_t headerSize = 36 + 2000 + 4 + 6 + 8 + 20000;
// A slot without mask, tables and histograms.
constexpr std::size_t slotSize = 24 + 240 + 12 + 4 + 2 + 2;
constexpr std::size_t histogramSize = 10 + 4 * 256;

// What the writer of the library and the builder of the tests are both to make.
zel_test::Scene sceneOf(const ZELType& record)
{
    zel_test::Scene scene;
    scene.year = 2001;
    scene.julian = 123;
    scene.satellite = 7;
    scene.dataType = 5;
    scene.altitude = 705.0f;
    scene.resolution = 30.0f;
    scene.comment = "a scene";
    scene.pixels = record.ZELHeader.NPixelPerLine;
    scene.navPoints = record.ZELHeader.NumNavPoints;
    scene.startNav = 0;
    scene.navInterval = 1;
    scene.slots.resize(static_cast<std::size_t>(record.ZELHeader.MaxNumChan));
    return scene;
}

zel_test::Histogram unusedHistogram()
{
    zel_test::Histogram histogram;
    histogram.max = -FLT_MAX;
    histogram.min = FLT_MAX;
    histogram.counts.assign(256, 0);
    return histogram;
}

TEST(CreateOpen, WritesThePrefixOfAPlainFile)
{
    Writer writer;
    writer.open();
    const Bytes bytes = writer.bytes();
    ASSERT_GE(bytes.size(), 1221u);
    EXPECT_EQ(textAt(bytes, 0, 3), "ZEL");
    EXPECT_EQ(textAt(bytes, 3, 10), std::string("2.3\0\0\0\0\0\0\0", 10));
    EXPECT_EQ(int32At(bytes, 13), 0);
    EXPECT_EQ(int32At(bytes, 17), 1);
    for (std::size_t i = 0; i < 100; ++i) {
        ASSERT_EQ(int32At(bytes, 21 + 4 * i), 0) << i;
        ASSERT_EQ(floatAt(bytes, 421 + 4 * i), i == 0 ? 30.0f : 0.0f) << i;
        ASSERT_EQ(int32At(bytes, 821 + 4 * i), 0) << i;
    }
}

TEST(CreateOpen, WritesTheHeaderAtItsOffsets)
{
    Writer writer(9, 2);
    ZELSetSolarChannels(writer.get(), 4, 5, 6);
    writer->ZELHeader.MetaDataType = 1;
    writer->ZELHeader.MetaDataSize = 5;
    std::copy_n("hello", 5, writer->ZELHeader.MetaDataText);
    writer.open();
    const Bytes bytes = writer.bytes();
    const std::size_t h = 1221;
    ASSERT_GE(bytes.size(), h + headerSize);
    EXPECT_EQ(floatAt(bytes, h), 2.3f);
    EXPECT_EQ(int16At(bytes, h + 4), 1000);
    EXPECT_EQ(int16At(bytes, h + 6), 2001);
    EXPECT_EQ(int16At(bytes, h + 8), 123);
    EXPECT_EQ(int16At(bytes, h + 10), 7);
    EXPECT_EQ(int16At(bytes, h + 12), 9);
    EXPECT_EQ(int32At(bytes, h + 14), 2);
    EXPECT_EQ(int32At(bytes, h + 18), 0);
    EXPECT_EQ(int32At(bytes, h + 22), 1);
    EXPECT_EQ(int16At(bytes, h + 26), 5);
    EXPECT_EQ(floatAt(bytes, h + 28), 705.0f);
    EXPECT_EQ(floatAt(bytes, h + 32), 30.0f);
    EXPECT_EQ(textAt(bytes, h + 36, 8), std::string("a scene\0", 8));
    EXPECT_EQ(int16At(bytes, h + 2036), 0);
    EXPECT_EQ(int16At(bytes, h + 2038), 0);
    EXPECT_EQ(int16At(bytes, h + 2040), 4);
    EXPECT_EQ(int16At(bytes, h + 2042), 5);
    EXPECT_EQ(int16At(bytes, h + 2044), 6);
    EXPECT_EQ(int32At(bytes, h + 2046), 1);
    EXPECT_EQ(int32At(bytes, h + 2050), 5);
    EXPECT_EQ(textAt(bytes, h + 2054, 6), std::string("hello\0", 6));
}

TEST(CreateOpen, WritesAThousandChannelRecordsWhetherOrNotTheyAreUsed)
{
    Writer writer;
    writer.open();
    EXPECT_EQ(writer.bytes().size(), 1221 + headerSize + 1000 * slotSize);
    EXPECT_EQ(writer->HeaderOffset, 1221 + 22054 + 284000);
}

TEST(CreateOpen, WritesAsManyChannelRecordsAsThereAreSlots)
{
    Writer writer(4, 0, 3);
    writer.add(2, 3, 0, 0);
    writer.open();
    EXPECT_EQ(writer.bytes().size(), 1221 + headerSize + 3 * slotSize + histogramSize);
}

TEST(CreateOpen, WithoutChannelsALineIsItsNavigation)
{
    Writer writer(4, 2);
    writer.open();
    EXPECT_EQ(writer->NavOffset, 48);
    EXPECT_EQ(writer->LineOffset, 48);
}

TEST(CreateOpen, AWholeFileIsByteForByteTheFormats)
{
    Writer writer(4, 2, 5);
    ZELAddSensorBaseChannel(writer.get(), 1, 330.0f, 180.0f, 2, 10, "infrared", "of the test",
                            10.8f, 1);
    ZELAddSpecialChannel(writer.get(), 3, 0, 0, 3, 8, "index", "");
    writer.open();
    const float lats[] = {45.5f, 46.0f}, lons[] = {-12.25f, -11.0f};
    ZELLoadNavigation(writer.get(), 13.75, lats, lons);
    ZELSetScanAltitude(writer.get(), 701.5f);
    ZELSetPadding(writer.get(), 1, 2);
    ZELSetNadirPixel(writer.get(), -7);
    ZELSetNadirLatLon(writer.get(), 1.5f, 2.5f);
    writer->HistogramFlag = 0;  // the histograms stay as they were written with the header
    writer.load(1, {180.0f, 330.0f, 255.0f, 100.0f});
    writer.load(3, {0.0f, 1.0f, 254.9f, 255.0f});
    writer.write();
    writer.finish();

    zel_test::Scene scene = sceneOf(*writer.get());
    scene.slots[1] = zel_test::channel(2, "infrared", 330.0f, 180.0f);
    scene.slots[1].comment = "of the test";
    scene.slots[1].bits = 10;
    scene.slots[1].wavelength = 10.8f;
    scene.slots[1].units = 1;
    scene.slots[1].baseFlag = 1;
    scene.slots[1].histogram = unusedHistogram();
    scene.slots[3] = zel_test::channel(3, "index");
    scene.slots[3].wavelength = -99.0f;
    scene.slots[3].histogram = unusedHistogram();
    zel_test::Line line;
    line.scanTime = 13.75;
    line.altitude = 701.5f;
    line.left = 1;
    line.right = 2;
    line.nadir = -7;
    line.nadirLat = 1.5f;
    line.nadirLon = 2.5f;
    line.lats = {45.5f, 46.0f};
    line.lons = {-12.25f, -11.0f};
    line.pixels[1] = zel_test::rawWords({0, 65535, 32767, 0});
    line.pixels[3] = {0, 1, 254, 255};
    scene.lines = {line};
    const zel_test::BuiltFile expected = build(scene);

    const Bytes bytes = writer.bytes();
    ASSERT_EQ(bytes.size(), expected.bytes.size());
    for (const zel_test::Field& field : expected.fields) {
        const Bytes got(bytes.begin() + static_cast<long>(field.offset),
                        bytes.begin() + static_cast<long>(field.offset + field.size));
        const Bytes want(expected.bytes.begin() + static_cast<long>(field.offset),
                         expected.bytes.begin() + static_cast<long>(field.offset + field.size));
        EXPECT_EQ(got, want) << field.name << " at " << field.offset;
    }
}

TEST(CreateOpen, WritesTheTablesOfTheHeaderAndOfAChannel)
{
    Writer writer(4, 0, 2);
    writer.add(0, 3, 0, 0);
    writer->HistogramFlag = 0;
    ZELAddTable(&writer->ZELHeader.TableList, 7, 2, "curve");
    const float curve[] = {0.5f, 1.5f};
    ZELLoadTableByKey(&writer->ZELHeader.TableList, 7, curve);
    ZELAddTable(&writer.slot(0).TableList, 9, 1, "offset");
    ZELLoadTableEntryByKey(&writer.slot(0).TableList, 9, 0, -3.0f);
    writer.open();

    zel_test::Scene scene = sceneOf(*writer.get());
    scene.tables = {{7, "curve", {0.5f, 1.5f}}};
    scene.slots[0] = zel_test::channel(3, "channel");
    scene.slots[0].comment = "of a test";
    scene.slots[0].tables = {{9, "offset", {-3.0f}}};
    EXPECT_EQ(writer.bytes(), build(scene).bytes);
}

TEST(CreateOpen, WithoutHistogramsBothPresenceBytesAreZero)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    ZELSetHistogramFlag(writer.get(), 0);
    writer.open();
    EXPECT_EQ(writer.slot(0).ChannelHistogram, nullptr);
    const Bytes bytes = writer.bytes();
    ASSERT_EQ(bytes.size(), 1221 + headerSize + slotSize);
    EXPECT_EQ(bytes[bytes.size() - 2], 0);
    EXPECT_EQ(bytes[bytes.size() - 1], 0);
}

TEST(CreateOpen, AChannelHistogramThatIsNotKeptIsNotAnnounced)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    ZELCreateChannelHistograms(writer.get());
    ASSERT_NE(writer.slot(0).ChannelHistogram, nullptr);
    ZELSetHistogramFlag(writer.get(), 0);
    writer.open();
    const Bytes bytes = writer.bytes();
    ASSERT_EQ(bytes.size(), 1221 + headerSize + slotSize);
    EXPECT_EQ(bytes[bytes.size() - 2], 0);
    EXPECT_EQ(bytes[bytes.size() - 1], 0);
}

TEST(CreateOpen, AStandardHistogramIsWrittenEvenWhenHistogramsAreNotKept)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    ZELSetHistogramFlag(writer.get(), 0);
    const int counts[] = {5, 6};
    ZELLoadStandardHistogram(writer.get(), 0, 2, 9.0f, 1.0f, counts);
    writer.open();
    const Bytes bytes = writer.bytes();
    const std::size_t presence = 1221 + headerSize + slotSize - 2;
    ASSERT_EQ(bytes.size(), presence + 2 + 18);
    EXPECT_EQ(bytes[presence], 0);
    EXPECT_EQ(bytes[presence + 1], 1);
    EXPECT_EQ(int16At(bytes, presence + 2), 2);
    EXPECT_EQ(floatAt(bytes, presence + 4), 9.0f);
    EXPECT_EQ(floatAt(bytes, presence + 8), 1.0f);
    EXPECT_EQ(int32At(bytes, presence + 12), 5);
    EXPECT_EQ(int32At(bytes, presence + 16), 6);
}

TEST(CreateOpen, AHistogramKnowsItsPlaceInTheFile)
{
    Writer writer(4, 0, 3);
    writer.add(1, 3, 0, 0);
    writer.add(2, 3, 0, 0);
    const int counts[] = {5, 6};
    ZELLoadStandardHistogram(writer.get(), 1, 2, 9.0f, 1.0f, counts);
    writer.open();
    const int first = 1221 + 22054 + 284 + 284 - 1;  // after the first presence byte of slot 1
    EXPECT_EQ(writer.slot(1).ChannelHistogram->fileOffset, first);
    EXPECT_EQ(writer.slot(1).ChannelStandardHistogram->fileOffset, first + 1034 + 1);
    EXPECT_EQ(writer.slot(2).ChannelHistogram->fileOffset, first + 1034 + 1 + 18 + 283);
}

TEST(CreateOpen, SetsTheStateOfAnOpenFile)
{
    Writer writer(4, 2, 3);
    writer.add(0, 2, 1, 0);
    writer.add(2, 4, 0, 0);
    writer->CurrentLine = 17;
    writer->PreviousLine = 16;
    writer->LatLonInterpolated = 1;
    writer->fileOffset = 77;
    const auto outcome = writer.open();
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(writer.result, 0);
    EXPECT_EQ(writer->CurrentLine, 0);
    EXPECT_EQ(writer->PreviousLine, -2);
    EXPECT_EQ(writer->FileOpened, 1);
    EXPECT_EQ(writer->LatLonInterpolated, 0);
    EXPECT_EQ(writer->fileOffset, 0);
    EXPECT_EQ(writer->NumTotalChans, 2);
    EXPECT_STREQ(writer->ImageFilename, writer.path().c_str());
    EXPECT_EQ(writer.slot(0).DataOffset, 48);
    EXPECT_EQ(writer.slot(2).DataOffset, 48 + 2 * 4);
    EXPECT_EQ(writer->LineOffset, 48 + 2 * 4 + 4 * 4);
}

TEST(CreateOpen, AllocatesZeroedLineBuffersForPresentChannels)
{
    Writer writer(4, 0, 3);
    writer.add(1, 5, 0, 0);
    writer.open();
    ASSERT_NE(writer.slot(1).ChannelData, nullptr);
    ASSERT_NE(writer->PixBuf[1], nullptr);
    for (int x = 0; x < 4; ++x) EXPECT_EQ(writer.slot(1).ChannelData[x], 0.0f);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(writer->PixBuf[1][i], 0);
}

TEST(CreateOpen, AllocatesTheAngleBuffersEvenWhenChannelsHoldTheAngles)
{
    Writer writer(4, 2, 3);
    for (int i = 0; i < 3; ++i) writer.add(i, 4, 0, 0);
    ZELSetSolarChannels(writer.get(), 0, 1, 2);
    writer.open();
    EXPECT_NE(writer->SolarZenith, nullptr);
    EXPECT_NE(writer->ViewZenith, nullptr);
    EXPECT_NE(writer->Azimuth, nullptr);
    EXPECT_NE(writer->Lat, nullptr);
    EXPECT_NE(writer->Lon, nullptr);
    EXPECT_NE(writer->Sunglint, nullptr);
    EXPECT_NE(writer->OlsonEcosystem, nullptr);
    EXPECT_NE(writer->PercentWater, nullptr);
    EXPECT_NE(writer->IGBPEcosystem, nullptr);
    EXPECT_NE(writer->Terrain, nullptr);
    EXPECT_NE(writer->LatBuffer, nullptr);
    EXPECT_NE(writer->LonBuffer, nullptr);
}

TEST(CreateOpen, WithoutNavigationPointsThereAreNoPointBuffers)
{
    Writer writer(4, 0);
    writer.open();
    EXPECT_EQ(writer->NavOffset, 32);
    EXPECT_EQ(writer->LatBuffer, nullptr);
    EXPECT_EQ(writer->LonBuffer, nullptr);
}

TEST(CreateOpen, ClearsTheCountOfInvalidPositions)
{
    ZELBadLatLon(91.0f, 0.0f);
    Writer writer;
    writer.open();
    EXPECT_EQ(ZELGetBadLatLonCount(), 0);
}

TEST(CreateOpen, WritesLittleEndianWhateverTheLastFileWas)
{
    SwapByteOrdering = 1;
    Writer writer;
    writer.open();
    EXPECT_EQ(int32At(writer.bytes(), 17), 1);
}

TEST(CreateOpen, RefusesAReadOnlyRecord)
{
    TempDir dir;
    auto record = zel_test::junkRecord();
    ZELInitNewCompositeFile(record.get(), 0, "", 2000, 1, 0, 4, 0, 0, 0, 0, 0);
    const std::string path = dir.path("x.zel");
    const auto outcome = run([&] { ZELOpenWriteOnlyFile(record.get(), path.c_str()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out,
              "ZELOpenWriteOnlyFileHist can only be used on a write only ZEL file initialized with "
              "ZELInitNewWriteOnlyFile\n");
    EXPECT_THROW(zel_test::readFile(path), std::exception) << "no file is made";
}

TEST(CreateOpen, ReturnsMinusOneWhenTheFileCannotBeCreated)
{
    TempDir dir;
    auto record = zel_test::writeOnlyRecord();
    const std::string path = dir.path("no/such/directory.zel");
    int result = 0;
    const auto outcome = run([&] { result = ZELOpenWriteOnlyFile(record.get(), path.c_str()); });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(outcome.out, "ZELOpenWriteOnlyFile: cannot open file " + path + "\n");
}

struct Navigation {
    int points, start, interval;
};

// Opens a writer of 4 pixels with that navigation over an existing file.
int openWith(const Navigation& navigation, zel_test::Outcome& outcome, std::string& after)
{
    TempDir dir;
    const std::string path = dir.path("old.zel");
    zel_test::writeFile(path, std::string("old content"));
    auto record = zel_test::writeOnlyRecord();
    ZELSetOverwritePromptOff(record.get());
    record->ZELHeader.NumNavPoints = navigation.points;
    record->ZELHeader.StartNavPoint = navigation.start;
    record->ZELHeader.NavPointInterval = navigation.interval;
    int result = 99;
    outcome = run([&] { result = ZELOpenWriteOnlyFile(record.get(), path.c_str()); });
    if (result == 0) run([&] { ZELFinishWritingFile(record.get()); });
    after = zel_test::readText(path).substr(0, 11);
    return result;
}

TEST(CreateOpen, NavigationPointsThatNoReaderTakesAreRefusedBeforeTheFileIsTouched)
{
    for (const Navigation n : {Navigation{-1, 0, 1}, Navigation{32768, 0, 1}, Navigation{2, -1, 1},
                               Navigation{2, 4, 1}, Navigation{2, 0, 0}, Navigation{2, 0, -3}}) {
        zel_test::Outcome outcome;
        std::string after;
        EXPECT_EQ(openWith(n, outcome, after), -1);
        EXPECT_FALSE(outcome.ended);
        EXPECT_EQ(outcome.out,
                  "ZELOpenWriteOnlyFile: invalid navigation points: " + std::to_string(n.points) +
                      " from pixel " + std::to_string(n.start) + ", interval " +
                      std::to_string(n.interval) + "\n");
        EXPECT_EQ(after, "old content");
    }
}

TEST(CreateOpen, NavigationPointsThatAReaderTakesAreNotRefused)
{
    for (const Navigation n :
         {Navigation{0, -1, 0}, Navigation{1, 9, 0}, Navigation{2, 3, 1}, Navigation{5, 0, 100}}) {
        zel_test::Outcome outcome;
        std::string after;
        EXPECT_EQ(openWith(n, outcome, after), 0) << n.points;
        EXPECT_NE(after, "old content");
    }
}

TEST(CreateOpen, ReturnsMinusOneWhenTheHeaderCannotBeWritten)
{
    auto record = zel_test::writeOnlyRecord();
    ZELAddChannel(record.get(), 0, 10, 0, 1, 8, "", "");
    ZELSetOverwritePromptOff(record.get());
    const int before = zel_test::openDescriptors();
    int result = 0;
    const auto outcome = run([&] { result = ZELOpenWriteOnlyFile(record.get(), "/dev/full"); });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(outcome.out,
              "ZELOpenWriteOnlyFile: write error on file /dev/full: No space left on device\n");
    EXPECT_EQ(zel_test::openDescriptors(), before);
}

// What the stream holds back is the end of the header.
TEST(CreateOpen, ReturnsMinusOneWhenTheEndOfTheHeaderCannotBeWritten)
{
    auto record = zel_test::writeOnlyRecord();
    record->ZELHeader.MaxNumChan = 1;
    const zel_test::TempDir dir;
    const std::string path = dir.path("out");
    int result = 0;
    zel_test::Outcome outcome;
    {
        const zel_test::FileSizeLimit limit(1221 + headerSize + slotSize - 1);
        outcome = run([&] { result = ZELOpenWriteOnlyFile(record.get(), path.c_str()); });
    }
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(
        zel_test::withoutGridNotes(outcome.out),
        "ZELOpenWriteOnlyFile: write error on file " + path + ": " + std::strerror(EFBIG) + "\n");
}

// An existing file of that content, and an attempt to write over it with that answer.
struct Attempt {
    std::string path;
    zel_test::Outcome outcome;
    int result = 99;
    std::string after;  // the first bytes of the file
    std::string left;   // on standard input
};

Attempt overwrite(const std::string& answer, bool prompt = true)
{
    TempDir dir;
    Attempt attempt;
    attempt.path = dir.path("old.zel");
    zel_test::writeFile(attempt.path, std::string("old content"));
    auto record = zel_test::writeOnlyRecord();
    if (!prompt) ZELSetOverwritePromptOff(record.get());
    runWithInput(answer, [&] {
        attempt.outcome =
            run([&] { attempt.result = ZELOpenWriteOnlyFile(record.get(), attempt.path.c_str()); });
        attempt.left = zel_test::restOfInput();
    });
    attempt.outcome.out = zel_test::withoutGridNotes(attempt.outcome.out);
    if (!attempt.outcome.ended) run([&] { ZELFinishWritingFile(record.get()); });
    attempt.after = zel_test::readText(attempt.path).substr(0, 11);
    return attempt;
}

class Refusal : public testing::TestWithParam<const char*> {};

TEST_P(Refusal, EndsWithStatusZeroAndLeavesTheOldFileUntouched)
{
    const Attempt attempt = overwrite(GetParam());
    EXPECT_TRUE(attempt.outcome.ended);
    EXPECT_EQ(attempt.outcome.status, 0);
    EXPECT_EQ(attempt.outcome.out,
              "file " + attempt.path + " exists! do you wish to overwrite? (y/n) ");
    EXPECT_EQ(attempt.after, "old content");
}

INSTANTIATE_TEST_SUITE_P(Answers, Refusal,
                         testing::Values("n\n", "N\n", "Y\n", "Yes\n", "\n", " y\n", "ny\n", ""));

class Consent : public testing::TestWithParam<const char*> {};

TEST_P(Consent, OverwritesTheOldFile)
{
    const Attempt attempt = overwrite(GetParam());
    EXPECT_FALSE(attempt.outcome.ended);
    EXPECT_EQ(attempt.result, 0);
    EXPECT_EQ(attempt.outcome.out,
              "file " + attempt.path + " exists! do you wish to overwrite? (y/n) ");
    EXPECT_EQ(attempt.after, std::string("ZEL2.3\0\0\0\0\0", 11));
}

INSTANTIATE_TEST_SUITE_P(Answers, Consent,
                         testing::Values("y\n", "yes\n", "y", "yesterday evening\n"));

// The line of the answer, or the first ten characters of a longer one.
TEST(CreateOpen, TheQuestionLeavesWhatFollowsItsAnswer)
{
    const std::pair<const char*, const char*> rows[] = {{"y\nnext\n", "next\n"},
                                                        {"n\nnext\n", "next\n"},
                                                        {"\nnext\n", "next\n"},
                                                        {"yes567890\nnext\n", "next\n"},
                                                        {"yes4567890\nnext\n", "\nnext\n"},
                                                        {"no345678901\nnext\n", "1\nnext\n"}};
    for (const auto& [answer, wanted] : rows) EXPECT_EQ(overwrite(answer).left, wanted) << answer;
}

TEST(CreateOpen, DoesNotAskWhenThePromptIsOff)
{
    const Attempt attempt = overwrite("n\n", false);
    EXPECT_FALSE(attempt.outcome.ended);
    EXPECT_EQ(attempt.outcome.out, "");
    EXPECT_EQ(attempt.after, std::string("ZEL2.3\0\0\0\0\0", 11));
}

TEST(CreateOpen, DoesNotAskForANewFile)
{
    Writer writer;
    EXPECT_EQ(writer.open().out, "");
}

TEST(CreateOpen, IsBegunWhenTheOverwriteQuestionIsAsked)
{
    Writer writer;
    zel_test::writeFile(writer.path(), std::string("old"));
    const auto outcome = zel_test::runWithInput(
        "n\n", [&] { ZELOpenWriteOnlyFile(writer.get(), writer.path().c_str()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(writer->FileOpened, 1);
    EXPECT_EQ(zel_test::readText(writer.path()), "old");
}

TEST(CreateOpen, ThatFailedLeavesNothingToWriteTo)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    const std::string path = writer.path() + "/no directory";
    ASSERT_EQ(run([&] { writer.result = ZELOpenWriteOnlyFile(writer.get(), path.c_str()); }).out,
              "ZELOpenWriteOnlyFile: cannot open file " + path + "\n");
    EXPECT_EQ(writer.result, -1);
    EXPECT_EQ(writer->FileOpened, 1) << "as soon as it is begun";
    const auto outcome = writer.write();
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.out, "ZELWriteLine: the file is not open for writing\n");
    EXPECT_FALSE(run([&] { ZELFinishWritingFile(writer.get()); }).ended);
    EXPECT_EQ(writer->FileOpened, 0);
}

}  // namespace
