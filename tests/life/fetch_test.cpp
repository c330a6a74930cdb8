// Questions to an open file, and which slots they answer for.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "support/file_builder.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::OpenedFile;
using zel_test::Outcome;
using zel_test::run;
using zel_test::smallScene;
using zel_test::Writer;

TEST(Fetch, TheFilesOwnNumbers)
{
    OpenedFile file(build(smallScene()).bytes);
    EXPECT_EQ(ZELFetchDataType(file.get()), 5);
    EXPECT_EQ(ZELFetchNumberOfChannels(file.get()), 2);
    EXPECT_EQ(ZELFetchNumberOfLines(file.get()), 2);
    EXPECT_EQ(ZELFetchNumberOfPixels(file.get()), 4);
    EXPECT_EQ(ZELFetchCurrentLineNumber(file.get()), 0);
    ZELReadLine(file.get());
    EXPECT_EQ(ZELFetchCurrentLineNumber(file.get()), 1);
    EXPECT_EQ(ZELFetchCurrentScanTime(file.get()), 10.25);
}

TEST(Fetch, TheScanTimeInDoublePrecision)
{
    Writer writer;
    writer->ScanTime = 12.000000001;
    EXPECT_EQ(ZELFetchCurrentScanTime(writer.get()), 12.000000001);
}

TEST(Fetch, TheWavelengthWithoutAnyGuard)
{
    OpenedFile file(build(smallScene()).bytes);
    EXPECT_EQ(ZELFetchChannelWavelength(file.get(), 0), 0.5f);
    file->Channels[1].ChannelWaveLength = 3.5f;  // an absent slot
    EXPECT_EQ(ZELFetchChannelWavelength(file.get(), 1), 3.5f);
}

TEST(Fetch, TheFieldsOfAPresentSlot)
{
    OpenedFile file(build(smallScene()).bytes);
    ZELReadLine(file.get());
    EXPECT_STREQ(ZELFetchChannelLabel(file.get(), 0), "first");
    EXPECT_STREQ(ZELFetchChannelComment(file.get(), 0), "the first channel");
    EXPECT_EQ(ZELFetchChannelMax(file.get(), 0), 250.0f);
    EXPECT_EQ(ZELFetchChannelMin(file.get(), 0), 2.0f);
    EXPECT_EQ(ZELFetchChannelByteSize(file.get(), 2), 2);
    EXPECT_EQ(ZELFetchChannelType(file.get(), 2), 5);
    EXPECT_EQ(ZELFetchRawChannelPixels(file.get(), 2), file->PixBuf[2]);
    EXPECT_EQ(ZELFetchRawChannelPixels(file.get(), 0)[3], 14);
    EXPECT_EQ(ZELFetchChannel(file.get(), 2), file->Channels[2].ChannelData);
    EXPECT_EQ(ZELFetchChannel(file.get(), 2)[2], 40000.0f);
}

// The answers of every guarded question about a slot: none, or that of the slot.
void expectRefused(ZELType* record, int slot)
{
    SCOPED_TRACE(slot);
    EXPECT_EQ(ZELFetchChannelLabel(record, slot), nullptr);
    EXPECT_EQ(ZELFetchChannelComment(record, slot), nullptr);
    EXPECT_EQ(ZELFetchChannelMax(record, slot), 0.0f);
    EXPECT_EQ(ZELFetchChannelMin(record, slot), 0.0f);
    EXPECT_EQ(ZELFetchChannelByteSize(record, slot), 0);
    EXPECT_EQ(ZELFetchChannelType(record, slot), 0);
    EXPECT_EQ(ZELFetchRawChannelPixels(record, slot), nullptr);
    const float* data = record->Channels[0].ChannelData;
    const Outcome outcome = run([&] { data = ZELFetchChannel(record, slot); });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(outcome.out, "channel " + std::to_string(slot) + " out of range\n");
}

TEST(FetchGuard, AnAbsentSlotIsRefused)
{
    OpenedFile file(build(smallScene()).bytes);
    file->Channels[1].MaxValue = 9;
    file->Channels[1].MinValue = 8;
    file->Channels[1].Type = 3;
    file->Channels[1].DataByteSize = 1;
    expectRefused(file.get(), 1);
}

TEST(FetchGuard, ANegativeIndexIsRefused)
{
    OpenedFile file(build(smallScene()).bytes);
    expectRefused(file.get(), -1);
    expectRefused(file.get(), -2147483647 - 1);
}

// Makes a slot that no file declares look present.
void makePresent(ZELType& record, int slot, float* data, unsigned char* stored)
{
    ZELChannelType& channel = record.Channels[slot];
    channel.ChannelPresentFlag = 1;
    channel.MaxValue = 9;
    channel.MinValue = 8;
    channel.Type = 3;
    channel.DataByteSize = 1;
    const std::string label = "beyond";
    std::copy_n(label.c_str(), label.size() + 1, channel.ChannelLabel);
    std::copy_n(label.c_str(), label.size() + 1, channel.ChannelComment);
    channel.ChannelData = data;
    record.PixBuf[slot] = stored;
}

void makeAbsent(ZELType& record, int slot)
{
    record.Channels[slot].ChannelPresentFlag = 0;
    record.Channels[slot].ChannelData = nullptr;
    record.PixBuf[slot] = nullptr;
}

TEST(FetchGuard, AnIndexEqualToTheNumberOfSlotsPasses)
{
    OpenedFile file(build(smallScene()).bytes);
    float data[4];
    unsigned char stored[4];
    makePresent(*file.get(), 3, data, stored);
    EXPECT_STREQ(ZELFetchChannelLabel(file.get(), 3), "beyond");
    EXPECT_STREQ(ZELFetchChannelComment(file.get(), 3), "beyond");
    EXPECT_EQ(ZELFetchChannelMax(file.get(), 3), 9.0f);
    EXPECT_EQ(ZELFetchChannelMin(file.get(), 3), 8.0f);
    EXPECT_EQ(ZELFetchChannelByteSize(file.get(), 3), 1);
    EXPECT_EQ(ZELFetchChannelType(file.get(), 3), 3);
    EXPECT_EQ(ZELFetchRawChannelPixels(file.get(), 3), stored);
    EXPECT_EQ(ZELFetchChannel(file.get(), 3), data);
    makeAbsent(*file.get(), 3);
}

TEST(FetchGuard, AnIndexAboveTheNumberOfSlotsIsRefused)
{
    OpenedFile file(build(smallScene()).bytes);
    float data[4];
    unsigned char stored[4];
    makePresent(*file.get(), 4, data, stored);
    expectRefused(file.get(), 4);
    makeAbsent(*file.get(), 4);
}

TEST(FetchGuard, TheSlotAfterTheLastIsEmptyAfterAnOpen)
{
    OpenedFile file(build(smallScene()).bytes);  // into a record full of junk
    expectRefused(file.get(), 3);
}

TEST(FetchGuard, TheLastSlotThereCanBeIsNotExceeded)
{
    zel_test::Scene scene = smallScene();
    scene.slots.resize(1000);
    OpenedFile file(build(scene).bytes);
    expectRefused(file.get(), 1000);
    expectRefused(file.get(), 2147483647);
}

TEST(FetchGuard, PresenceIsWhateverIsNotZero)
{
    OpenedFile file(build(smallScene()).bytes);
    file->Channels[0].ChannelPresentFlag = 0;
    EXPECT_EQ(ZELFetchChannelMax(file.get(), 0), 0.0f) << "an absent channel's maximum is 0";
    file->Channels[0].ChannelPresentFlag = 1;
    EXPECT_EQ(ZELFetchChannelMax(file.get(), 0), 250.0f);
}

TEST(Fetch, SlotsOfAWriteOnlyRecordToo)
{
    Writer writer;
    ZELAddChannel(writer.get(), 5, 9, 1, 5, 12, "label", "comment");
    writer.open();
    EXPECT_STREQ(ZELFetchChannelLabel(writer.get(), 5), "label");
    EXPECT_STREQ(ZELFetchChannelComment(writer.get(), 5), "comment");
    EXPECT_EQ(ZELFetchChannelMax(writer.get(), 5), 9.0f);
    EXPECT_EQ(ZELFetchRawChannelPixels(writer.get(), 5), writer->PixBuf[5]);
    EXPECT_EQ(ZELFetchNumberOfChannels(writer.get()), 1);
    writer.write();
    EXPECT_EQ(ZELFetchNumberOfLines(writer.get()), 1);
}

TEST(Fetch, ValuesAreRefusedOnAWriteOnlyRecord)
{
    Writer writer;
    writer.add(0, 3, 0, 0);
    writer.open();
    const Outcome outcome = run([&] { ZELFetchChannel(writer.get(), 0); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELFetchChannel can only be used on a read only ZEL file\n");
}

TEST(Fetch, NavigationIsRefusedOnAWriteOnlyRecord)
{
    Writer writer;
    writer.open();
    float *lat = nullptr, *lon = nullptr;
    const Outcome outcome = run([&] { ZELFetchNavigation(writer.get(), &lat, &lon); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELFetchNavigation can only be used on a read only ZEL file\n");
}

TEST(FetchNavigation, InterpolatesTheLine)
{
    OpenedFile file(build(smallScene()).bytes);  // points at pixels 0 and 3
    ZELReadLine(file.get());
    float *lat = nullptr, *lon = nullptr;
    ZELFetchNavigation(file.get(), &lat, &lon);
    ASSERT_EQ(lat, file->Lat);
    ASSERT_EQ(lon, file->Lon);
    EXPECT_EQ(std::vector<float>(lat, lat + 4), (std::vector<float>{40, 40.5f, 41, 41.5f}));
    EXPECT_EQ(std::vector<float>(lon, lon + 4), (std::vector<float>{-100, -99.5f, -99, -98.5f}));
    EXPECT_EQ(file->LatLonInterpolated, 1);
}

TEST(FetchNavigation, TakesPositionsThatAreValidAsTheyStand)
{
    OpenedFile file(build(smallScene()).bytes);
    ZELReadLine(file.get());
    float *lat = nullptr, *lon = nullptr;
    ZELFetchNavigation(file.get(), &lat, &lon);
    lat[1] = 7;
    ZELFetchNavigation(file.get(), &lat, &lon);
    EXPECT_EQ(lat[1], 7.0f);
    ZELReadLine(file.get());
    ZELFetchNavigation(file.get(), &lat, &lon);
    EXPECT_EQ(lat[1], 40.5f) << "a new line is interpolated again";
}

TEST(FetchNavigation, ThePointsThemselvesAreTheLinesBuffers)
{
    OpenedFile file(build(smallScene()).bytes);
    ZELReadLine(file.get());
    float *lat = nullptr, *lon = nullptr;
    ZELFetchNonInterpolatedNavigation(file.get(), &lat, &lon);
    EXPECT_EQ(lat, file->LatBuffer);
    EXPECT_EQ(lon, file->LonBuffer);
    EXPECT_EQ(lat[1], 41.5f);
    EXPECT_EQ(lon[1], -98.5f);
    EXPECT_EQ(file->LatLonInterpolated, 0);
}

TEST(FetchNavigation, WithoutPointsThereAreNone)
{
    zel_test::Scene scene = smallScene();
    scene.navPoints = 0;
    OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    float some = 0;
    float *lat = &some, *lon = &some;
    ZELFetchNonInterpolatedNavigation(file.get(), &lat, &lon);
    EXPECT_EQ(lat, nullptr);
    EXPECT_EQ(lon, nullptr);
    ZELFetchNavigation(file.get(), &lat, &lon);
    EXPECT_EQ(lat[3], -9999.0f);
    EXPECT_EQ(lon[0], -9999.0f);
}

TEST(FetchSolar, ComputesPositionsAndAnglesOfTheLine)
{
    zel_test::Scene scene = smallScene();
    scene.lines[0].nadir = 2;
    OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    float *sz = nullptr, *vz = nullptr, *az = nullptr;
    ZELFetchSolar(file.get(), &sz, &vz, &az);
    EXPECT_EQ(sz, file->SolarZenith);
    EXPECT_EQ(vz, file->ViewZenith);
    EXPECT_EQ(az, file->Azimuth);
    EXPECT_EQ(file->LatLonInterpolated, 1);
    EXPECT_EQ(file->SolarAnglesCalculated, 1);
    // The nadir is the interpolated position of pixel 2, not what the buffers held before.
    EXPECT_NEAR(vz[2], 0, 0.001);
    EXPECT_EQ(az[2], 0.0f);
    float expectedSz, expectedVz, expectedAz;
    ZEL_UTILCalculateAngle(file->Lat[0], file->Lon[0], 700.5f, 123, file->Lat[2], file->Lon[2],
                           10.25f, &expectedSz, &expectedVz, &expectedAz);
    EXPECT_NEAR(sz[0], expectedSz, 0.01);
    EXPECT_NEAR(vz[0], expectedVz, 0.01);
    EXPECT_NEAR(az[0], expectedAz, 0.1);
}

TEST(FetchSolar, TakesAnglesThatAreValidAsTheyStand)
{
    OpenedFile file(build(smallScene()).bytes);
    ZELReadLine(file.get());
    float *sz = nullptr, *vz = nullptr, *az = nullptr;
    ZELFetchSolar(file.get(), &sz, &vz, &az);
    sz[1] = 7;
    ZELFetchSolar(file.get(), &sz, &vz, &az);
    EXPECT_EQ(sz[1], 7.0f);
    ZELReadLine(file.get());
    ZELFetchSolar(file.get(), &sz, &vz, &az);
    EXPECT_NE(sz[1], 7.0f) << "a new line is computed again";
}

TEST(FetchSolar, AnglesHeldInChannelsAreTheChannelsValues)
{
    zel_test::Scene scene = smallScene();
    scene.slots[1] = zel_test::channel(3, "second");
    scene.szIndex = 1;
    scene.vzIndex = 2;
    scene.azIndex = 0;
    OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    float *sz = nullptr, *vz = nullptr, *az = nullptr;
    ZELFetchSolar(file.get(), &sz, &vz, &az);
    EXPECT_EQ(sz, file->Channels[1].ChannelData);
    EXPECT_EQ(vz, file->Channels[2].ChannelData);
    EXPECT_EQ(az, file->Channels[0].ChannelData);
    EXPECT_EQ(vz[2], 40000.0f);
}

TEST(FetchSolar, WithoutNavigationAllAnglesAreZero)
{
    zel_test::Scene scene = smallScene();
    scene.navPoints = 0;
    OpenedFile file(build(scene).bytes);
    ZELReadLine(file.get());
    float *sz = nullptr, *vz = nullptr, *az = nullptr;
    ZELFetchSolar(file.get(), &sz, &vz, &az);
    for (int x = 0; x < 4; ++x) EXPECT_EQ(sz[x] + vz[x] + az[x], 0.0f);
}

TEST(Fetch, TheHistogramUnderBothSpellings)
{
    Writer writer(4, 0, 2);
    writer.add(0, 3, 0, 0);
    writer.open();
    ASSERT_NE(writer.slot(0).ChannelHistogram, nullptr);
    EXPECT_EQ(ZELFetchChannelHistogam(writer.get(), 0), writer.slot(0).ChannelHistogram);
    EXPECT_EQ(ZELFetchChannelHistogram(writer.get(), 0), writer.slot(0).ChannelHistogram);
    EXPECT_EQ(ZELFetchChannelHistogam(writer.get(), 1), nullptr);
}

}  // namespace
