// Records of new files: what an init puts into them, before any file is touched.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "support/outcome.hpp"

namespace {

using zel_test::junkRecord;
using zel_test::run;

// Pixels 101 (odd, for the nadir), three navigation points at pixels 5, 55 and 105.
std::unique_ptr<ZELType> initialised(int year = 1999)
{
    auto record = junkRecord();
    ZELInitNewWriteOnlyFile(record.get(), 6, "a comment", year, 200, 14, 101, 3, 5, 50, 833.5f,
                            250.0f);
    return record;
}

TEST(Init, TakesTheHeaderValuesGiven)
{
    const auto record = initialised();
    const ZELHeaderType& header = record->ZELHeader;
    EXPECT_EQ(header.DataType, 6);
    EXPECT_STREQ(header.DataComment, "a comment");
    EXPECT_EQ(header.year, 1999);
    EXPECT_EQ(header.julian, 200);
    EXPECT_EQ(header.sat_no, 14);
    EXPECT_EQ(header.NPixelPerLine, 101);
    EXPECT_EQ(header.NumNavPoints, 3);
    EXPECT_EQ(header.StartNavPoint, 5);
    EXPECT_EQ(header.NavPointInterval, 50);
    EXPECT_EQ(header.SatelliteAltitude, 833.5f);
    EXPECT_EQ(header.SpatialResolution, 250.0f);
}

TEST(Init, SetsTheLibrarysVersionAndTheFullNumberOfSlots)
{
    const auto record = initialised();
    EXPECT_EQ(record->ZELHeader.VersionNumber, 2.3f);
    EXPECT_EQ(record->ZELHeader.MaxNumChan, 1000);
}

TEST(Init, HasNoMetadataLutsTablesOrAngleChannels)
{
    const auto record = initialised();
    const ZELHeaderType& header = record->ZELHeader;
    EXPECT_EQ(header.MetaDataType, 0);
    EXPECT_EQ(header.MetaDataSize, 0);
    EXPECT_TRUE(std::all_of(header.MetaDataText, header.MetaDataText + 20000,
                            [](char c) { return c == 0; }));
    EXPECT_EQ(header.NumDisplayLUTs, 0);
    EXPECT_EQ(header.DisplayLUTHead, nullptr);
    EXPECT_EQ(header.TableList.NumTables, 0);
    EXPECT_EQ(header.TableList.TableHead, nullptr);
    EXPECT_EQ(header.TableList.TableStartOffset, 0);
    EXPECT_EQ(header.SZChannelIndex, -1);
    EXPECT_EQ(header.VZChannelIndex, -1);
    EXPECT_EQ(header.AZChannelIndex, -1);
}

TEST(Init, SetsTheStateOfAFileThatIsNotYetOpen)
{
    const auto record = initialised();
    EXPECT_EQ(record->CurrentLine, 0);
    EXPECT_EQ(record->PreviousLine, -2);
    EXPECT_EQ(record->isComponent, 0);
    EXPECT_EQ(record->ReadWriteFlag, 2);
    EXPECT_EQ(record->LUTStartOffset, 0);
    EXPECT_EQ(record->HeaderOffset, 0);
    EXPECT_EQ(record->NavOffset, 8 * 3 + 32);
    EXPECT_EQ(record->FileOpened, 0);
    EXPECT_EQ(record->WritePrompt, 1);
    EXPECT_EQ(record->LatLonInterpolated, 0);
    EXPECT_EQ(record->SolarAnglesCalculated, 0);
    EXPECT_EQ(record->HistogramFlag, 1);
    EXPECT_EQ(record->NumLines, 0);
    EXPECT_EQ(record->numZELComponents, 1);
    EXPECT_EQ(record->ZELComponent, nullptr);
    EXPECT_EQ(record->fileOffset, 0);
}

TEST(Init, SetsTheDefaultsOfTheFirstLine)
{
    const auto record = initialised();
    EXPECT_EQ(record->ScanAltitude, 0.0f);
    EXPECT_EQ(record->LeftPixel, 0);
    EXPECT_EQ(record->RightPixel, 100);
    EXPECT_EQ(record->NadirPixel, 49);  // 101 / 2 - 1
    EXPECT_EQ(record->NadirLat, -999.0f);
    EXPECT_EQ(record->NadirLon, -999.0f);
}

TEST(Init, ALineOfOnePixelHasItsNadirOutside)
{
    auto record = junkRecord();
    ZELInitNewWriteOnlyFile(record.get(), 0, "", 2000, 1, 0, 1, 0, 0, 0, 0.0f, 0.0f);
    EXPECT_EQ(record->RightPixel, 0);
    EXPECT_EQ(record->NadirPixel, -1);
}

TEST(Init, EmptiesEveryOneOfTheThousandSlots)
{
    const auto record = initialised();
    for (int i = 0; i < 1000; ++i) {
        SCOPED_TRACE(i);
        const ZELChannelType& slot = record->Channels[i];
        ASSERT_EQ(slot.ChannelPresentFlag, 0);
        ASSERT_EQ(slot.ChannelWaveLength, 0.0f);
        ASSERT_EQ(slot.MaxValue, 0.0f);
        ASSERT_EQ(slot.MinValue, 0.0f);
        ASSERT_EQ(slot.Type, 0);
        ASSERT_EQ(slot.DataByteSize, 0);
        ASSERT_EQ(slot.DataBitResolution, 0);
        ASSERT_EQ(slot.Units, 0);
        ASSERT_EQ(slot.BaseChannelFlag, 0);
        ASSERT_EQ(slot.LoadChannelFlag, 0);
        ASSERT_STREQ(slot.ChannelLabel, "");
        ASSERT_STREQ(slot.ChannelComment, "");
        ASSERT_EQ(slot.ChannelHistogram, nullptr);
        ASSERT_EQ(slot.ChannelStandardHistogram, nullptr);
        ASSERT_EQ(slot.ChannelLUT, nullptr);
        ASSERT_EQ(slot.Mask, nullptr);
        ASSERT_EQ(slot.TableList.NumTables, 0);
        ASSERT_EQ(slot.TableList.TableHead, nullptr);
        ASSERT_EQ(slot.UpdateChannelHistogramFlag, 1);
    }
}

TEST(Init, AYearOf99OrLessCountsFrom1900)
{
    EXPECT_EQ(initialised(97)->ZELHeader.year, 1997);
    EXPECT_EQ(initialised(99)->ZELHeader.year, 1999);
    EXPECT_EQ(initialised(0)->ZELHeader.year, 1900);
}

TEST(Init, AYearOf100OrMoreIsTakenAsItIs)
{
    EXPECT_EQ(initialised(100)->ZELHeader.year, 100);
    EXPECT_EQ(initialised(2001)->ZELHeader.year, 2001);
}

TEST(Init, CutsACommentAtTheWidthOfItsField)
{
    auto record = junkRecord();
    const std::string comment(2500, 'c');
    ZELInitNewWriteOnlyFile(record.get(), 0, comment.c_str(), 2000, 1, 0, 1, 0, 0, 0, 0, 0);
    EXPECT_EQ(std::string(record->ZELHeader.DataComment), std::string(2000, 'c'));
}

TEST(Init, TouchesNoFileAndPrintsNothing)
{
    const int before = zel_test::openDescriptors();
    const auto outcome = run([] { initialised(); });
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(zel_test::openDescriptors(), before);
}

struct BadSize {
    int pixels, navPoints;
};

class InitRefuses : public testing::TestWithParam<BadSize> {};

TEST_P(InitRefuses, ALineOfThatSize)
{
    auto record = junkRecord();
    const auto outcome = run([&] {
        ZELInitNewWriteOnlyFile(record.get(), 0, "", 2000, 1, 0, GetParam().pixels,
                                GetParam().navPoints, 0, 1, 0, 0);
    });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_TRUE(outcome.out.starts_with("ZELInitNewWriteOnlyFile")) << outcome.out;
}

INSTANTIATE_TEST_SUITE_P(Sizes, InitRefuses,
                         testing::Values(BadSize{0, 0}, BadSize{-1, 0}, BadSize{32768, 0},
                                         BadSize{10, -1}, BadSize{10, 32768}));

TEST(Init, AcceptsTheWidestLine)
{
    auto record = junkRecord();
    const auto outcome = run([&] {
        ZELInitNewWriteOnlyFile(record.get(), 0, "", 2000, 1, 0, 32767, 32767, 0, 1, 0, 0);
    });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(record->ZELHeader.NPixelPerLine, 32767);
    EXPECT_EQ(record->NavOffset, 8 * 32767 + 32);
}

// The same expectations for every sensor shortcut.
void expectSensor(const ZELType& record, int dataType, int pixels, int navPoints, int start,
                  int interval, float altitude, float resolution, int satellite)
{
    const ZELHeaderType& header = record.ZELHeader;
    EXPECT_EQ(header.DataType, dataType);
    EXPECT_EQ(header.NPixelPerLine, pixels);
    EXPECT_EQ(header.NumNavPoints, navPoints);
    EXPECT_EQ(header.StartNavPoint, start);
    EXPECT_EQ(header.NavPointInterval, interval);
    EXPECT_EQ(header.SatelliteAltitude, altitude);
    EXPECT_EQ(header.SpatialResolution, resolution);
    EXPECT_EQ(header.sat_no, satellite);
    EXPECT_EQ(header.year, 1998);
    EXPECT_EQ(header.julian, 33);
    EXPECT_STREQ(header.DataComment, "sensor");
    EXPECT_EQ(record.ReadWriteFlag, 2);
    EXPECT_EQ(record.NavOffset, 8 * navPoints + 32);
    EXPECT_EQ(record.RightPixel, pixels - 1);
    EXPECT_EQ(record.NadirPixel, pixels / 2 - 1);
}

TEST(SensorShortcut, AvhrrLacOfAnOddSatelliteFliesAt860)
{
    auto record = junkRecord();
    ZELInitNewAVHRRLACFile(record.get(), 98, 33, 11, "sensor");
    expectSensor(*record, 1, 2048, 51, 24, 40, 860.0f, 1100.0f, 11);
}

TEST(SensorShortcut, AvhrrLacOfAnEvenSatelliteFliesAt820)
{
    auto record = junkRecord();
    ZELInitNewAVHRRLACFile(record.get(), 98, 33, 14, "sensor");
    expectSensor(*record, 1, 2048, 51, 24, 40, 820.0f, 1100.0f, 14);
}

TEST(SensorShortcut, AvhrrGacOfAnOddSatelliteFliesAt860)
{
    auto record = junkRecord();
    ZELInitNewAVHRRGACFile(record.get(), 98, 33, 9, "sensor");
    expectSensor(*record, 2, 409, 51, 4, 8, 860.0f, 4000.0f, 9);
}

TEST(SensorShortcut, AvhrrGacOfAnEvenSatelliteFliesAt820)
{
    auto record = junkRecord();
    ZELInitNewAVHRRGACFile(record.get(), 98, 33, 12, "sensor");
    expectSensor(*record, 2, 409, 51, 4, 8, 820.0f, 4000.0f, 12);
}

TEST(SensorShortcut, Mas)
{
    auto record = junkRecord();
    ZELInitNewMASFile(record.get(), 98, 33, "sensor");
    expectSensor(*record, 3, 716, 73, 0, 10, 20.0f, 50.0f, 0);
}

TEST(SensorShortcut, Virs)
{
    auto record = junkRecord();
    ZELInitNewVIRSFile(record.get(), 98, 33, "sensor");
    expectSensor(*record, 4, 261, 261, 0, 1, 355.0f, 2000.0f, 0);
}

TEST(InitComposite, IsAReadOnlyRecordWithTheSameDefaults)
{
    auto record = junkRecord();
    ZELInitNewCompositeFile(record.get(), 6, "view", 97, 200, 14, 101, 3, 5, 50, 833.5f, 250.0f);
    EXPECT_EQ(record->ReadWriteFlag, 1);
    EXPECT_EQ(record->ZELHeader.year, 1997);
    EXPECT_EQ(record->ZELHeader.VersionNumber, 2.3f);
    EXPECT_EQ(record->ZELHeader.MaxNumChan, 1000);
    EXPECT_EQ(record->ZELHeader.NPixelPerLine, 101);
    EXPECT_EQ(record->NavOffset, 8 * 3 + 32);
    EXPECT_EQ(record->CurrentLine, 0);
    EXPECT_EQ(record->PreviousLine, -2);
    EXPECT_EQ(record->HistogramFlag, 1);
    EXPECT_EQ(record->RightPixel, 100);
    EXPECT_EQ(record->NadirLat, -999.0f);
    EXPECT_EQ(record->Channels[999].ChannelPresentFlag, 0);
    EXPECT_EQ(record->Channels[999].UpdateChannelHistogramFlag, 1);
}

TEST(InitComposite, LeavesLutOffsetLinesAndComponentsAsTheyWere)
{
    auto record = junkRecord();
    auto component = std::make_unique<ZELType>();
    record->LUTStartOffset = 4711;
    record->NumLines = 25;
    record->numZELComponents = 3;
    record->ZELComponent = component.get();
    ZELInitNewCompositeFile(record.get(), 6, "view", 97, 200, 14, 101, 3, 5, 50, 833.5f, 250.0f);
    EXPECT_EQ(record->LUTStartOffset, 4711);
    EXPECT_EQ(record->NumLines, 25);
    EXPECT_EQ(record->numZELComponents, 3);
    EXPECT_EQ(record->ZELComponent, component.get());
}

TEST(OverwritePrompt, IsSwitchedOnAndOff)
{
    auto record = initialised();
    ZELSetOverwritePromptOff(record.get());
    EXPECT_EQ(record->WritePrompt, 0);
    ZELSetOverwritePromptOn(record.get());
    EXPECT_EQ(record->WritePrompt, 1);
}

TEST(Create, ARecordIsInitialisedAgainWithItsOwnComment)
{
    auto record = zel_test::junkRecord();
    ZELInitNewMASFile(record.get(), 1997, 12, "over the ice");
    ZELInitNewMASFile(record.get(), 1998, 13, record->ZELHeader.DataComment);
    EXPECT_STREQ(record->ZELHeader.DataComment, "over the ice");
    EXPECT_EQ(record->ZELHeader.year, 1998);
    ZELInitNewMASFile(record.get(), 1998, 13, record->ZELHeader.DataComment + 5);
    EXPECT_STREQ(record->ZELHeader.DataComment, "the ice");
}

}  // namespace
