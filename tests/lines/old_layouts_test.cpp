// The layouts of old versions: what each holds, and what replaces the missing fields.
#include <gtest/gtest.h>

#include <ostream>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::build;
using zel_test::BuiltFile;
using zel_test::Histogram;
using zel_test::OpenedFile;
using zel_test::run;
using zel_test::Scene;
using zel_test::smallScene;

// Three slots (20 in version 1.00) without blocks, 2 navigation points (51 below 1.11), 12 bytes of
// pixels per line.
struct Layout {
    int version, headerOffset, navOffset;
};

void PrintTo(const Layout& layout, std::ostream* out)
{
    *out << "version " << layout.version;
}

class EveryVersion : public testing::TestWithParam<Layout> {};

INSTANTIATE_TEST_SUITE_P(
    OldLayouts, EveryVersion,
    testing::Values(Layout{100, 12 + 20 * 264, 416}, Layout{101, 14 + 3 * 264, 416},
                    Layout{110, 14 + 3 * 264, 416}, Layout{111, 2040 + 3 * 268, 24},
                    Layout{120, 2040 + 3 * 268, 24}, Layout{121, 2040 + 3 * 270, 24},
                    Layout{130, 2040 + 3 * 270, 24}, Layout{131, 2040 + 3 * 274, 28},
                    Layout{132, 2040 + 3 * 278, 28}, Layout{140, 2040 + 3 * 278, 28},
                    Layout{141, 2040 + 3 * 282, 28}, Layout{142, 2046 + 3 * 282, 28},
                    Layout{150, 2046 + 3 * 282, 28}, Layout{151, 1221 + 2046 + 3 * 282, 28},
                    Layout{200, 1221 + 2046 + 3 * 282, 28},
                    Layout{201, 1221 + 2046 + 20008 + 3 * 282, 40},
                    Layout{210, 1221 + 2046 + 20008 + 3 * 282, 40},
                    Layout{211, 1221 + 2046 + 20008 + 3 * 284, 40},
                    Layout{220, 1221 + 2046 + 20008 + 3 * 284, 40},
                    Layout{221, 1221 + 2046 + 20008 + 3 * 284, 48},
                    Layout{230, 1221 + 2046 + 20008 + 3 * 284, 48}),
    [](const auto& test) { return "V" + std::to_string(test.param.version); });

TEST_P(EveryVersion, HasItsOwnOffsets)
{
    const Layout& layout = GetParam();
    OpenedFile file(build(smallScene(layout.version)).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->HeaderOffset, layout.headerOffset);
    EXPECT_EQ(file->NavOffset, layout.navOffset);
    EXPECT_EQ(file->LineOffset, layout.navOffset + 12);
    EXPECT_EQ(file->NumLines, 2);
    EXPECT_EQ(file->Channels[0].DataOffset, layout.navOffset);
    EXPECT_EQ(file->Channels[2].DataOffset, layout.navOffset + 4);
    EXPECT_EQ(file->ZELHeader.MaxNumChan, layout.version == 100 ? 20 : 3);
}

TEST_P(EveryVersion, ReadsWhatItHolds)
{
    const int version = GetParam().version;
    OpenedFile file(build(smallScene(version)).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->ZELHeader.year, 2001);
    EXPECT_EQ(file->ZELHeader.julian, 123);
    EXPECT_EQ(file->ZELHeader.sat_no, 7);
    EXPECT_EQ(file->ZELHeader.NPixelPerLine, 4);
    EXPECT_STREQ(file->Channels[0].ChannelLabel, "first");
    EXPECT_STREQ(file->Channels[2].ChannelLabel, "third");
    EXPECT_EQ(file->Channels[2].MaxValue, 60000.0f);
    EXPECT_EQ(file->Channels[2].DataByteSize, 2);
    EXPECT_EQ(file->Channels[2].ChannelWaveLength, version >= 111 ? 11.0f : 0.0f);
    if (version >= 111) {
        EXPECT_STREQ(file->ZELHeader.DataComment, "a scene");
        EXPECT_EQ(file->ZELHeader.NumNavPoints, 2);
        EXPECT_EQ(file->ZELHeader.NavPointInterval, 3);
        EXPECT_EQ(file->ZELHeader.SatelliteAltitude, 705.0f);
    }
}

TEST_P(EveryVersion, ReadsItsLines)
{
    const int version = GetParam().version;
    OpenedFile file(build(smallScene(version)).bytes);
    ASSERT_EQ(file.result, 0);
    run([&] {
        ZELReadLine(file.get());
        ZELReadLine(file.get());
    });
    EXPECT_EQ(file->ScanTime, 11.25);
    EXPECT_EQ(file->ScanAltitude, version >= 131 ? 701.5f : 0.0f);
    EXPECT_EQ(file->LeftPixel, version >= 201 ? 1 : 0);
    EXPECT_EQ(file->RightPixel, version >= 201 ? 2 : 3);
    EXPECT_EQ(file->NadirPixel, 1);  // stored, or 4 / 2 - 1
    if (version >= 221) {
        EXPECT_EQ(file->NadirLat, 45.5f);
    }
    EXPECT_EQ(file->LatBuffer[1], 41.5f);
    EXPECT_EQ(file->LonBuffer[1], -98.5f);
    EXPECT_EQ(file->Channels[0].ChannelData[3], 15.0f);
    EXPECT_EQ(file->Channels[2].ChannelData[3], 4.0f);
}

TEST_P(EveryVersion, AnnouncesOnlyVersionsBelow111)
{
    const int version = GetParam().version;
    OpenedFile file(build(smallScene(version)).bytes);
    char expected[40] = "";
    if (version < 111)
        snprintf(expected, sizeof expected, "old version %d.%02d00\n", version / 100,
                 version % 100);
    EXPECT_EQ(file.outcome.out, expected);
}

TEST_P(EveryVersion, CountsATrailingPartialLineNotAtAll)
{
    auto bytes = build(smallScene(GetParam().version)).bytes;
    bytes.pop_back();
    EXPECT_EQ(OpenedFile(bytes)->NumLines, 1);
}

TEST(OldLayouts, Version100Has20SlotsOf264BytesAfter12)
{
    OpenedFile file(build(smallScene(100)).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->ZELHeader.MaxNumChan, 20);
    EXPECT_EQ(file->HeaderOffset, 12 + 20 * 264);
}

TEST(OldLayouts, TheAltitudeBelow111GoesByTheSatellitesNumber)
{
    for (int version : {100, 101, 110}) {
        Scene scene = smallScene(version);
        scene.satellite = 11;
        EXPECT_EQ(OpenedFile(build(scene).bytes)->ZELHeader.SatelliteAltitude, 860.0f) << version;
        scene.satellite = 12;
        EXPECT_EQ(OpenedFile(build(scene).bytes)->ZELHeader.SatelliteAltitude, 820.0f) << version;
    }
}

TEST(OldLayouts, AnOldFileOf2048PixelsIsOfDataType1)
{
    for (int version : {100, 110}) {
        Scene scene = smallScene(version);
        scene.pixels = 2048;
        OpenedFile file(build(scene).bytes);
        ASSERT_EQ(file.result, 0);
        EXPECT_EQ(file->ZELHeader.DataType, 1);
        EXPECT_EQ(file->ZELHeader.NumNavPoints, 51);
        EXPECT_EQ(file->ZELHeader.StartNavPoint, 24);
        EXPECT_EQ(file->ZELHeader.NavPointInterval, 40);
        EXPECT_EQ(file->ZELHeader.SpatialResolution, 1.1f);
        EXPECT_EQ(file->NavOffset, 416);
        EXPECT_EQ(file->LineOffset, 416 + 2048 * 3);
    }
}

TEST(OldLayouts, AnOldFileOfAnyOtherWidthIsOfDataType2)
{
    for (int pixels : {409, 2047, 2049}) {
        Scene scene = smallScene(110);
        scene.pixels = pixels;
        OpenedFile file(build(scene).bytes);
        ASSERT_EQ(file.result, 0);
        EXPECT_EQ(file->ZELHeader.DataType, 2) << pixels;
        EXPECT_EQ(file->ZELHeader.NumNavPoints, 51);
        EXPECT_EQ(file->ZELHeader.StartNavPoint, 4);
        EXPECT_EQ(file->ZELHeader.NavPointInterval, 8);
        EXPECT_EQ(file->ZELHeader.SpatialResolution, 4.0f);
    }
}

TEST(OldLayouts, Below111TheStandardLutsAreAddedAndThereIsNoCommentAndNoTable)
{
    for (int version : {100, 101, 110}) {
        OpenedFile file(build(smallScene(version)).bytes);
        ASSERT_EQ(file.result, 0);
        EXPECT_STREQ(file->ZELHeader.DataComment, "");
        EXPECT_EQ(file->ZELHeader.TableList.NumTables, 0);
        EXPECT_EQ(file->ZELHeader.NumDisplayLUTs, 2);
        const ZELDisplayLUTType* lut = file->ZELHeader.DisplayLUTHead;
        EXPECT_EQ(lut->DisplayLUTKeyValue, 1);
        EXPECT_STREQ(lut->DisplayLUTLabel, "Collapsed Classes");
        EXPECT_EQ(lut->NextDisplayLUT->DisplayLUTKeyValue, 2);
        EXPECT_STREQ(lut->NextDisplayLUT->DisplayLUTLabel, "Full Classes");
    }
}

TEST(OldLayouts, AngleChannelsAreReadFrom142)
{
    for (int version : {100, 110, 111, 141, 142, 150, 151, 200}) {
        Scene scene = smallScene(version);
        scene.szIndex = 0;
        scene.vzIndex = 2;
        scene.azIndex = 0;
        OpenedFile file(build(scene).bytes);
        ASSERT_EQ(file.result, 0);
        EXPECT_EQ(file->ZELHeader.SZChannelIndex, version >= 142 ? 0 : -1) << version;
        EXPECT_EQ(file->ZELHeader.VZChannelIndex, version >= 142 ? 2 : -1) << version;
        EXPECT_EQ(file->ZELHeader.AZChannelIndex, version >= 142 ? 0 : -1) << version;
    }
}

TEST(OldLayouts, MetadataIsReadFrom201)
{
    for (int version : {110, 142, 200, 201, 230}) {
        Scene scene = smallScene(version);
        scene.metaDataType = 1;
        scene.metaData = "text";
        OpenedFile file(build(scene).bytes);
        ASSERT_EQ(file.result, 0);
        EXPECT_EQ(file->ZELHeader.MetaDataType, version >= 201 ? 1 : 0) << version;
        EXPECT_EQ(file->ZELHeader.MetaDataSize, version >= 201 ? 4 : 0) << version;
        EXPECT_STREQ(file->ZELHeader.MetaDataText, version >= 201 ? "text" : "") << version;
    }
}

TEST(OldLayouts, UnitsBelow131FollowFromTheWavelength)
{
    const struct {
        float wavelength;
        int units;
    } cases[] = {{0.0f, 0}, {-1.0f, 0}, {0.01f, 3}, {0.5f, 3}, {3.49f, 3}, {3.5f, 1}, {11.0f, 1}};
    for (const auto& c : cases) {
        Scene scene = smallScene(130);
        scene.slots[0].wavelength = c.wavelength;
        scene.slots[0].units = 7;
        EXPECT_EQ(OpenedFile(build(scene).bytes)->Channels[0].Units, c.units) << c.wavelength;
        scene.version = 131;
        EXPECT_EQ(OpenedFile(build(scene).bytes)->Channels[0].Units, 7) << c.wavelength;
    }
}

TEST(OldLayouts, WithoutAWavelengthThereAreNoUnits)
{
    EXPECT_EQ(OpenedFile(build(smallScene(110)).bytes)->Channels[0].Units, 0);
}

int baseFlag(int version, int dataType, int slot)
{
    Scene scene = smallScene(version);
    scene.dataType = dataType;
    scene.slots.assign(152, {});
    scene.slots[static_cast<std::size_t>(slot)] = zel_test::channel(3, "c");
    OpenedFile file(build(scene).bytes);
    return file.result == 0 ? file->Channels[slot].BaseChannelFlag : -99;
}

TEST(OldLayouts, BaseFlagsBelow132GoBySensorAndSlot)
{
    for (int version : {111, 130, 131}) {
        EXPECT_EQ(baseFlag(version, 3, 99), 0);
        EXPECT_EQ(baseFlag(version, 3, 100), 1);
        EXPECT_EQ(baseFlag(version, 3, 149), 1);
        EXPECT_EQ(baseFlag(version, 3, 150), 0);
        EXPECT_EQ(baseFlag(version, 3, 0), 0);
        for (int dataType : {1, 2, 4}) {
            EXPECT_EQ(baseFlag(version, dataType, 0), 1) << dataType;
            EXPECT_EQ(baseFlag(version, dataType, 5), 1) << dataType;
            EXPECT_EQ(baseFlag(version, dataType, 6), 0) << dataType;
            EXPECT_EQ(baseFlag(version, dataType, 100), 0) << dataType;
        }
        EXPECT_EQ(baseFlag(version, 5, 0), 0);
        EXPECT_EQ(baseFlag(version, 5, 100), 0);
    }
    EXPECT_EQ(baseFlag(132, 1, 0), 0) << "stored from 1.32";
    EXPECT_EQ(baseFlag(132, 3, 100), 1) << "stored, and still forced";
}

TEST(OldLayouts, BaseFlagsBelow111FollowTheSensorOfThatWidth)
{
    OpenedFile file(build(smallScene(110)).bytes);
    EXPECT_EQ(file->Channels[0].BaseChannelFlag, 1);
    EXPECT_EQ(file->Channels[2].BaseChannelFlag, 1);
}

Scene withHistograms(int version, int bins, int standardBins)
{
    Scene scene = smallScene(version);
    const auto counts = [](int n) { return std::vector<int32_t>(static_cast<std::size_t>(n), 2); };
    scene.slots[0].histogram = Histogram{9.0f, 1.0f, counts(bins)};
    scene.slots[0].standardHistogram = Histogram{90.0f, 10.0f, counts(standardBins)};
    return scene;
}

TEST(OldLayouts, HistogramBlocksCountIntoTheHeaderFrom121)
{
    for (int version : {121, 130, 131, 132, 140, 141, 150}) {
        const BuiltFile built = build(withHistograms(version, 5, 5));
        OpenedFile file(built.bytes);
        ASSERT_EQ(file.result, 0) << version;
        EXPECT_EQ(file->HeaderOffset, static_cast<int>(built.headerEnd)) << version;
        EXPECT_EQ(file->HistogramFlag, 1) << version;
        EXPECT_EQ(file->Channels[0].ChannelHistogram->NumHistogramBins, 5) << version;
        EXPECT_EQ(file->Channels[0].ChannelStandardHistogram->Min, 10.0f) << version;
        EXPECT_EQ(file->Channels[0].ChannelHistogram->fileOffset,
                  static_cast<int>(built.offset("channel[0].histogram.NumHistogramBins")));
    }
}

// Up to 1.40 the block of the standard histogram is counted with the bins of the channel histogram.
TEST(OldLayouts, AStandardHistogramCountsAsLongAsTheChannelHistogram)
{
    Scene scene = withHistograms(140, 4, 6);
    scene.lines.resize(10);
    const BuiltFile built = build(scene);
    OpenedFile file(built.bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->HeaderOffset, 2040 + 3 * 278 + 2 * (4 * 4 + 10));
    EXPECT_EQ(file->HeaderOffset, static_cast<int>(built.headerEnd) - 8);
    EXPECT_EQ(file->Channels[0].ChannelStandardHistogram->NumHistogramBins, 6);
    EXPECT_STREQ(file->Channels[2].ChannelLabel, "third")
        << "the records themselves are read right";
}

TEST(OldLayouts, AStandardHistogramAloneInAnOldFileIsNoCrash)
{
    Scene scene = withHistograms(140, 4, 4);
    scene.slots[0].histogram.reset();
    OpenedFile file(build(scene).bytes);
    EXPECT_FALSE(file.outcome.ended);
    EXPECT_TRUE(file.result == 0 || file.result == -2);
}

TEST(OldLayouts, From141TheHeaderEndsWhereItsLastRecordEnds)
{
    const BuiltFile built = build(withHistograms(141, 4, 6));
    EXPECT_EQ(OpenedFile(built.bytes)->HeaderOffset, static_cast<int>(built.headerEnd));
}

// A table of n values is counted as 204 + 204 n bytes, which moves the lines of files below 1.41.
TEST(OldLayouts, ATableCountsMoreThanItsBytesUpTo140)
{
    Scene scene = smallScene(140);
    scene.tables = {zel_test::Table{1, "t", {1, 2, 3, 4, 5}}};
    scene.lines.resize(60);
    BuiltFile built = build(scene);
    OpenedFile old(built.bytes);
    ASSERT_EQ(old.result, 0);
    EXPECT_EQ(old->HeaderOffset, 2040 + 1224 + 3 * 278);
    EXPECT_EQ(old->HeaderOffset, static_cast<int>(built.headerEnd) + 1000);
    EXPECT_EQ(old->NumLines, (60 * 40 - 1000) / 40);
    scene.version = 141;
    built = build(scene);
    EXPECT_EQ(OpenedFile(built.bytes)->HeaderOffset, static_cast<int>(built.headerEnd));
}

TEST(OldLayouts, LutsCountTheirBytesUpTo140)
{
    Scene scene = smallScene(140);
    scene.luts = {zel_test::Lut{1, "l", {{1, 2, 3, "a"}, {4, 5, 6, "b"}}}};
    const BuiltFile built = build(scene);
    OpenedFile file(built.bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->HeaderOffset, 2040 + 610 + 3 * 278);
    EXPECT_EQ(file->NumLines, 2);
}

// A prefix put in front of an old file is not counted below 1.51.
TEST(OldLayouts, APrefixCountsIntoTheHeaderFrom151Only)
{
    Scene scene = smallScene(140);
    scene.prefixed = true;
    scene.lines.resize(50);
    OpenedFile file(build(scene).bytes);
    ASSERT_EQ(file.result, 0);
    EXPECT_EQ(file->HeaderOffset, 2040 + 3 * 278);
    scene.version = 141;
    const BuiltFile built = build(scene);
    EXPECT_EQ(OpenedFile(built.bytes)->HeaderOffset, static_cast<int>(built.headerEnd));
}

}  // namespace
