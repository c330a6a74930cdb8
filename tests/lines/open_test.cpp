// Opening current files for reading, and finishing them.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::build;
using zel_test::Bytes;
using zel_test::OpenedFile;
using zel_test::Outcome;
using zel_test::run;
using zel_test::Scene;
using zel_test::smallScene;
using zel_test::TempDir;
using zel_test::writeFile;

TEST(Open, FillsTheHeader)
{
    Scene scene = smallScene();
    scene.year = 1998;
    scene.julian = 366;
    scene.satellite = 14;
    scene.pixels = 9;
    scene.navPoints = 3;
    scene.startNav = 1;
    scene.navInterval = 4;
    scene.dataType = 7;
    scene.altitude = 832.5f;
    scene.resolution = 250.25f;
    scene.comment = "what the scene shows";
    scene.szIndex = 0;
    scene.vzIndex = -1;
    scene.azIndex = 2;
    scene.metaDataType = 1;
    scene.metaData = "key = value";
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    const ZELHeaderType& h = file->ZELHeader;
    EXPECT_EQ(h.VersionNumber, 2.3f);
    EXPECT_EQ(h.MaxNumChan, 3);
    EXPECT_EQ(h.year, 1998);
    EXPECT_EQ(h.julian, 366);
    EXPECT_EQ(h.sat_no, 14);
    EXPECT_EQ(h.NPixelPerLine, 9);
    EXPECT_EQ(h.NumNavPoints, 3);
    EXPECT_EQ(h.StartNavPoint, 1);
    EXPECT_EQ(h.NavPointInterval, 4);
    EXPECT_EQ(h.DataType, 7);
    EXPECT_EQ(h.SatelliteAltitude, 832.5f);
    EXPECT_EQ(h.SpatialResolution, 250.25f);
    EXPECT_STREQ(h.DataComment, "what the scene shows");
    EXPECT_EQ(h.SZChannelIndex, 0);
    EXPECT_EQ(h.VZChannelIndex, -1);
    EXPECT_EQ(h.AZChannelIndex, 2);
    EXPECT_EQ(h.MetaDataType, 1);
    EXPECT_EQ(h.MetaDataSize, 11);
    EXPECT_STREQ(h.MetaDataText, "key = value");
    EXPECT_EQ(h.NumDisplayLUTs, 0);
    EXPECT_EQ(h.DisplayLUTHead, nullptr);
    EXPECT_EQ(h.TableList.NumTables, 0);
}

TEST(Open, FillsTheChannels)
{
    OpenedFile file(build(smallScene()).bytes);
    ASSERT_EQ(file.result, 0);
    const ZELChannelType& first = file->Channels[0];
    EXPECT_EQ(first.ChannelPresentFlag, 1);
    EXPECT_EQ(first.MaxValue, 250.0f);
    EXPECT_EQ(first.MinValue, 2.0f);
    EXPECT_EQ(first.Type, 3);
    EXPECT_EQ(first.DataByteSize, 1);
    EXPECT_EQ(first.DataBitResolution, 8);
    EXPECT_STREQ(first.ChannelLabel, "first");
    EXPECT_STREQ(first.ChannelComment, "the first channel");
    EXPECT_EQ(first.ChannelWaveLength, 0.5f);
    EXPECT_EQ(first.Units, 2);
    EXPECT_EQ(first.BaseChannelFlag, 1);
    EXPECT_EQ(first.Mask, nullptr);
    EXPECT_EQ(first.TableList.NumTables, 0);
    EXPECT_EQ(first.ChannelHistogram, nullptr);
    EXPECT_EQ(first.ChannelStandardHistogram, nullptr);
    EXPECT_EQ(first.UpdateChannelHistogramFlag, 0);
    EXPECT_EQ(first.LoadChannelFlag, 0);
    EXPECT_EQ(file->Channels[1].ChannelPresentFlag, 0);
    EXPECT_STREQ(file->Channels[2].ChannelLabel, "third");
    EXPECT_EQ(file->Channels[2].Units, 4);
    EXPECT_EQ(file->Channels[2].BaseChannelFlag, 0);
    EXPECT_EQ(file->NumTotalChans, 2);
}

TEST(Open, SetsTheStateOfAFreshReader)
{
    OpenedFile file(build(smallScene()).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->ReadWriteFlag, 1);
    EXPECT_EQ(file->numZELComponents, 1);
    EXPECT_EQ(file->ZELComponent, nullptr);
    EXPECT_EQ(file->isComponent, 0);
    EXPECT_EQ(file->CurrentLine, 0);
    EXPECT_EQ(file->PreviousLine, -2);
    EXPECT_EQ(file->LatLonInterpolated, 0);
    EXPECT_EQ(file->HistogramFlag, 0);
    EXPECT_EQ(file->fileOffset, 0);
    EXPECT_STREQ(file->ImageFilename, file.path().c_str());
    EXPECT_NE(file->fptr, nullptr);
}

TEST(Open, PrintsNothingForAPlainCurrentFile)
{
    OpenedFile file(build(smallScene()).bytes);
    EXPECT_EQ(file.outcome.out, "");
    EXPECT_EQ(file.outcome.err, "");
    EXPECT_FALSE(file.outcome.ended);
}

// Header 1221 + 2040 + 6 + 20008, three records of 284 bytes; lines of 8 x 2 + 32 bytes of
// navigation and scan data, 4 one-byte and 4 two-byte pixels.
TEST(Open, ComputesTheLayoutThatIsNotStored)
{
    OpenedFile file(build(smallScene()).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->HeaderOffset, 24127);
    EXPECT_EQ(file->NavOffset, 48);
    EXPECT_EQ(file->LineOffset, 60);
    EXPECT_EQ(file->NumLines, 2);
    EXPECT_EQ(file->Channels[0].DataOffset, 48);
    EXPECT_EQ(file->Channels[2].DataOffset, 52);
}

TEST(Open, EmptySlotsOccupyARecordInTheHeaderAndNoBytesInALine)
{
    Scene scene = smallScene();
    scene.slots.resize(40);
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->HeaderOffset, 24127 + 37 * 284);
    EXPECT_EQ(file->LineOffset, 60);
    EXPECT_EQ(file->NumLines, 2);
}

TEST(Open, TheFullThousandSlotsOpen)
{
    Scene scene = smallScene();
    scene.slots.resize(1000);
    scene.slots[999] = zel_test::channel(4, "last");
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->HeaderOffset, 1221 + 2040 + 6 + 20008 + 1000 * 284);
    EXPECT_STREQ(file->Channels[999].ChannelLabel, "last");
    EXPECT_EQ(file->Channels[999].DataOffset, 60);
    EXPECT_EQ(file->LineOffset, 76);
}

TEST(Open, WithoutNavigationPointsNavOffsetIs32AndThereAreNoNavigationBuffers)
{
    Scene scene = smallScene();
    scene.navPoints = 0;
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->NavOffset, 32);
    EXPECT_EQ(file->LatBuffer, nullptr);
    EXPECT_EQ(file->LonBuffer, nullptr);
    EXPECT_EQ(file->LineOffset, 44);
    EXPECT_EQ(file->NumLines, 2);
}

TEST(Open, ATrailingPartialLineIsNotCounted)
{
    Bytes bytes = build(smallScene()).bytes;
    bytes.resize(bytes.size() + 59);
    EXPECT_EQ(OpenedFile(bytes)->NumLines, 2);
    bytes.resize(bytes.size() + 1);
    EXPECT_EQ(OpenedFile(bytes)->NumLines, 3);
    bytes.resize(24127 + 59);
    EXPECT_EQ(OpenedFile(bytes)->NumLines, 0);
}

TEST(Open, AFileWithoutLinesHasNone)
{
    const auto built = build(smallScene());
    OpenedFile file(built.cutBefore("line[0].ScanTime"));
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->NumLines, 0);
}

TEST(Open, AFileWithoutTheMagicIsReadFromByteZero)
{
    Scene scene = smallScene();
    scene.prefixed = false;
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->ZELHeader.year, 2001);
    EXPECT_EQ(file->HeaderOffset, 24127 - 1221);
    EXPECT_EQ(file->NumLines, 2);
    EXPECT_STREQ(file->Channels[2].ChannelLabel, "third");
}

TEST(Open, AbsentSlotHasEmptyLabelAndCommentWhateverTheFileHeld)
{
    Scene scene = smallScene();
    scene.slots[1].label = "left over";
    scene.slots[1].comment = "from a deleted channel";
    scene.slots[1].type = 9;
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    const char zeros[120] = {};
    EXPECT_EQ(std::memcmp(file->Channels[1].ChannelLabel, zeros, 120), 0);
    EXPECT_EQ(std::memcmp(file->Channels[1].ChannelComment, zeros, 120), 0);
}

TEST(Open, SlotsAtAndBeyondMaxNumChanAreCleared)
{
    OpenedFile file(build(smallScene()).bytes);
    ASSERT_EQ(file.result, 0);
    for (int slot = 3; slot < 1000; ++slot) {
        const ZELChannelType& c = file->Channels[slot];
        ASSERT_EQ(c.ChannelPresentFlag, 0) << slot;
        ASSERT_STREQ(c.ChannelLabel, "") << slot;
        ASSERT_EQ(c.ChannelData, nullptr) << slot;
        ASSERT_EQ(file->PixBuf[slot], nullptr) << slot;
    }
    EXPECT_EQ(ZELFetchChannelLabel(file.get(), 3), nullptr);
}

TEST(Open, TextThatFillsItsFieldIsTerminatedInMemory)
{
    Scene scene = smallScene();
    scene.comment = std::string(2000, 'c');
    scene.metaData = std::string(20000, 'm');
    scene.slots[0].label = std::string(120, 'l');
    scene.slots[0].comment = std::string(120, 'k');
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_STREQ(file->ZELHeader.DataComment, std::string(2000, 'c').c_str());
    EXPECT_STREQ(file->ZELHeader.MetaDataText, std::string(20000, 'm').c_str());
    EXPECT_STREQ(file->Channels[0].ChannelLabel, std::string(119, 'l').c_str());
    EXPECT_STREQ(file->Channels[0].ChannelComment, std::string(119, 'k').c_str());
}

TEST(Open, LineBuffersAreZeroed)
{
    OpenedFile file(build(smallScene()).bytes);
    ASSERT_EQ(file.result, 0);
    for (int slot : {0, 2}) {
        const ZELChannelType& c = file->Channels[slot];
        for (int i = 0; i < 4; ++i) EXPECT_EQ(c.ChannelData[i], 0.0f);
        for (int i = 0; i < 4 * c.DataByteSize; ++i) EXPECT_EQ(file->PixBuf[slot][i], 0);
    }
}

TEST(Open, AScaledByteChannelGetsATableOf256Values)
{
    Scene scene = smallScene();
    scene.slots[0] = zel_test::channel(1, "scaled", 41.0f, -10.0f);  // step 51 / 255 = 0.2
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    const float* lut = file->Channels[0].ChannelLUT;
    ASSERT_NE(lut, nullptr);
    EXPECT_FLOAT_EQ(lut[0], -10.0f);
    EXPECT_FLOAT_EQ(lut[5], -9.0f);
    EXPECT_FLOAT_EQ(lut[100], 10.0f);
    EXPECT_FLOAT_EQ(lut[255], 41.0f);
    for (int k = 0; k < 256; ++k)
        ASSERT_EQ(lut[k], static_cast<float>(k * ((41.0f - -10.0f) / 255.0) + -10.0f)) << k;
}

TEST(Open, AScaledWordChannelGetsATableOf65536Values)
{
    Scene scene = smallScene();
    scene.slots[0] = zel_test::channel(2, "scaled", 65535.0f * 0.25f + 1, 1.0f);
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    const float* lut = file->Channels[0].ChannelLUT;
    ASSERT_NE(lut, nullptr);
    EXPECT_EQ(lut[0], 1.0f);  // a step of exactly a quarter
    EXPECT_EQ(lut[4], 2.0f);
    EXPECT_EQ(lut[32768], 8193.0f);
    EXPECT_EQ(lut[65535], 16384.75f);
}

TEST(Open, OtherStorageCodesHaveNoScalingTable)
{
    for (int code : {3, 4, 5}) {
        Scene scene = smallScene();
        scene.slots[0] = zel_test::channel(code, "plain", 10, 0);
        OpenedFile file(build(scene).bytes);
        ASSERT_EQ(file.result, 0) << code;
        EXPECT_EQ(file->Channels[0].ChannelLUT, nullptr) << code;
    }
}

TEST(Open, AngleBuffersExistOnlyForAnglesWithoutAChannel)
{
    Scene scene = smallScene();
    scene.szIndex = 0;
    scene.azIndex = 2;
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->SolarZenith, nullptr);
    EXPECT_NE(file->ViewZenith, nullptr);
    EXPECT_EQ(file->Azimuth, nullptr);
    for (const void* buffer : {static_cast<void*>(file->Lat), static_cast<void*>(file->Lon),
                               static_cast<void*>(file->Sunglint)})
        EXPECT_NE(buffer, nullptr);
    for (const unsigned char* buffer :
         {file->OlsonEcosystem, file->PercentWater, file->IGBPEcosystem, file->Terrain})
        EXPECT_NE(buffer, nullptr);
}

TEST(Open, LinesReadBackFromTheComputedPlaces)
{
    OpenedFile file(build(smallScene()).bytes);
    ASSERT_EQ(file.result, 0);
    int pixels = 0;
    run([&] { pixels = ZELReadLine(file.get()); });
    EXPECT_EQ(pixels, 4);
    EXPECT_EQ(file->ScanTime, 10.25);
    EXPECT_EQ(file->ScanAltitude, 700.5f);
    EXPECT_EQ(file->LeftPixel, 1);
    EXPECT_EQ(file->RightPixel, 2);
    EXPECT_EQ(file->NadirLon, -120.25f);
    EXPECT_EQ(file->LatBuffer[1], 41.5f);
    EXPECT_EQ(file->LonBuffer[0], -100.0f);
    EXPECT_EQ(file->Channels[0].ChannelData[3], 14.0f);
    EXPECT_EQ(file->Channels[2].ChannelData[2], 40000.0f);
    run([&] { pixels = ZELReadLine(file.get()); });
    EXPECT_EQ(file->ScanTime, 11.25);
    EXPECT_EQ(file->Channels[2].ChannelData[3], 4.0f);
    run([&] { pixels = ZELReadLine(file.get()); });
    EXPECT_EQ(pixels, 0) << "the end of the file";
}

TEST(Open, BaseFlagIsForcedForPresentSlots100To149OfDataType3)
{
    Scene scene = smallScene();
    scene.dataType = 3;
    scene.slots.assign(152, {});
    for (int slot : {99, 100, 149, 150})
        scene.slots[static_cast<std::size_t>(slot)] = zel_test::channel(3, "c");
    scene.slots[0] = zel_test::channel(3, "flagged");
    scene.slots[0].baseFlag = 1;
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->Channels[0].BaseChannelFlag, 1);
    EXPECT_EQ(file->Channels[99].BaseChannelFlag, 0);
    EXPECT_EQ(file->Channels[100].BaseChannelFlag, 1);
    EXPECT_EQ(file->Channels[101].BaseChannelFlag, 0) << "an empty slot keeps what was read";
    EXPECT_EQ(file->Channels[149].BaseChannelFlag, 1);
    EXPECT_EQ(file->Channels[150].BaseChannelFlag, 0);
}

TEST(Open, BaseFlagIsNotForcedForOtherSensors)
{
    for (int dataType : {1, 2, 4, 5}) {
        Scene scene = smallScene();
        scene.dataType = dataType;
        scene.slots.assign(101, {});
        scene.slots[100] = zel_test::channel(3, "c");
        scene.slots[3] = zel_test::channel(3, "c");
        OpenedFile file(build(scene).bytes);
        ASSERT_EQ(file.result, 0);
        EXPECT_EQ(file->Channels[100].BaseChannelFlag, 0) << dataType;
        EXPECT_EQ(file->Channels[3].BaseChannelFlag, 0) << dataType;
    }
}

TEST(Open, AMissingFileIsReportedAndGivesMinusOne)
{
    TempDir dir;
    const std::string name = dir.path("nowhere.zel");
    auto record = zel_test::junkRecord();
    int result = 0;
    Outcome outcome = run([&] { result = ZELOpenReadOnlyFile(record.get(), name.c_str()); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(outcome.out, "ZELReadCompositeInfo: cannot open file " + name + "\n");
    EXPECT_FALSE(outcome.ended);
    outcome = run([&] { result = OpenReadOnlyFile(record.get(), name.c_str(), 0, 0); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(outcome.out, "OpenReadOnlyFile: cannot open file " + name + "\n");
    EXPECT_FALSE(outcome.ended);
}

TEST(Open, AVeryLongNameOpensAndIsCutInTheRecord)
{
    TempDir dir;
    std::string name = dir.path();
    for (int i = 0; i < 3; ++i) name += "/" + std::string(100, 'd');
    std::filesystem::create_directories(name);
    name += "/scene.zel";
    writeFile(name, build(smallScene()).bytes);
    auto record = zel_test::junkRecord();
    int result = -9;
    run([&] { result = OpenReadOnlyFile(record.get(), name.c_str(), 0, 0); });
    ASSERT_EQ(result, 0);
    EXPECT_EQ(std::string(record->ImageFilename), name.substr(0, 239));
    EXPECT_EQ(record->ZELHeader.year, 2001);
    run([&] { ZELFinishReadingFile(record.get()); });
}

}  // namespace
