// Copying lines from file to file, and the plain fields of the current line.
#include <gtest/gtest.h>

#include <vector>

#include "support/file_builder.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::Bytes;
using zel_test::OpenedFile;
using zel_test::rawFloats;
using zel_test::rawWords;
using zel_test::Scene;
using zel_test::Writer;

using Values = std::vector<float>;

// Every raw byte once, and as many distinct words and floats.
constexpr int pixels = 256;

Bytes allBytes()
{
    Bytes bytes;
    for (int raw = 0; raw < pixels; ++raw) bytes.push_back(static_cast<unsigned char>(raw));
    return bytes;
}

Bytes manyWords()
{
    std::vector<int> words;
    for (int i = 0; i < pixels; ++i) words.push_back(i * 257);  // 0 to 65535
    return rawWords(words);
}

// One channel of each storage code in slots 0 to 4.
Scene everyCode()
{
    Scene scene;
    scene.pixels = pixels;
    scene.navPoints = 2;
    scene.navInterval = 255;
    for (int code = 1; code <= 5; ++code)
        scene.slots.push_back(zel_test::channel(code, "code", 330.1f, 180.7f));
    zel_test::Line line;
    line.scanTime = 13.5;
    line.altitude = 700.5f;
    line.left = 3;
    line.right = 200;
    line.nadir = -4;
    line.nadirLat = 45.5f;
    line.nadirLon = -120.25f;
    line.lats = {10, 11};
    line.lons = {20, 21};
    line.pixels[0] = line.pixels[2] = allBytes();
    line.pixels[1] = line.pixels[4] = manyWords();
    Values floats;
    for (int i = 0; i < pixels; ++i) floats.push_back(180.7f + 0.37f * static_cast<float>(i));
    line.pixels[3] = rawFloats(floats);
    scene.lines = {line};
    return scene;
}

// Five channels as in the scene, in a file that keeps no histograms.
void declareEveryCode(Writer& writer)
{
    for (int code = 1; code <= 5; ++code) writer.add(code - 1, code, 330.1f, 180.7f);
    ZELSetHistogramFlag(writer.get(), 0);
}

Bytes lineOf(const zel_test::BuiltFile& built)
{
    return {built.bytes.begin() + static_cast<long>(built.headerEnd), built.bytes.end()};
}

TEST(CopyLine, ALineIsCopiedByteForByte)
{
    const zel_test::BuiltFile built = build(everyCode());
    OpenedFile source(built.bytes);
    Writer writer(pixels, 2, 5);
    declareEveryCode(writer);
    writer.open();
    ZELReadLine(source.get());
    ZELCopyLine(writer.get(), source.get());
    writer.write();
    EXPECT_EQ(writer.lineBytes(), lineOf(built));
}

TEST(CopyLine, ALineReadWithoutScalingIsCopiedByteForByteToo)
{
    const zel_test::BuiltFile built = build(everyCode());
    OpenedFile source(built.bytes);
    Writer writer(pixels, 2, 5);
    declareEveryCode(writer);
    writer.open();
    ZELReadLineNoScale(source.get());
    ZELCopyLine(writer.get(), source.get());
    writer.write();
    EXPECT_EQ(writer.lineBytes(), lineOf(built));
}

TEST(CopyLine, TheStoredBytesAreKeptEvenWhenTheRangesDiffer)
{
    OpenedFile source(build(everyCode()).bytes);
    Writer writer(pixels, 2, 5);
    writer.add(0, 1, 1000.0f, 0.0f);
    ZELSetHistogramFlag(writer.get(), 0);
    writer.open();
    ZELReadLine(source.get());
    ZELCopyLine(writer.get(), source.get());
    writer.write();
    const Bytes line = writer.lineBytes();
    EXPECT_EQ(Bytes(line.begin() + 48, line.end()), allBytes());
}

TEST(CopyLine, CopiesTheFieldsOfTheLine)
{
    OpenedFile source(build(everyCode()).bytes);
    Writer writer(pixels, 2, 5);
    writer.open();
    ZELReadLine(source.get());
    ZELCopyLine(writer.get(), source.get());
    EXPECT_EQ(writer->ScanTime, 13.5);
    EXPECT_EQ(writer->ScanAltitude, 700.5f);
    EXPECT_EQ(writer->LeftPixel, 3);
    EXPECT_EQ(writer->RightPixel, 200);
    EXPECT_EQ(writer->NadirPixel, -4);
    EXPECT_EQ(writer->NadirLat, 45.5f);
    EXPECT_EQ(writer->NadirLon, -120.25f);
    EXPECT_EQ(Values(writer->LatBuffer, writer->LatBuffer + 2), (Values{10, 11}));
    EXPECT_EQ(Values(writer->LonBuffer, writer->LonBuffer + 2), (Values{20, 21}));
}

TEST(CopyLine, CopiesValuesAndStoredBytes)
{
    OpenedFile source(build(everyCode()).bytes);
    Writer writer(pixels, 2, 5);
    declareEveryCode(writer);
    writer.open();
    ZELReadLine(source.get());
    ZELCopyLine(writer.get(), source.get());
    for (int slot = 0; slot < 5; ++slot) {
        const float* from = source->Channels[slot].ChannelData;
        const float* to = writer.slot(slot).ChannelData;
        EXPECT_EQ(Values(to, to + pixels), Values(from, from + pixels)) << slot;
        EXPECT_EQ(writer.slot(slot).LoadChannelFlag, 0) << slot;
    }
    EXPECT_EQ(Bytes(writer->PixBuf[1], writer->PixBuf[1] + 2 * pixels), manyWords());
}

// Source slots 0 and 2, destination slots 0 and 1.
void copyBetweenDifferentSlots(void (*copy)(ZELType*, ZELType*))
{
    OpenedFile source(build(zel_test::smallScene()).bytes);
    Writer writer(4, 2, 3);
    writer.add(0, 3, 0, 0);
    writer.add(1, 3, 0, 0);
    ZELSetHistogramFlag(writer.get(), 0);
    writer.open();
    writer.load(1, {21, 22, 23, 24});
    ZELReadLine(source.get());
    copy(writer.get(), source.get());
    writer.write();
    const Bytes line = writer.lineBytes();
    EXPECT_EQ(Bytes(line.begin() + 48, line.end()), (Bytes{11, 12, 13, 14, 21, 22, 23, 24}));
}

TEST(CopyLine, OnlySlotsPresentInBothFilesAreCopied)
{
    copyBetweenDifferentSlots(ZELCopyLine);
}

TEST(CopyLineWithLoad, OnlySlotsPresentInBothFilesAreCopied)
{
    copyBetweenDifferentSlots(ZELCopyLineWithLoad);
}

TEST(CopyLine, SlotsOfTheDestinationAfterTheSourcesLastAreLeftAlone)
{
    OpenedFile source(build(zel_test::smallScene()).bytes);  // 3 slots
    Writer writer(4, 2, 6);
    writer.add(5, 3, 0, 0);
    writer.open();
    writer.load(5, {1, 2, 3, 4});
    ZELReadLine(source.get());
    ZELCopyLine(writer.get(), source.get());
    writer.write();
    const Bytes line = writer.lineBytes();
    EXPECT_EQ(Bytes(line.begin() + 48, line.end()), (Bytes{1, 2, 3, 4}));
}

TEST(CopyLine, SlotsOfTheSourceAfterItsLastAreNotCopied)
{
    OpenedFile source(build(zel_test::smallScene()).bytes);  // 3 slots
    Writer writer(4, 2, 6);
    writer.add(3, 3, 0, 0);
    ZELSetHistogramFlag(writer.get(), 0);
    writer.open();
    ZELReadLine(source.get());
    source->Channels[3] = source->Channels[0];
    source->PixBuf[3] = source->PixBuf[0];
    ZELCopyLine(writer.get(), source.get());
    EXPECT_EQ(writer->PixBuf[3][0], 0);
    EXPECT_EQ(writer.slot(3).ChannelData[0], 0.0f);
    source->Channels[3] = ZELChannelType{};
    source->PixBuf[3] = nullptr;
}

// The quirk: a source without navigation takes the buffers away from the destination, unfreed.
void copyFromAFileWithoutNavigation(void (*copy)(ZELType*, ZELType*))
{
    Scene scene = zel_test::smallScene();
    scene.navPoints = 0;
    OpenedFile source(build(scene).bytes);
    Writer writer(4, 2, 3);
    writer.open();
    float* const lats = writer->LatBuffer;
    float* const lons = writer->LonBuffer;
    ASSERT_NE(lats, nullptr);
    lats[1] = 5;
    ZELReadLine(source.get());
    copy(writer.get(), source.get());
    EXPECT_EQ(writer->LatBuffer, nullptr);
    EXPECT_EQ(writer->LonBuffer, nullptr);
    EXPECT_EQ(lats[1], 5.0f);
    writer->LatBuffer = lats;  // give them back
    writer->LonBuffer = lons;
}

TEST(CopyLine, FromAFileWithoutNavigationDropsTheBuffers)
{
    copyFromAFileWithoutNavigation(ZELCopyLine);
}

TEST(CopyLineWithLoad, FromAFileWithoutNavigationDropsTheBuffers)
{
    copyFromAFileWithoutNavigation(ZELCopyLineWithLoad);
}

TEST(CopyLineWithLoad, EncodesAgainForTheDestinationsStorage)
{
    OpenedFile source(build(zel_test::smallScene()).bytes);
    Writer writer(4, 2, 3);
    writer.add(0, 5, 0, 0);      // a byte channel in the source
    writer.add(2, 1, 51000, 0);  // a 16-bit channel in the source: 200 per step
    ZELSetHistogramFlag(writer.get(), 0);
    writer.open();
    ZELReadLine(source.get());
    ZELCopyLineWithLoad(writer.get(), source.get());
    EXPECT_EQ(writer.slot(0).LoadChannelFlag, 1);
    EXPECT_EQ(writer.slot(2).LoadChannelFlag, 1);
    writer.write();
    const Bytes line = writer.lineBytes();
    EXPECT_EQ(Bytes(line.begin() + 48, line.begin() + 56), rawWords({11, 12, 13, 14}));
    // 5, 10 and 200 steps by the single precision ratio, and less than one.
    const auto steps = [](float value) {
        return static_cast<unsigned char>(static_cast<double>(value / 51000.0f) * 255.0);
    };
    EXPECT_EQ(Bytes(line.begin() + 56, line.end()),
              (Bytes{steps(1000), steps(2000), steps(40000), 0}));
}

TEST(CopyLineWithLoad, LeavesTheStoredFormToTheWriting)
{
    OpenedFile source(build(zel_test::smallScene()).bytes);
    Writer writer(4, 2, 3);
    writer.add(0, 3, 0, 0);
    writer.open();
    ZELReadLine(source.get());
    ZELCopyLineWithLoad(writer.get(), source.get());
    EXPECT_EQ(Bytes(writer->PixBuf[0], writer->PixBuf[0] + 4), Bytes(4, 0));
    EXPECT_EQ(Values(writer.slot(0).ChannelData, writer.slot(0).ChannelData + 4),
              (Values{11, 12, 13, 14}));
}

TEST(CopyLineWithLoad, CopiesTheFieldsOfTheLine)
{
    OpenedFile source(build(everyCode()).bytes);
    Writer writer(pixels, 2, 5);
    writer.open();
    ZELReadLine(source.get());
    ZELCopyLineWithLoad(writer.get(), source.get());
    EXPECT_EQ(writer->ScanTime, 13.5);
    EXPECT_EQ(writer->ScanAltitude, 700.5f);
    EXPECT_EQ(writer->LeftPixel, 3);
    EXPECT_EQ(writer->RightPixel, 200);
    EXPECT_EQ(writer->NadirPixel, -4);
    EXPECT_EQ(writer->NadirLat, 45.5f);
    EXPECT_EQ(writer->NadirLon, -120.25f);
    EXPECT_EQ(Values(writer->LonBuffer, writer->LonBuffer + 2), (Values{20, 21}));
}

TEST(LineFields, ThePaddingIsSetAndGot)
{
    Writer writer;
    ZELSetPadding(writer.get(), 11, 22);
    EXPECT_EQ(writer->LeftPixel, 11);
    EXPECT_EQ(writer->RightPixel, 22);
    int left = 0, right = 0;
    ZELGetPadding(writer.get(), &left, &right);
    EXPECT_EQ(left, 11);
    EXPECT_EQ(right, 22);
}

TEST(LineFields, TheNadirIsSetAndGot)
{
    Writer writer;
    ZELSetNadirPixel(writer.get(), -3);
    ZELSetNadirLatLon(writer.get(), 12.5f, -13.5f);
    EXPECT_EQ(writer->NadirPixel, -3);
    EXPECT_EQ(writer->NadirLat, 12.5f);
    EXPECT_EQ(writer->NadirLon, -13.5f);
    EXPECT_EQ(ZELGetNadirPixel(writer.get()), -3);
    EXPECT_EQ(ZELGetNadirLat(writer.get()), 12.5f);
    EXPECT_EQ(ZELGetNadirLon(writer.get()), -13.5f);
}

}  // namespace
