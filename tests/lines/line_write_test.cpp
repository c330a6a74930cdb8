// Writing lines: how values become stored bytes, and what is left for the next line.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "support/file_builder.hpp"
#include "support/file_size_limit.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::Bytes;
using zel_test::rawFloats;
using zel_test::rawWords;
using zel_test::run;
using zel_test::Writer;

using Values = std::vector<float>;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

// What became of a line of values in a channel of that storage code and range.
struct Written {
    Bytes stored;   // in the file
    Values values;  // in ChannelData afterwards
};

Written write(int storageCode, float max, float min, const Values& values)
{
    Writer writer(static_cast<int>(values.size()), 0, 1);
    writer.add(0, storageCode, max, min);
    ZELSetHistogramFlag(writer.get(), 0);
    writer.open();
    writer.load(0, values);
    EXPECT_FALSE(writer.write().ended);
    const float* data = writer.slot(0).ChannelData;
    Written written;
    written.values.assign(data, data + values.size());
    const Bytes line = writer.lineBytes();
    written.stored.assign(line.begin() + 32, line.end());
    return written;
}

TEST(WriteByteScaled, TheBoundsAreTheEndsOfTheRange)
{
    EXPECT_EQ(write(1, 330, 180, {180, 330}).stored, (Bytes{0, 255}));
}

TEST(WriteByteScaled, JustBelowTheMaximumIsTruncatedTo254)
{
    EXPECT_EQ(write(1, 255, 0, {std::nextafter(255.0f, 0.0f), 254.9f, 254.0001f}).stored,
              (Bytes{254, 254, 254}));
}

TEST(WriteByteScaled, TheMaximumReadsBackAsTheMaximum)
{
    Writer writer(2, 0, 1);
    writer.add(0, 1, 330.1f, 180.7f);
    writer.open();
    writer.load(0, {330.1f, 180.7f});
    writer.write();
    writer.finish();
    zel_test::OpenedFile file(writer.bytes());
    ZELReadLine(file.get());
    EXPECT_FLOAT_EQ(file->Channels[0].ChannelData[0], 330.1f);
    EXPECT_FLOAT_EQ(file->Channels[0].ChannelData[1], 180.7f);
}

TEST(WriteByteScaled, IsTruncatedAndNeverRounded)
{
    EXPECT_EQ(write(1, 255, 0, {0.99f, 1.01f, 1.99f, 127.5f, 200.999f}).stored,
              (Bytes{0, 1, 1, 127, 200}));
}

// The ratio is rounded to a float before it is multiplied, which matters near whole steps.
TEST(WriteByteScaled, TheRatioIsHeldInSinglePrecision)
{
    Values values;
    Bytes expected;
    int telling = 0;
    for (int k = 1; k < 255; ++k) {
        const float step = static_cast<float>(k) * 254.0f / 255.0f;
        for (const float value : {std::nextafter(step, 0.0f), step, std::nextafter(step, 300.0f)}) {
            values.push_back(value);
            const float ratio = value / 254.0f;
            const int stored = static_cast<int>(static_cast<double>(ratio) * 255.0);
            expected.push_back(static_cast<unsigned char>(stored));
            telling += stored != static_cast<int>(static_cast<double>(value) / 254.0 * 255.0);
        }
    }
    ASSERT_GT(telling, 10);
    EXPECT_EQ(write(1, 254, 0, values).stored, expected);
}

TEST(WriteByteScaled, ClampsAndChangesTheCallersValues)
{
    const Written written = write(1, 330, 180, {-infinity, 179.9f, 255, 330.1f, infinity});
    EXPECT_EQ(written.stored, (Bytes{0, 0, 127, 255, 255}));
    EXPECT_EQ(written.values, (Values{180, 180, 255, 330, 330}));
}

TEST(WriteWordScaled, TheBoundsAreTheEndsOfTheRange)
{
    EXPECT_EQ(write(2, 330, 180, {180, 330, 255}).stored, rawWords({0, 65535, 32767}));
}

TEST(WriteWordScaled, IsTruncatedAndNeverRounded)
{
    EXPECT_EQ(write(2, 65535, 0, {0.99f, 1.01f, 256.75f, 65534.5f}).stored,
              rawWords({0, 1, 256, 65534}));
}

TEST(WriteWordScaled, TheRatioIsHeldInSinglePrecision)
{
    Values values;
    std::vector<int> expected;
    int below = 0;
    for (int k = 0; k < 65535; k += 7) {
        values.push_back(static_cast<float>(k));
        const float ratio = static_cast<float>(k) / 65535.0f;
        expected.push_back(static_cast<int>(static_cast<double>(ratio) * 65535.0));
        below += expected.back() == k - 1;
    }
    ASSERT_GT(below, 100);
    EXPECT_EQ(write(2, 65535, 0, values).stored, rawWords(expected));
}

TEST(WriteWordScaled, ClampsAndChangesTheCallersValues)
{
    const Written written = write(2, 10, -10, {-11, -10, 0, 10, 11});
    EXPECT_EQ(written.stored, rawWords({0, 0, 32767, 65535, 65535}));
    EXPECT_EQ(written.values, (Values{-10, -10, 0, 10, 10}));
}

TEST(WriteByte, IsTruncatedTowardsZero)
{
    EXPECT_EQ(write(3, 0, 0, {0, 0.99f, 1.5f, 254.999f, 255, -0.99f}).stored,
              (Bytes{0, 0, 1, 254, 255, 0}));
}

TEST(WriteByte, IsNotClampedAndWraps)
{
    const Written written = write(3, 200, 100, {256, 257.9f, 511, 512, -1, -255.5f, 70000});
    EXPECT_EQ(written.stored, (Bytes{0, 1, 255, 0, 255, 1, 112}));  // 70000 = 273 * 256 + 112
    EXPECT_EQ(written.values, (Values{256, 257.9f, 511, 512, -1, -255.5f, 70000}));
}

TEST(WriteWord, IsTruncatedTowardsZero)
{
    EXPECT_EQ(write(5, 0, 0, {0.99f, 1.5f, 65534.9f, 65535, -0.99f}).stored,
              rawWords({0, 1, 65534, 65535, 0}));
}

TEST(WriteWord, IsNotClampedAndWraps)
{
    const Written written = write(5, 200, 100, {65536, 65537.5f, 131071, -1, -65535, 1000000});
    EXPECT_EQ(written.stored, rawWords({0, 1, 65535, 65535, 1, 16960}));  // 15 * 65536 + 16960
    EXPECT_EQ(written.values[0], 65536.0f);
}

TEST(WriteFloat, IsStoredBitByBit)
{
    const Values values = {0, -0.0f, 1.5f, 3.4028235e+38f, 1e-40f, infinity, notANumber};
    EXPECT_EQ(write(4, 0, 0, values).stored, rawFloats(values));
}

TEST(WriteFloat, IsClampedWhenTheRangeHasAWidth)
{
    const Written written = write(4, 10, -10, {-infinity, -10.5f, 0.1f, 10.5f, infinity});
    EXPECT_EQ(written.stored, rawFloats({-10, -10, 0.1f, 10, 10}));
    EXPECT_EQ(written.values, (Values{-10, -10, 0.1f, 10, 10}));
}

// Zeros of both signs are equal: neither is beyond the other.
TEST(WriteFloat, AZeroAtABoundKeepsItsSign)
{
    EXPECT_EQ(write(4, 0, -10, {-0.0f, 0.0f}).stored, rawFloats({-0.0f, 0.0f}));
    EXPECT_EQ(write(4, 10, 0, {-0.0f, 0.0f}).stored, rawFloats({-0.0f, 0.0f}));
}

TEST(WriteFloat, IsNotClampedWhenTheRangeHasNone)
{
    EXPECT_EQ(write(4, 5, 5, {-11, 11}).stored, rawFloats({-11, 11}));
    EXPECT_EQ(write(4, -10, 10, {-11, 11}).stored, rawFloats({-11, 11})) << "maximum below minimum";
}

TEST(WriteFloat, ANotANumberPassesTheClamp)
{
    EXPECT_EQ(write(4, 10, -10, {notANumber}).stored, rawFloats({notANumber}));
}

class WriteNotANumber : public testing::TestWithParam<int> {};

TEST_P(WriteNotANumber, LeavesTheNeighboursAlone)
{
    const Written written = write(GetParam(), 255, 0, {0, notANumber, 255});
    EXPECT_TRUE(std::isnan(written.values[1])) << "it is below nothing and above nothing";
    const std::size_t size = written.stored.size() / 3;
    EXPECT_EQ(Bytes(written.stored.begin(), written.stored.begin() + static_cast<long>(size)),
              Bytes(size, 0));
    EXPECT_EQ(written.stored[2 * size], 255);
}

INSTANTIATE_TEST_SUITE_P(Codes, WriteNotANumber, testing::Values(1, 2, 3, 5));

TEST(WriteScaled, ARangeWithoutWidthDoesNoHarm)
{
    for (const int code : {1, 2}) {
        const Written written = write(code, 7, 7, {6, 7, 8});
        EXPECT_EQ(written.values, (Values{7, 7, 7})) << code;
    }
}

TEST(WriteLine, BeforeAnythingIsLoadedZerosAreWritten)
{
    Writer writer(3, 0, 2);
    writer.add(0, 1, 330, 180);
    writer.add(1, 5, 0, 0);
    writer.open();
    writer.write();
    const Bytes line = writer.lineBytes();
    EXPECT_EQ(Bytes(line.begin() + 32, line.end()), Bytes(9, 0));
}

TEST(WriteLine, AChannelThatIsNotLoadedRepeatsItsStoredLine)
{
    Writer writer(3, 0, 2);
    writer.add(0, 3, 0, 0);
    writer.add(1, 3, 0, 0);
    writer.open();
    writer.load(0, {1, 2, 3});
    writer.load(1, {4, 5, 6});
    writer.write();
    writer.load(1, {7, 8, 9});
    writer.write();
    writer.write();
    const Bytes lines = writer.lineBytes();
    ASSERT_EQ(lines.size(), 3 * 38u);
    EXPECT_EQ(Bytes(lines.begin() + 32, lines.begin() + 38), (Bytes{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(Bytes(lines.begin() + 70, lines.begin() + 76), (Bytes{1, 2, 3, 7, 8, 9}));
    EXPECT_EQ(Bytes(lines.begin() + 108, lines.begin() + 114), (Bytes{1, 2, 3, 7, 8, 9}));
}

TEST(WriteLine, ValuesChangedAfterTheirLineWereNotLoaded)
{
    Writer writer(3, 0, 1);
    writer.add(0, 3, 0, 0);
    writer.open();
    writer.load(0, {1, 2, 3});
    EXPECT_EQ(writer.slot(0).LoadChannelFlag, 1);
    writer.write();
    EXPECT_EQ(writer.slot(0).LoadChannelFlag, 0);
    writer.slot(0).ChannelData[0] = 200;
    writer.write();
    const Bytes lines = writer.lineBytes();
    EXPECT_EQ(Bytes(lines.begin() + 35 + 32, lines.end()), (Bytes{1, 2, 3}));
}

TEST(WriteLine, ResetsAltitudePaddingAndNadirPixelForTheNextLine)
{
    Writer writer(5, 2, 1);
    writer.open();
    const float lats[] = {1, 2}, lons[] = {3, 4};
    ZELLoadNavigation(writer.get(), 13.5, lats, lons);
    ZELSetScanAltitude(writer.get(), 700);
    ZELSetPadding(writer.get(), 1, 2);
    ZELSetNadirPixel(writer.get(), -9);
    ZELSetNadirLatLon(writer.get(), 45, 46);
    writer.write();
    EXPECT_EQ(writer->ScanAltitude, 0.0f);
    EXPECT_EQ(writer->LeftPixel, 0);
    EXPECT_EQ(writer->RightPixel, 4);
    EXPECT_EQ(writer->NadirPixel, 1);  // 5 / 2 - 1
    EXPECT_EQ(writer->ScanTime, 13.5) << "the rest stays";
    EXPECT_EQ(writer->NadirLat, 45.0f);
    EXPECT_EQ(writer->NadirLon, 46.0f);
    EXPECT_EQ(writer->LatBuffer[1], 2.0f);
}

TEST(WriteLine, EachLineRecordIsThatOfTheFormat)
{
    Writer writer(3, 2, 2);
    writer.add(0, 5, 0, 0);
    writer.add(1, 4, 0, 0);
    writer.open();
    const float lats[] = {1.5f, 2.5f}, lons[] = {3.5f, -4.5f};
    ZELLoadNavigation(writer.get(), 13.5, lats, lons);
    ZELSetScanAltitude(writer.get(), 700);
    ZELSetPadding(writer.get(), 1, 1);
    ZELSetNadirPixel(writer.get(), 2);
    ZELSetNadirLatLon(writer.get(), 45, 46);
    writer.load(0, {1, 256, 65535});
    writer.load(1, {1, -2, 0.5f});
    writer.write();
    const float moreLats[] = {5, 6}, moreLons[] = {7, 8};
    ZELLoadNavigation(writer.get(), 13.75, moreLats, moreLons);
    writer.write();
    // doubles 13.5 and 13.75; floats 700, 45, 46; 1.5 2.5 3.5 -4.5; 5 6 7 8
    const Bytes first = {
        0,    0,    0,    0, 0,    0,    0x2b, 0x40, 0,    0,    0x2f, 0x44, 1,    0,    0,    0, 1,
        0,    0,    0,    2, 0,    0,    0,    0,    0,    0x34, 0x42, 0,    0,    0x38, 0x42, 0, 0,
        0xc0, 0x3f, 0,    0, 0x20, 0x40, 0,    0,    0x60, 0x40, 0,    0,    0x90, 0xc0, 1,    0, 0,
        1,    0xff, 0xff, 0, 0,    0x80, 0x3f, 0,    0,    0,    0xc0, 0,    0,    0,    0x3f};
    const Bytes second = {
        0,    0,    0,    0, 0,    0x80, 0x2b, 0x40, 0,    0,    0,    0, 0, 0,    0,    0, 2,
        0,    0,    0,    0, 0,    0,    0,    0,    0,    0x34, 0x42, 0, 0, 0x38, 0x42, 0, 0,
        0xa0, 0x40, 0,    0, 0xc0, 0x40, 0,    0,    0xe0, 0x40, 0,    0, 0, 0x41, 1,    0, 0,
        1,    0xff, 0xff, 0, 0,    0x80, 0x3f, 0,    0,    0,    0xc0, 0, 0, 0,    0x3f};
    const Bytes lines = writer.lineBytes();
    ASSERT_EQ(lines.size(), 2 * 66u);
    EXPECT_EQ(writer->LineOffset, 66);
    EXPECT_EQ(Bytes(lines.begin(), lines.begin() + 66), first);
    EXPECT_EQ(Bytes(lines.begin() + 66, lines.end()), second);
}

TEST(WriteLine, CountsTheLines)
{
    Writer writer;
    writer.open();
    for (int line = 1; line <= 3; ++line) {
        writer.write();
        EXPECT_EQ(writer->CurrentLine, line);
        EXPECT_EQ(writer->NumLines, line);
    }
}

TEST(WriteLine, ClearsPositionsAndAngles)
{
    Writer writer;
    writer.add(0, 3, 0, 0);
    ZELSetHistogramFlag(writer.get(), 0);
    writer.open();
    writer->LatLonInterpolated = writer->SolarAnglesCalculated = 1;
    writer.write();
    EXPECT_EQ(writer->LatLonInterpolated, 0);
    EXPECT_EQ(writer->SolarAnglesCalculated, 0);
}

TEST(WriteLine, TheHistogramOfALineUsesTheLinesOwnPosition)
{
    Writer writer(4, 4, 1);
    writer.add(0, 4, 0, 0);
    writer.open();
    for (const float lat : {10.0f, 91.0f, 20.0f}) {  // the second line lies nowhere
        const float lats[] = {lat, lat, lat, lat}, lons[4] = {};
        ZELLoadNavigation(writer.get(), 12, lats, lons);
        writer.load(0, {1, 2, 3, 4});
        writer.write();
    }
    EXPECT_EQ(writer.slot(0).ChannelHistogram->NumPixels, 6.0f);
    ZELClearBadLatLonCount();
}

TEST(WriteLine, IsRefusedOnAReadOnlyRecord)
{
    zel_test::OpenedFile file(build(zel_test::smallScene()).bytes);
    const auto outcome = run([&] { ZELWriteLine(file.get()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELWriteLine can only be used on a write only ZEL file\n");
}

TEST(WriteLine, EndsTheProcessWhenTheFileCannotGrow)
{
    Writer writer(10000, 0, 1);
    writer.add(0, 4, 0, 0);
    writer.open();
    zel_test::Outcome first, outcome;
    {
        const zel_test::FileSizeLimit limit(static_cast<rlim_t>(writer->HeaderOffset) + 50000);
        first = writer.write();  // 40,032 bytes
        outcome = run([&] {
            for (int line = 0; line < 100; ++line) ZELWriteLine(writer.get());
        });
    }
    EXPECT_FALSE(first.ended);
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out,
              "ZELWriteLine: write error on file " + writer.path() + ": File too large\n");
}

// Lines are collected in a block of 64 KiB; a row of pixels may be larger than all of it.
TEST(WriteLine, RowsOfAnySizeAreWrittenInTheirOrder)
{
    constexpr int pixels = 32000;
    for (const bool swapped : {false, true}) {
        Writer writer(pixels, 0, 5);
        writer.add(0, ZEL_STORED_BYTE, 0, 0);
        writer.add(1, ZEL_STORED_UINT16, 0, 0);
        writer.add(2, ZEL_STORED_BYTE, 0, 0);
        writer.add(3, ZEL_STORED_BYTE, 0, 0);
        writer.add(4, ZEL_STORED_FLOAT, 0, 0);
        ZELSetHistogramFlag(writer.get(), 0);
        writer.open();
        Values values(pixels);
        for (int line = 0; line < 2; ++line) {
            for (int slot = 0; slot < 5; ++slot) {
                for (int x = 0; x < pixels; ++x)
                    values[static_cast<std::size_t>(x)] =
                        static_cast<float>((x + line * 7 + slot * 31) % 251);
                writer.load(slot, values);
            }
            if (swapped) SwapByteOrdering = !SwapByteOrdering;
            EXPECT_FALSE(writer.write().ended);
            if (swapped) SwapByteOrdering = !SwapByteOrdering;
        }
        const Bytes lines = writer.lineBytes();
        constexpr std::size_t lineSize = 32 + pixels * (1 + 2 + 1 + 1 + 4);
        ASSERT_EQ(lines.size(), 2 * lineSize);
        for (std::size_t line = 0; line < 2; ++line) {
            std::size_t place = line * lineSize + 32;
            for (std::size_t slot = 0; slot < 5; ++slot)
                for (std::size_t x = 0; x < pixels; ++x) {
                    const auto value = static_cast<unsigned char>((x + line * 7 + slot * 31) % 251);
                    Bytes stored = {value};
                    if (slot == 1) stored = rawWords({value});
                    if (slot == 4) stored = rawFloats({static_cast<float>(value)});
                    if (swapped) std::reverse(stored.begin(), stored.end());
                    for (const unsigned char byte : stored) {
                        if (lines[place] != byte) FAIL() << line << ' ' << slot << ' ' << x;
                        ++place;
                    }
                }
        }
    }
}

}  // namespace
