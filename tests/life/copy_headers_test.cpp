// A new file with the header and channels of another.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/file_builder.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::Bytes;
using zel_test::OpenedFile;
using zel_test::run;
using zel_test::Scene;
using zel_test::smallScene;

// A scene with something in every field: slots 0 and 2 present, two angles in channels.
Scene fullScene(int version = 230)
{
    Scene scene = smallScene(version);
    scene.year = 1995;
    scene.julian = 44;
    scene.satellite = -3;
    scene.dataType = 8;
    scene.altitude = 705.25f;
    scene.resolution = 15.5f;
    scene.comment = "the source";
    scene.szIndex = 2;
    scene.vzIndex = 0;
    scene.azIndex = -1;
    scene.metaDataType = 1;
    scene.metaData = "GROUP = L1";
    scene.luts = {{4, "colours", {{1, 2, 3, "one"}, {4, 5, 6, "two"}}}};
    scene.tables = {{7, "curve", {0.5f, 1.5f}}};
    scene.slots[2].bits = 11;
    scene.slots[2].baseFlag = 1;
    scene.slots[2].tables = {{9, "offset", {-3.0f}}};
    scene.slots[2].histogram = zel_test::Histogram{8, 2, {1, 2, 3}};
    scene.slots[2].standardHistogram = zel_test::Histogram{14, 2, {4, 5, 6, 7}};
    return scene;
}

// A copy of a file's headers, released with everything it owns.
class Copy {
public:
    explicit Copy(OpenedFile& source) : record_(zel_test::junkRecord())
    {
        outcome = run([&] { ZELCopyFileHeaders(record_.get(), source.get()); });
    }
    ~Copy()
    {
        const zel_test::TempDir dir;
        ZELSetOverwritePromptOff(record_.get());
        run([&] {
            if (ZELOpenWriteOnlyFile(record_.get(), dir.path("released.zel").c_str()) == 0)
                ZELFinishWritingFile(record_.get());
        });
    }
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;

    ZELType* operator->() { return record_.get(); }
    ZELType* get() { return record_.get(); }

    zel_test::Outcome outcome;

private:
    std::unique_ptr<ZELType> record_;
};

TEST(CopyFileHeaders, CopiesTheHeader)
{
    OpenedFile source(build(fullScene()).bytes);
    Copy copy(source);
    EXPECT_FALSE(copy.outcome.ended);
    EXPECT_EQ(copy.outcome.out, "");
    const ZELHeaderType& header = copy->ZELHeader;
    EXPECT_EQ(header.DataType, 8);
    EXPECT_STREQ(header.DataComment, "the source");
    EXPECT_EQ(header.year, 1995);
    EXPECT_EQ(header.julian, 44);
    EXPECT_EQ(header.sat_no, -3);
    EXPECT_EQ(header.NPixelPerLine, 4);
    EXPECT_EQ(header.NumNavPoints, 2);
    EXPECT_EQ(header.StartNavPoint, 0);
    EXPECT_EQ(header.NavPointInterval, 3);
    EXPECT_EQ(header.SatelliteAltitude, 705.25f);
    EXPECT_EQ(header.SpatialResolution, 15.5f);
    EXPECT_EQ(header.MetaDataType, 1);
    EXPECT_EQ(header.MetaDataSize, 10);
    EXPECT_EQ(std::string(header.MetaDataText, 10), "GROUP = L1");
    EXPECT_EQ(header.SZChannelIndex, 2);
    EXPECT_EQ(header.VZChannelIndex, 0);
    EXPECT_EQ(header.AZChannelIndex, -1);
    EXPECT_EQ(header.MaxNumChan, 3) << "the source's";
}

TEST(CopyFileHeaders, CopiesAllOfTheMetadataText)
{
    Scene scene = smallScene();
    scene.metaDataType = 1;
    for (int i = 0; i < 20000; ++i) scene.metaData += static_cast<char>('a' + i % 23);
    OpenedFile source(build(scene).bytes);
    Copy copy(source);
    EXPECT_EQ(copy->ZELHeader.MetaDataSize, 20000);
    EXPECT_EQ(std::string(copy->ZELHeader.MetaDataText, 20000), scene.metaData);
}

TEST(CopyFileHeaders, MakesAWriteOnlyRecordThatIsNotYetOpen)
{
    OpenedFile source(build(fullScene()).bytes);
    Copy copy(source);
    EXPECT_EQ(copy->ReadWriteFlag, 2);
    EXPECT_EQ(copy->WritePrompt, 1);
    EXPECT_EQ(copy->FileOpened, 0);
    EXPECT_EQ(copy->HeaderOffset, 0);
    EXPECT_EQ(copy->NavOffset, 8 * 2 + 32);
    EXPECT_EQ(copy->NumLines, 2);
    EXPECT_EQ(copy->fileOffset, 0);
    EXPECT_EQ(copy->CurrentLine, 0);
    EXPECT_EQ(copy->PreviousLine, -2);
    EXPECT_EQ(copy->HistogramFlag, 1) << "the source has a histogram";
}

TEST(CopyFileHeaders, TakesTheHistogramFlagFromTheSource)
{
    OpenedFile source(build(smallScene()).bytes);
    Copy copy(source);
    EXPECT_EQ(copy->HistogramFlag, 0);
}

TEST(CopyFileHeaders, TheVersionIsTheLibrarysAndTheNavigationLengthTheSources)
{
    OpenedFile source(build(smallScene(142)).bytes);
    Copy copy(source);
    EXPECT_EQ(copy->ZELHeader.VersionNumber, 2.3f);
    EXPECT_EQ(copy->NavOffset, 8 * 2 + 8 + 4) << "time and altitude, as version 1.42 has it";
}

TEST(CopyFileHeaders, CopiesEverySlot)
{
    Scene scene = fullScene();
    scene.slots[1].max = 5;  // absent, but with a scale range
    scene.slots[1].type = 4;
    OpenedFile source(build(scene).bytes);
    source->Channels[0].LoadChannelFlag = 1;
    Copy copy(source);
    const ZELChannelType& first = copy->Channels[0];
    EXPECT_EQ(first.ChannelPresentFlag, 1);
    EXPECT_EQ(first.ChannelWaveLength, 0.5f);
    EXPECT_EQ(first.MaxValue, 250.0f);
    EXPECT_EQ(first.MinValue, 2.0f);
    EXPECT_EQ(first.Type, 3);
    EXPECT_EQ(first.DataByteSize, 1);
    EXPECT_EQ(first.DataBitResolution, 8);
    EXPECT_EQ(first.Units, 2);
    EXPECT_EQ(first.BaseChannelFlag, 1);
    EXPECT_EQ(first.LoadChannelFlag, 1);
    EXPECT_STREQ(first.ChannelLabel, "first");
    EXPECT_STREQ(first.ChannelComment, "the first channel");
    EXPECT_EQ(first.Mask, nullptr);
    const ZELChannelType& second = copy->Channels[1];
    EXPECT_EQ(second.ChannelPresentFlag, 0);
    EXPECT_EQ(second.MaxValue, 5.0f);
    EXPECT_EQ(second.Type, 4);
    const ZELChannelType& third = copy->Channels[2];
    EXPECT_EQ(third.ChannelPresentFlag, 1);
    EXPECT_EQ(third.DataByteSize, 2);
    EXPECT_EQ(third.DataBitResolution, 11);
    EXPECT_EQ(third.ChannelWaveLength, 11.0f);
    EXPECT_EQ(third.Units, 4);
    EXPECT_EQ(third.BaseChannelFlag, 1);
    EXPECT_STREQ(third.ChannelLabel, "third");
    copy->Channels[0].LoadChannelFlag = 0;
}

TEST(CopyFileHeaders, PlacesChannelsInTheLineRecord)
{
    OpenedFile source(build(fullScene()).bytes);
    Copy copy(source);
    EXPECT_EQ(copy->Channels[0].DataOffset, 48);
    EXPECT_EQ(copy->Channels[1].DataOffset, 52);
    EXPECT_EQ(copy->Channels[2].DataOffset, 52);
    EXPECT_EQ(copy->LineOffset, 60);
}

// Version 1.42 has 8 bytes of time, 4 of altitude and 16 of positions before the pixels.
TEST(CopyFileHeaders, OfAnOldSourceThePlacesFollowItsNavigationLength)
{
    OpenedFile source(build(smallScene(142)).bytes);
    Copy copy(source);
    EXPECT_EQ(copy->Channels[0].DataOffset, 28);
    EXPECT_EQ(copy->Channels[2].DataOffset, 28 + 4);
    EXPECT_EQ(copy->LineOffset, 28 + 4 + 8);
}

TEST(CopyFileHeaders, CopiesLutsAndTablesDeeply)
{
    OpenedFile source(build(fullScene()).bytes);
    Copy copy(source);
    EXPECT_EQ(copy->ZELHeader.NumDisplayLUTs, 1);
    const ZELDisplayLUTType* lut = ZELFetchLUTByKey(copy.get(), 4);
    ASSERT_NE(lut, nullptr);
    EXPECT_STREQ(lut->DisplayLUTLabel, "colours");
    EXPECT_EQ(lut->DisplayLUT[1].G, 5);
    EXPECT_NE(lut, ZELFetchLUTByKey(source.get(), 4));
    EXPECT_EQ(copy->ZELHeader.TableList.NumTables, 1);
    const TableType* table = ZELFetchTableByKey(&copy->ZELHeader.TableList, 7);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->Table[1], 1.5f);
    EXPECT_NE(table->Table, ZELFetchTableByKey(&source->ZELHeader.TableList, 7)->Table);
    const TableType* own = ZELFetchTableByKey(&copy->Channels[2].TableList, 9);
    ASSERT_NE(own, nullptr);
    EXPECT_STREQ(own->TableLabel, "offset");
    EXPECT_EQ(own->Table[0], -3.0f);
    EXPECT_EQ(copy->Channels[0].TableList.NumTables, 0);
}

TEST(CopyFileHeaders, DuplicatesTheStandardHistogramAndClearsTheOther)
{
    OpenedFile source(build(fullScene()).bytes);
    Copy copy(source);
    EXPECT_EQ(copy->Channels[2].ChannelHistogram, nullptr);
    EXPECT_EQ(copy->Channels[0].ChannelStandardHistogram, nullptr);
    const ZELHistogramType* h = copy->Channels[2].ChannelStandardHistogram;
    ASSERT_NE(h, nullptr);
    EXPECT_NE(h, source->Channels[2].ChannelStandardHistogram);
    EXPECT_EQ(h->NumHistogramBins, 4);
    EXPECT_EQ(h->Max, 14.0f);
    EXPECT_EQ(h->Min, 2.0f);
    EXPECT_EQ(h->BinIncrement, 0.25f);
    EXPECT_EQ(h->NumPixels, 22.0f);
    EXPECT_EQ(std::vector<int>(h->Histogram, h->Histogram + 4), (std::vector<int>{4, 5, 6, 7}));
    EXPECT_NE(h->Histogram, source->Channels[2].ChannelStandardHistogram->Histogram);
}

TEST(CopyFileHeaders, BuildsNoScalingTable)
{
    Scene scene = smallScene();
    scene.slots[0] = zel_test::channel(1, "scaled", 10, 0);
    OpenedFile source(build(scene).bytes);
    ASSERT_NE(source->Channels[0].ChannelLUT, nullptr);
    Copy copy(source);
    EXPECT_EQ(copy->Channels[0].ChannelLUT, nullptr);
}

TEST(CopyFileHeaders, SlotsAfterTheSourcesLastAreEmpty)
{
    OpenedFile source(build(fullScene()).bytes);
    Copy copy(source);
    for (int i = 3; i < 1000; ++i) ASSERT_EQ(copy->Channels[i].ChannelPresentFlag, 0) << i;
}

TEST(CopyFileHeaders, LeavesTheSourceAsItWas)
{
    OpenedFile source(build(fullScene()).bytes);
    {
        Copy copy(source);
    }
    EXPECT_EQ(ZELReadLine(source.get()), 4);
    EXPECT_EQ(source->Channels[2].ChannelHistogram->NumPixels, 6.0f);
    EXPECT_STREQ(ZELFetchLUTByKey(source.get(), 4)->DisplayLUTLabel, "colours");
}

// The whole way: headers, then line by line, gives the source's bytes again.
TEST(CopyFileHeaders, WithItsLinesCopiedTheNewFileIsTheOldOne)
{
    Scene scene = fullScene();
    scene.luts.clear();  // only one file of a process gets its LUTs
    scene.slots[2].histogram.reset();
    scene.slots[1].label.clear();
    const zel_test::BuiltFile built = build(scene);
    OpenedFile source(built.bytes);
    const zel_test::TempDir dir;
    const std::string path = dir.path("copy.zel");
    auto copy = zel_test::junkRecord();
    const auto outcome = run([&] {
        ZELCopyFileHeaders(copy.get(), source.get());
        ZELOpenWriteOnlyFile(copy.get(), path.c_str());
        while (ZELReadLine(source.get()) != 0) {
            ZELCopyLine(copy.get(), source.get());
            ZELWriteLine(copy.get());
        }
        ZELFinishWritingFile(copy.get());
    });
    EXPECT_FALSE(outcome.ended) << outcome.out;
    EXPECT_EQ(zel_test::readFile(path), built.bytes);
}

}  // namespace
