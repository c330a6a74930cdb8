// Reading lines: the values of every storage code, where lines lie, and what happens at the ends.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "support/counted_seeks.hpp"
#include "support/file_builder.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::Bytes;
using zel_test::OpenedFile;
using zel_test::run;
using zel_test::Scene;
using zel_test::smallScene;

using Values = std::vector<float>;

Values valuesOf(OpenedFile& file, int slot)
{
    const float* data = file->Channels[slot].ChannelData;
    return {data, data + file->ZELHeader.NPixelPerLine};
}

Bytes storedOf(OpenedFile& file, int slot)
{
    const int size = file->ZELHeader.NPixelPerLine * file->Channels[slot].DataByteSize;
    return {file->PixBuf[slot], file->PixBuf[slot] + size};
}

// One channel and one line of these stored pixels.
Scene sceneOf(const zel_test::Slot& slot, const Bytes& stored)
{
    Scene scene;
    scene.navPoints = 0;
    scene.slots = {slot};
    scene.pixels = static_cast<int>(stored.size()) / slot.byteSize;
    zel_test::Line line;
    line.pixels[0] = stored;
    scene.lines = {line};
    return scene;
}

TEST(ReadLine, ScalesBytesOverTheRange)
{
    Bytes all;
    for (int raw = 0; raw < 256; ++raw) all.push_back(static_cast<unsigned char>(raw));
    OpenedFile file(build(sceneOf(zel_test::channel(1, "c", 330, 180), all)).bytes);
    EXPECT_EQ(ZELReadLine(file.get()), 256);
    const Values values = valuesOf(file, 0);
    EXPECT_EQ(values[0], 180.0f);
    EXPECT_EQ(values[255], 330.0f);
    EXPECT_EQ(values[51], 210.0f);
    for (std::size_t raw = 0; raw < 256; ++raw)
        EXPECT_FLOAT_EQ(values[raw],
                        static_cast<float>(180.0 + static_cast<double>(raw) * 150.0 / 255.0));
}

TEST(ReadLine, ScalesWordsOverTheRange)
{
    const std::vector<int> raw = {0, 1, 255, 256, 13107, 32767, 32768, 65534, 65535};
    OpenedFile file(
        build(sceneOf(zel_test::channel(2, "c", 100, -50), zel_test::rawWords(raw))).bytes);
    ZELReadLine(file.get());
    const Values values = valuesOf(file, 0);
    for (std::size_t i = 0; i < raw.size(); ++i)
        EXPECT_NEAR(values[i], -50.0 + raw[i] * 150.0 / 65535.0, 1e-5) << raw[i];
    EXPECT_EQ(values[0], -50.0f);
    EXPECT_EQ(values[4], -20.0f);
    EXPECT_EQ(values[8], 100.0f);
}

// 16777217 is no float: the range is 16777216, of which the last entry lies 1 below.
TEST(ReadLine, TheRangeIsASinglePrecisionDifference)
{
    OpenedFile bytes(build(sceneOf(zel_test::channel(1, "c", 16777216, -1), {0, 255})).bytes);
    ZELReadLine(bytes.get());
    EXPECT_EQ(valuesOf(bytes, 0), (Values{-1, 16777215}));
    OpenedFile words(
        build(sceneOf(zel_test::channel(2, "c", 16777216, -1), zel_test::rawWords({0, 65535})))
            .bytes);
    ZELReadLine(words.get());
    EXPECT_EQ(valuesOf(words, 0), (Values{-1, 16777215}));
}

TEST(ReadLine, ARangeThatRunsDownwardsIsReadAsItStands)
{
    OpenedFile file(build(sceneOf(zel_test::channel(1, "c", 0, 255), {0, 55, 255})).bytes);
    ZELReadLine(file.get());
    EXPECT_EQ(valuesOf(file, 0), (Values{255, 200, 0}));
}

TEST(ReadLine, UnscaledBytesAreUnsigned)
{
    OpenedFile file(build(sceneOf(zel_test::channel(3, "c", 1, 0), {0, 127, 128, 255})).bytes);
    ZELReadLine(file.get());
    EXPECT_EQ(valuesOf(file, 0), (Values{0, 127, 128, 255}));
}

TEST(ReadLine, UnscaledWordsAreUnsigned)
{
    const Bytes stored = zel_test::rawWords({0, 258, 32767, 32768, 65535});
    OpenedFile file(build(sceneOf(zel_test::channel(5, "c", 1, 0), stored)).bytes);
    ZELReadLine(file.get());
    EXPECT_EQ(valuesOf(file, 0), (Values{0, 258, 32767, 32768, 65535}));
}

TEST(ReadLine, FloatsAreTakenBitByBit)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const Values stored = {0,      -1.5f,    3.4028235e+38f,
                           1e-40f, infinity, std::numeric_limits<float>::quiet_NaN()};
    OpenedFile file(
        build(sceneOf(zel_test::channel(4, "c", 1, 0), zel_test::rawFloats(stored))).bytes);
    ZELReadLine(file.get());
    EXPECT_EQ(std::memcmp(file->Channels[0].ChannelData, stored.data(), 4 * stored.size()), 0);
}

TEST(ReadLine, KeepsTheStoredFormBesideTheValues)
{
    OpenedFile file(build(smallScene()).bytes);
    EXPECT_EQ(ZELReadLine(file.get()), 4);
    EXPECT_EQ(storedOf(file, 0), (Bytes{11, 12, 13, 14}));
    EXPECT_EQ(storedOf(file, 2), zel_test::rawWords({1000, 2000, 40000, 3}));
    EXPECT_EQ(valuesOf(file, 0), (Values{11, 12, 13, 14}));
    EXPECT_EQ(valuesOf(file, 2), (Values{1000, 2000, 40000, 3}));
}

TEST(ReadLine, WithoutScalingOnlyTheStoredFormIsFilled)
{
    OpenedFile file(build(smallScene()).bytes);
    EXPECT_EQ(ZELReadLineNoScale(file.get()), 4);
    EXPECT_EQ(storedOf(file, 2), zel_test::rawWords({1000, 2000, 40000, 3}));
    EXPECT_EQ(valuesOf(file, 0), (Values{0, 0, 0, 0}));
    EXPECT_EQ(valuesOf(file, 2), (Values{0, 0, 0, 0}));
}

TEST(ReadLine, FillsTheFieldsOfTheLine)
{
    OpenedFile file(build(smallScene()).bytes);
    ZELReadLine(file.get());
    EXPECT_EQ(file->ScanTime, 10.25);
    EXPECT_EQ(file->ScanAltitude, 700.5f);
    EXPECT_EQ(file->LeftPixel, 1);
    EXPECT_EQ(file->RightPixel, 2);
    EXPECT_EQ(file->NadirPixel, 0);
    EXPECT_EQ(file->NadirLat, 45.5f);
    EXPECT_EQ(file->NadirLon, -120.25f);
    EXPECT_EQ(Values(file->LatBuffer, file->LatBuffer + 2), (Values{40.0f, 41.5f}));
    EXPECT_EQ(Values(file->LonBuffer, file->LonBuffer + 2), (Values{-100.0f, -98.5f}));
    ZELReadLine(file.get());
    EXPECT_EQ(file->ScanTime, 11.25);
    EXPECT_EQ(file->ScanAltitude, 701.5f);
    EXPECT_EQ(file->NadirPixel, 1);
}

class LineFieldsOf : public testing::TestWithParam<int> {};

TEST_P(LineFieldsOf, AnOldVersionHaveDefaultsOrStayWhereTheyAreNotStored)
{
    const int version = GetParam();
    OpenedFile file(build(smallScene(version)).bytes);
    file->ScanAltitude = file->NadirLat = file->NadirLon = 77;
    EXPECT_EQ(ZELReadLine(file.get()), 4);
    EXPECT_EQ(file->ScanTime, 10.25);
    EXPECT_EQ(file->ScanAltitude, version >= 131 ? 700.5f : 0.0f);
    EXPECT_EQ(file->LeftPixel, version >= 201 ? 1 : 0);
    EXPECT_EQ(file->RightPixel, version >= 201 ? 2 : 3);
    EXPECT_EQ(file->NadirPixel, version >= 201 ? 0 : 1);
    EXPECT_EQ(file->NadirLat, version >= 221 ? 45.5f : 77.0f);
    EXPECT_EQ(file->NadirLon, version >= 221 ? -120.25f : 77.0f);
    EXPECT_EQ(file->LatBuffer[1], 41.5f);
    EXPECT_EQ(storedOf(file, 2), zel_test::rawWords({1000, 2000, 40000, 3}));
}

INSTANTIATE_TEST_SUITE_P(Versions, LineFieldsOf,
                         testing::Values(111, 130, 131, 142, 200, 201, 220, 221, 230));

TEST(ReadLine, AdvancesAndRemembersTheLineItHolds)
{
    OpenedFile file(build(smallScene()).bytes);
    EXPECT_EQ(file->CurrentLine, 0);
    EXPECT_EQ(file->PreviousLine, -2);
    ZELReadLine(file.get());
    EXPECT_EQ(file->CurrentLine, 1);
    EXPECT_EQ(file->PreviousLine, 0);
    ZELReadLine(file.get());
    EXPECT_EQ(file->CurrentLine, 2);
    EXPECT_EQ(file->PreviousLine, 1);
}

TEST(ReadLine, ClearsPositionsAndAnglesOfTheLineBefore)
{
    OpenedFile file(build(smallScene()).bytes);
    file->LatLonInterpolated = file->SolarAnglesCalculated = 1;
    ZELReadLine(file.get());
    EXPECT_EQ(file->LatLonInterpolated, 0);
    EXPECT_EQ(file->SolarAnglesCalculated, 0);
}

TEST(ReadLine, AfterTheLastLineReturnsZeroAndDoesNotAdvance)
{
    OpenedFile file(build(smallScene()).bytes);
    EXPECT_EQ(ZELReadLine(file.get()), 4);
    EXPECT_EQ(ZELReadLine(file.get()), 4);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ZELReadLine(file.get()), 0);
        EXPECT_EQ(ZELReadLineNoScale(file.get()), 0);
        EXPECT_EQ(file->CurrentLine, 2);
    }
}

TEST(ReadLine, AFileWithoutLinesReturnsZero)
{
    Scene scene = smallScene();
    scene.lines.clear();
    OpenedFile file(build(scene).bytes);
    EXPECT_EQ(ZELReadLine(file.get()), 0);
}

TEST(ReadLine, ATrailingPartialLineIsNotRead)
{
    const zel_test::BuiltFile built = build(smallScene());
    for (const std::size_t extra : {std::size_t{1}, std::size_t{20}, built.lineSize - 1}) {
        Bytes bytes = built.bytes;
        bytes.resize(bytes.size() + extra, 7);
        OpenedFile file(bytes);
        EXPECT_EQ(file->NumLines, 2) << extra;
        EXPECT_EQ(ZELReadLine(file.get()), 4) << extra;
        EXPECT_EQ(ZELReadLine(file.get()), 4) << extra;
        const auto outcome = run([&] { EXPECT_EQ(ZELReadLine(file.get()), 0) << extra; });
        EXPECT_FALSE(outcome.ended) << extra;
        EXPECT_EQ(outcome.out, "") << extra;
    }
}

// A scene whose line n holds the byte n, long enough that a stream does not hold it whole.
Scene manyLines(int lines)
{
    Scene scene = smallScene();
    scene.pixels = 500;
    scene.slots = {zel_test::channel(3, "n")};
    scene.lines.resize(1);
    for (int n = 0; n < lines; ++n) {
        zel_test::Line line;
        line.scanTime = 1 + n;
        line.pixels[0] = Bytes(500, static_cast<unsigned char>(n));
        if (n == 0)
            scene.lines[0] = line;
        else
            scene.lines.push_back(line);
    }
    return scene;
}

TEST(ReadLine, AFileThatEndsInsideALineEndsTheProcess)
{
    const zel_test::BuiltFile built = build(manyLines(200));
    for (const char* field : {"ScanAltitude", "latitudes", "channel[0]"}) {
        OpenedFile file(built.bytes);
        const std::size_t size = built.offset(std::string("line[150].") + field) + 2;
        std::filesystem::resize_file(file.path(), size);
        for (int n = 0; n < 150; ++n) ASSERT_EQ(ZELReadLine(file.get()), 500);
        const auto outcome = run([&] { ZELReadLine(file.get()); });
        EXPECT_TRUE(outcome.ended) << field;
        EXPECT_EQ(outcome.status, -1) << field;
        const std::string message =
            "ZELReadLine: read error on file " + file.path() + ", line 150: ";
        EXPECT_EQ(outcome.out.substr(0, message.size()), message);
        EXPECT_TRUE(outcome.out.ends_with("\n"));
    }
}

TEST(ReadLine, AFileThatWasCutBetweenLinesEndsThere)
{
    const zel_test::BuiltFile built = build(manyLines(200));
    OpenedFile file(built.bytes);
    std::filesystem::resize_file(file.path(), built.offset("line[150].ScanTime"));
    for (int n = 0; n < 150; ++n) ASSERT_EQ(ZELReadLine(file.get()), 500);
    int result = 99;
    const auto outcome = run([&] { result = ZELReadLine(file.get()); });
    EXPECT_FALSE(outcome.ended) << outcome.out;
    EXPECT_EQ(result, 0);
    EXPECT_EQ(file->CurrentLine, 150);
}

TEST(ReadLine, GoesToTheCurrentLine)
{
    OpenedFile file(build(manyLines(60)).bytes);
    for (const int line : {40, 7, 8, 59, 0, 58}) {
        EXPECT_EQ(ZELSetCurrentLine(file.get(), line), line);
        EXPECT_EQ(ZELReadLine(file.get()), 500);
        EXPECT_EQ(file->ScanTime, 1.0 + line);
        EXPECT_EQ(valuesOf(file, 0), Values(500, static_cast<float>(line)));
        EXPECT_EQ(file->CurrentLine, line + 1);
    }
}

TEST(ReadLine, OneLineAfterTheOtherIsReadWithoutASeek)
{
    OpenedFile file(build(manyLines(60)).bytes);
    const zel_test::CountedSeeks seeks;
    ZELReadLine(file.get());
    EXPECT_EQ(seeks.count(), 1);  // to the end of the header, whatever has been read since
    while (ZELReadLine(file.get()) != 0) EXPECT_EQ(seeks.count(), 1) << file->CurrentLine;
    EXPECT_EQ(file->CurrentLine, 60);
    ZELSetCurrentLine(file.get(), 7);
    ZELReadLine(file.get());
    EXPECT_EQ(seeks.count(), 2);
}

TEST(ReadLine, CountsLinesFromTheStartOfAComponent)
{
    const Scene scene = manyLines(5);
    const int size = static_cast<int>(build(scene).bytes.size());
    const zel_test::TempDir dir;
    const std::string path = dir.path("two.zel");
    Scene second = scene;
    for (zel_test::Line& line : second.lines) line.scanTime += 100;
    zel_test::writeFile(path, zel_test::buildComposite({scene, second}));
    auto record = zel_test::junkRecord();
    run([&] { ASSERT_EQ(OpenReadOnlyFile(record.get(), path.c_str(), size, size), 0); });
    EXPECT_EQ(record->NumLines, 5);
    ZELSetCurrentLine(record.get(), 3);
    EXPECT_EQ(ZELReadLine(record.get()), 500);
    EXPECT_EQ(record->ScanTime, 104.0);
    run([&] { ZELFinishReadingFile(record.get()); });
}

TEST(HeldLine, SettingTheLineBackReturnsTheBuffersAsTheyAre)
{
    OpenedFile file(build(smallScene()).bytes);
    ZELReadLine(file.get());
    file->Channels[0].ChannelData[1] = 99;
    file->PixBuf[0][2] = 98;
    file->ScanTime = 97;
    file->LatLonInterpolated = file->SolarAnglesCalculated = 1;
    ZELSetCurrentLine(file.get(), 0);
    EXPECT_EQ(ZELReadLine(file.get()), 4);
    EXPECT_EQ(file->CurrentLine, 1);
    EXPECT_EQ(valuesOf(file, 0), (Values{11, 99, 13, 14}));
    EXPECT_EQ(storedOf(file, 0), (Bytes{11, 12, 98, 14}));
    EXPECT_EQ(file->ScanTime, 97);
    EXPECT_EQ(file->LatLonInterpolated, 1);
    EXPECT_EQ(file->SolarAnglesCalculated, 1);
}

TEST(HeldLine, ALineReadWithoutScalingStaysUnscaled)
{
    OpenedFile file(build(smallScene()).bytes);
    ZELReadLineNoScale(file.get());
    ZELSetCurrentLine(file.get(), 0);
    run([&] { EXPECT_EQ(ZELReadLine(file.get()), 4); });
    EXPECT_EQ(valuesOf(file, 0), (Values{0, 0, 0, 0}));
}

TEST(HeldLine, ThatItsValuesAreNotFilledIsReportedOnce)
{
    OpenedFile file(build(smallScene()).bytes);
    ZELReadLineNoScale(file.get());
    for (const std::string& warning :
         {"ZELReadLine: warning: line 0 of file " + file.path() +
              " is held as it was read without scaling: its values are not filled\n",
          std::string()}) {
        ZELSetCurrentLine(file.get(), 0);
        EXPECT_EQ(run([&] { ZELReadLine(file.get()); }).err, warning);
    }
}

TEST(HeldLine, IsNotWarnedOfWhereItsValuesAreFilledOrNotAskedFor)
{
    OpenedFile file(build(smallScene()).bytes);
    const auto outcome = run([&] {
        ZELReadLineNoScale(file.get());
        ZELSetCurrentLine(file.get(), 0);
        ZELReadLineNoScale(file.get());
        ZELReadLine(file.get());
        ZELSetCurrentLine(file.get(), 1);
        ZELReadLine(file.get());
        ZELSetCurrentLine(file.get(), 0);
        ZELReadLine(file.get());
    });
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(valuesOf(file, 0), (Values{11, 12, 13, 14}));
}

TEST(HeldLine, TheLineAfterItIsReadFromTheFile)
{
    OpenedFile file(build(smallScene()).bytes);
    ZELReadLine(file.get());
    ZELSetCurrentLine(file.get(), 0);
    ZELReadLine(file.get());
    EXPECT_EQ(ZELReadLine(file.get()), 4);
    EXPECT_EQ(file->ScanTime, 11.25);
    EXPECT_EQ(storedOf(file, 0), (Bytes{11, 12, 13, 15}));
}

TEST(SkipLines, ReturnsTheNewLine)
{
    OpenedFile file(build(manyLines(10)).bytes);
    EXPECT_EQ(ZELSkipLines(file.get(), 4), 4);
    EXPECT_EQ(ZELSkipLines(file.get(), 3), 7);
    EXPECT_EQ(ZELReadLine(file.get()), 500);
    EXPECT_EQ(file->ScanTime, 8.0);
    EXPECT_EQ(ZELSkipLines(file.get(), -6), 2);
    EXPECT_EQ(ZELReadLine(file.get()), 500);
    EXPECT_EQ(file->ScanTime, 3.0);
}

TEST(SkipLines, PastTheEndStopsThereAndReturnsMinusOne)
{
    for (const int n : {10, 11, 2147483647}) {
        OpenedFile file(build(manyLines(10)).bytes);
        EXPECT_EQ(ZELSkipLines(file.get(), n), -1);
        EXPECT_EQ(file->CurrentLine, 10);
        EXPECT_EQ(ZELReadLine(file.get()), 0);
    }
    OpenedFile file(build(manyLines(10)).bytes);
    EXPECT_EQ(ZELSkipLines(file.get(), 9), 9) << "the last line is no end";
    EXPECT_EQ(ZELSkipLines(file.get(), 2147483647), -1);
    EXPECT_EQ(file->CurrentLine, 10);
}

TEST(SetCurrentLine, PastTheEndStopsThereAndReturnsMinusOne)
{
    OpenedFile file(build(manyLines(10)).bytes);
    EXPECT_EQ(ZELSetCurrentLine(file.get(), 9), 9);
    EXPECT_EQ(ZELSetCurrentLine(file.get(), 10), -1);
    EXPECT_EQ(file->CurrentLine, 10);
    EXPECT_EQ(ZELReadLine(file.get()), 0);
    EXPECT_EQ(ZELSetCurrentLine(file.get(), 5000), -1);
    EXPECT_EQ(file->CurrentLine, 10);
}

TEST(SetCurrentLine, BeforeTheFirstLineIsRefused)
{
    OpenedFile file(build(manyLines(10)).bytes);
    ZELSetCurrentLine(file.get(), 5);
    EXPECT_EQ(ZELSetCurrentLine(file.get(), -1), -1);
    EXPECT_EQ(file->CurrentLine, 5);
    EXPECT_EQ(ZELSkipLines(file.get(), -6), -1);
    EXPECT_EQ(file->CurrentLine, 5);
}

void expectRefused(const std::string& message, void (*call)(ZELType*))
{
    zel_test::Writer writer;
    writer.open();
    const auto outcome = run([&] { call(writer.get()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, message);
}

TEST(WriteOnlyRecord, CannotBeRead)
{
    const std::string message = "ZELReadLine can only be used on a read only ZEL file\n";
    expectRefused(message, [](ZELType* record) { ZELReadLine(record); });
    expectRefused(message, [](ZELType* record) { ZELReadLineNoScale(record); });
    expectRefused(message, [](ZELType* record) { ReadLine(record, 1); });
}

TEST(WriteOnlyRecord, CannotSkipOrSetItsLine)
{
    expectRefused("CSkipLines can only be used on a read only ZEL file\n",
                  [](ZELType* record) { ZELSkipLines(record, 1); });
    expectRefused("ZELSetCurrentLine can only be used on a read only ZEL file\n",
                  [](ZELType* record) { ZELSetCurrentLine(record, 1); });
}

TEST(CompositeRecord, WithoutComponentsCannotBeRead)
{
    auto record = zel_test::zeroRecord();
    record->ReadWriteFlag = 1;
    record->numZELComponents = 2;
    const auto scaled = run([&] { ZELReadLine(record.get()); });
    EXPECT_TRUE(scaled.ended);
    EXPECT_EQ(scaled.status, -1);
    EXPECT_EQ(scaled.out, "ZELReadLine: Error NULL ZELComponent\n");
    const auto stored = run([&] { ZELReadLineNoScale(record.get()); });
    EXPECT_TRUE(stored.ended);
    EXPECT_EQ(stored.status, -1);
    EXPECT_EQ(stored.out, "ZELReadLineNoScale: Error NULL ZELComponent\n");
}

TEST(ReadLine, FollowsAnotherWhenTheLastChannelWasDeleted)
{
    OpenedFile file(build(smallScene()).bytes);
    ZELDeleteChannel(file.get(), 2);
    ASSERT_EQ(ZELReadLine(file.get()), 4);
    EXPECT_EQ(valuesOf(file, 0), (Values{11, 12, 13, 14}));
    ASSERT_EQ(ZELReadLine(file.get()), 4);
    EXPECT_EQ(valuesOf(file, 0), (Values{11, 12, 13, 15}));
    EXPECT_EQ(file->ScanTime, 11.25);
}

}  // namespace
