// Declaring channels, loading their lines, and deleting them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/file_builder.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::OpenedFile;
using zel_test::Outcome;
using zel_test::run;
using zel_test::Writer;

void expectEnded(const Outcome& outcome, const std::string& message)
{
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, message);
}

TEST(AddChannel, FillsTheSlot)
{
    Writer writer;
    writer.slot(7).BaseChannelFlag = 1;
    writer.slot(7).ChannelWaveLength = 0.5f;
    writer.slot(7).Units = 3;
    ZELAddChannel(writer.get(), 7, 330.5f, 180.25f, 3, 10, "the label", "the comment");
    const ZELChannelType& slot = writer.slot(7);
    EXPECT_EQ(slot.ChannelPresentFlag, 1);
    EXPECT_EQ(slot.MaxValue, 330.5f);
    EXPECT_EQ(slot.MinValue, 180.25f);
    EXPECT_EQ(slot.Type, 3);
    EXPECT_EQ(slot.DataBitResolution, 10);
    EXPECT_STREQ(slot.ChannelLabel, "the label");
    EXPECT_STREQ(slot.ChannelComment, "the comment");
    EXPECT_EQ(slot.BaseChannelFlag, 0) << "cleared";
    EXPECT_EQ(slot.ChannelWaveLength, 0.5f) << "left as it was";
    EXPECT_EQ(slot.Units, 3) << "left as it was";
}

TEST(AddChannel, TheByteSizeFollowsFromTheStorageCode)
{
    Writer writer;
    const int sizes[] = {0, 1, 2, 1, 4, 2};
    for (int code = 1; code <= 5; ++code) {
        writer.add(code, code, 10, 0);
        EXPECT_EQ(writer.slot(code).DataByteSize, sizes[code]) << code;
        EXPECT_EQ(writer.slot(code).Type, code);
    }
    writer.open();
}

TEST(AddChannel, ABytesTableRunsOverTheRange)
{
    Writer writer;
    writer.add(0, 1, 330, 180);
    const float* table = writer.slot(0).ChannelLUT;
    ASSERT_NE(table, nullptr);
    for (int k = 0; k < 256; ++k)
        EXPECT_FLOAT_EQ(table[k], static_cast<float>(k * (150.0 / 255.0) + 180.0)) << k;
    writer.open();
}

TEST(AddChannel, AWordsTableRunsOverTheRange)
{
    Writer writer;
    writer.add(0, 2, 330, 180);
    const float* table = writer.slot(0).ChannelLUT;
    ASSERT_NE(table, nullptr);
    for (int k = 0; k < 65536; k += 5)
        ASSERT_FLOAT_EQ(table[k], static_cast<float>(k * (150.0 / 65535.0) + 180.0)) << k;
    EXPECT_EQ(table[65535], 330.0f);
    writer.open();
}

TEST(AddChannel, UnscaledCodesHaveNoTable)
{
    Writer writer;
    for (const int code : {3, 4, 5}) {
        writer.add(code, code, 10, 0);
        EXPECT_EQ(writer.slot(code).ChannelLUT, nullptr) << code;
    }
}

TEST(AddChannel, SwitchesHistogramUpdatesOnWhenTheFileKeepsThem)
{
    Writer writer;
    writer.slot(0).UpdateChannelHistogramFlag = writer.slot(1).UpdateChannelHistogramFlag = 0;
    writer.add(0, 3, 0, 0);
    EXPECT_EQ(writer.slot(0).UpdateChannelHistogramFlag, 1);
    ZELSetHistogramFlag(writer.get(), 0);
    writer.add(1, 3, 0, 0);
    EXPECT_EQ(writer.slot(1).UpdateChannelHistogramFlag, 0);
}

TEST(AddChannel, TextsLongerThanTheirFieldsAreCut)
{
    Writer writer;
    const std::string text(500, 't');
    ZELAddChannel(writer.get(), 0, 0, 0, 3, 8, text.c_str(), text.c_str());
    EXPECT_EQ(std::string(writer.slot(0).ChannelLabel), std::string(119, 't'));
    EXPECT_EQ(std::string(writer.slot(0).ChannelComment), std::string(119, 't'));
}

TEST(AddChannel, DeclaringASlotAgainReplacesItsTable)
{
    Writer writer;
    writer.add(0, 2, 10, 0);
    writer.add(0, 1, 255, 0);
    EXPECT_EQ(writer.slot(0).DataByteSize, 1);
    EXPECT_EQ(writer.slot(0).ChannelLUT[255], 255.0f);
    writer.add(0, 3, 0, 0);
    EXPECT_EQ(writer.slot(0).ChannelLUT, nullptr) << "a code without a table keeps none";
    writer.open();
}

TEST(AddChannel, RefusesSlotsAndCodesThatDoNotExist)
{
    for (const int slot : {-1, 1000, 100000}) {
        Writer writer;
        const Outcome outcome = run([&] { writer.add(slot, 3, 0, 0); });
        EXPECT_TRUE(outcome.ended) << slot;
        EXPECT_EQ(outcome.status, -1) << slot;
        EXPECT_TRUE(outcome.out.starts_with("ZELAddChannel")) << outcome.out;
    }
    for (const int code : {0, 6, -1}) {
        Writer writer;
        const Outcome outcome = run([&] { writer.add(0, code, 0, 0); });
        EXPECT_TRUE(outcome.ended) << code;
        EXPECT_EQ(outcome.status, -1) << code;
    }
}

TEST(AddChannel, IsRefusedOnceTheHeaderIsWritten)
{
    Writer writer;
    writer.open();
    const Outcome outcome = run([&] { writer.add(0, 3, 0, 0); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
}

TEST(AddChannel, EveryVariantIsRefusedOnAReadOnlyRecord)
{
    OpenedFile file(build(zel_test::smallScene()).bytes);
    ZELType* record = file.get();
    const std::string message = "ZELAddChannel can only be used on a write only ZEL file\n";
    expectEnded(run([&] { ZELAddChannel(record, 1, 1, 0, 3, 8, "", ""); }), message);
    expectEnded(run([&] { ZELAddLUTChannel(record, 1, 1, 0, 3, 8, "", ""); }), message);
    expectEnded(run([&] { ZELAddMaskChannel(record, nullptr, 1, 1, 0, 3, 8, "", ""); }), message);
    expectEnded(run([&] { ZELAddSensorChannel(record, 1, 1, 0, 3, 8, "", "", 1, 1); }), message);
    expectEnded(run([&] { ZELAddSensorBaseChannel(record, 1, 1, 0, 3, 8, "", "", 1, 1); }),
                message);
    expectEnded(run([&] { ZELAddSpecialChannel(record, 1, 1, 0, 3, 8, "", ""); }), message);
    expectEnded(run([&] { ZELAddStandardAVHRRChannels(record, 1); }),
                "ZELAddStandardAVHRRChannels can only be used on a write only ZEL file\n");
    expectEnded(run([&] { ZELAddStandardVIRSChannels(record, 1); }),
                "ZELAddStandardVIRSChannels can only be used on a write only ZEL file\n");
}

// What every variant hands on to the plain declaration.
void expectPlainPart(const ZELChannelType& slot)
{
    EXPECT_EQ(slot.ChannelPresentFlag, 1);
    EXPECT_EQ(slot.MaxValue, 9.0f);
    EXPECT_EQ(slot.MinValue, 1.0f);
    EXPECT_EQ(slot.Type, 5);
    EXPECT_EQ(slot.DataByteSize, 2);
    EXPECT_EQ(slot.DataBitResolution, 12);
    EXPECT_STREQ(slot.ChannelLabel, "l");
    EXPECT_STREQ(slot.ChannelComment, "c");
}

TEST(AddVariant, ALutChannelHasNoWavelengthAndLookUpUnits)
{
    Writer writer;
    writer.slot(2).ChannelWaveLength = 5;
    ZELAddLUTChannel(writer.get(), 2, 9, 1, 5, 12, "l", "c");
    expectPlainPart(writer.slot(2));
    EXPECT_EQ(writer.slot(2).ChannelWaveLength, 0.0f);
    EXPECT_EQ(writer.slot(2).Units, 5);
    EXPECT_EQ(writer.slot(2).BaseChannelFlag, 0);
}

TEST(AddVariant, AMaskChannelWithoutAMaskIsALutChannel)
{
    Writer writer;
    writer.slot(2).ChannelWaveLength = 5;
    ZELAddMaskChannel(writer.get(), nullptr, 2, 9, 1, 5, 12, "l", "c");
    expectPlainPart(writer.slot(2));
    EXPECT_EQ(writer.slot(2).ChannelWaveLength, 0.0f);
    EXPECT_EQ(writer.slot(2).Units, 5);
    EXPECT_EQ(writer.slot(2).Mask, nullptr);
}

TEST(AddVariant, ASensorChannelHasWavelengthAndUnits)
{
    Writer writer;
    ZELAddSensorChannel(writer.get(), 2, 9, 1, 5, 12, "l", "c", 10.8f, 1);
    expectPlainPart(writer.slot(2));
    EXPECT_EQ(writer.slot(2).ChannelWaveLength, 10.8f);
    EXPECT_EQ(writer.slot(2).Units, 1);
    EXPECT_EQ(writer.slot(2).BaseChannelFlag, 0);
}

TEST(AddVariant, ASensorBaseChannelIsMarked)
{
    Writer writer;
    ZELAddSensorBaseChannel(writer.get(), 2, 9, 1, 5, 12, "l", "c", 0.65f, 3);
    expectPlainPart(writer.slot(2));
    EXPECT_EQ(writer.slot(2).ChannelWaveLength, 0.65f);
    EXPECT_EQ(writer.slot(2).Units, 3);
    EXPECT_EQ(writer.slot(2).BaseChannelFlag, 1);
}

TEST(AddVariant, ASpecialChannelHasNeitherWavelengthNorUnits)
{
    Writer writer;
    writer.slot(2).Units = 4;
    ZELAddSpecialChannel(writer.get(), 2, 9, 1, 5, 12, "l", "c");
    expectPlainPart(writer.slot(2));
    EXPECT_EQ(writer.slot(2).ChannelWaveLength, -99.0f);
    EXPECT_EQ(writer.slot(2).Units, 0);
    EXPECT_EQ(writer.slot(2).BaseChannelFlag, 0);
}

struct StandardRow {
    const char* label;
    float max, min, wavelength;
    int units;
};

void expectStandard(Writer& writer, const std::vector<StandardRow>& table, int code, int bits)
{
    for (int i = 0; i < 6; ++i) {
        SCOPED_TRACE(i);
        const ZELChannelType& slot = writer.slot(i);
        const StandardRow& row = table[static_cast<std::size_t>(i)];
        EXPECT_EQ(slot.ChannelPresentFlag, 1);
        EXPECT_STREQ(slot.ChannelLabel, row.label);
        EXPECT_STREQ(slot.ChannelComment, "Calibration version 1.0");
        EXPECT_EQ(slot.MaxValue, row.max);
        EXPECT_EQ(slot.MinValue, row.min);
        EXPECT_EQ(slot.ChannelWaveLength, row.wavelength);
        EXPECT_EQ(slot.Units, row.units);
        EXPECT_EQ(slot.Type, code);
        EXPECT_EQ(slot.DataBitResolution, bits);
        EXPECT_EQ(slot.BaseChannelFlag, 1);
    }
    EXPECT_EQ(writer.slot(6).ChannelPresentFlag, 0);
}

const std::vector<StandardRow> avhrr = {{"1", 100, 0, 0.62f, 2},    {"2", 100, 0, 0.83f, 2},
                                        {"3T", 330, 180, 3.73f, 1}, {"4", 330, 180, 11.0f, 1},
                                        {"5", 330, 180, 12.0f, 1},  {"3R", 100, 0, 3.73f, 2}};

const std::vector<StandardRow> virs = {{"1", 1, 0, 0.63f, 3},      {"2", 1, 0, 1.6f, 3},
                                       {"3T", 330, 180, 3.75f, 1}, {"4", 330, 180, 10.8f, 1},
                                       {"5", 330, 180, 12.0f, 1},  {"3R", 1, 0, 3.75f, 3}};

TEST(StandardChannels, OfAvhrr)
{
    Writer writer;
    ZELAddStandardAVHRRChannels(writer.get(), 2);
    expectStandard(writer, avhrr, 2, 10);
    writer.open();
}

TEST(StandardChannels, OfVirs)
{
    Writer writer;
    ZELAddStandardVIRSChannels(writer.get(), 2);
    expectStandard(writer, virs, 2, 10);
    writer.open();
}

TEST(StandardChannels, TheBitResolutionFollowsFromTheStorageCode)
{
    for (const int code : {1, 3, 4, 5}) {
        Writer first, second;
        ZELAddStandardAVHRRChannels(first.get(), code);
        expectStandard(first, avhrr, code, code == 1 ? 8 : 0);
        ZELAddStandardVIRSChannels(second.get(), code);
        expectStandard(second, virs, code, code == 1 ? 8 : 0);
        first.open();
        second.open();
    }
}

TEST(LoadChannel, CopiesALineAndMarksItForEncoding)
{
    Writer writer(3, 0, 2);
    writer.add(1, 4, 0, 0);
    writer.open();
    EXPECT_EQ(writer.slot(1).LoadChannelFlag, 0);
    float values[] = {1.5f, 2.5f, 3.5f, 99};
    ZELLoadChannel(writer.get(), 1, values);
    values[0] = 0;
    const float* data = writer.slot(1).ChannelData;
    EXPECT_EQ(std::vector<float>(data, data + 3), (std::vector<float>{1.5f, 2.5f, 3.5f}));
    EXPECT_EQ(writer.slot(1).LoadChannelFlag, 1);
}

TEST(LoadChannel, IsRefusedOnAReadOnlyRecord)
{
    OpenedFile file(build(zel_test::smallScene()).bytes);
    const float values[4] = {};
    expectEnded(run([&] { ZELLoadChannel(file.get(), 0, values); }),
                "ZELLoadChannel can only be used on a write only ZEL file\n");
}

TEST(LoadChannel, OfAnAbsentSlotEndsTheProcess)
{
    Writer writer(4, 0, 3);
    writer.add(0, 3, 0, 0);
    writer.open();
    const float values[4] = {};
    for (const int slot : {1, 2, 999, 1000, -1})
        expectEnded(run([&] { ZELLoadChannel(writer.get(), slot, values); }),
                    "Attempted to load undefined channel index " + std::to_string(slot) +
                        ".. Exiting...\n");
}

TEST(DeleteChannel, ForgetsTableAndHistogramsAndMarksTheSlotAbsent)
{
    Writer writer(4, 0, 2);
    writer.add(0, 1, 10, 0);
    writer.add(1, 1, 10, 0);
    const int counts[] = {1, 2};
    ZELLoadStandardHistogram(writer.get(), 0, 2, 1, 0, counts);
    ZELCreateChannelHistograms(writer.get());
    ZELDeleteChannel(writer.get(), 0);
    EXPECT_EQ(writer.slot(0).ChannelPresentFlag, 0);
    EXPECT_EQ(writer.slot(0).ChannelLUT, nullptr);
    EXPECT_EQ(writer.slot(0).ChannelHistogram, nullptr);
    EXPECT_EQ(writer.slot(0).ChannelStandardHistogram, nullptr);
    EXPECT_EQ(writer.slot(1).ChannelPresentFlag, 1);
    EXPECT_NE(writer.slot(1).ChannelLUT, nullptr);
    EXPECT_NE(writer.slot(1).ChannelHistogram, nullptr);
    EXPECT_EQ(ZELIsChannelPresent(writer.get(), 0), 0);
    EXPECT_EQ(writer.open().out, "");
    EXPECT_EQ(writer->NumTotalChans, 1);
}

TEST(DeleteChannel, KeepsTheOtherBuffersOfTheSlot)
{
    OpenedFile file(build(zel_test::smallScene()).bytes);
    ZELReadLine(file.get());
    const float* data = file->Channels[2].ChannelData;
    const unsigned char* stored = file->PixBuf[2];
    ZELDeleteChannel(file.get(), 2);
    EXPECT_EQ(file->Channels[2].ChannelPresentFlag, 0);
    EXPECT_EQ(file->Channels[2].ChannelData, data);
    EXPECT_EQ(file->PixBuf[2], stored);
    EXPECT_EQ(data[0], 1000.0f);
    EXPECT_STREQ(file->Channels[2].ChannelLabel, "third");
}

TEST(DeleteChannel, IsWarnedOfWhileTheFileIsWritten)
{
    Writer writer(2, 0, 2);
    writer.add(0, 1, 255, 0);
    writer.add(1, 1, 255, 0);
    writer.open();
    EXPECT_EQ(zel_test::run([&] { ZELDeleteChannel(writer.get(), 1); }).err,
              "ZELDeleteChannel: warning: the header of file " + writer.path() +
                  " says that its lines have channel 1: lines without it are not read as they are "
                  "written\n");
    EXPECT_EQ(zel_test::run([&] { ZELDeleteChannel(writer.get(), 1); }).err, "");
    writer.finish();
    EXPECT_EQ(zel_test::run([&] { ZELDeleteChannel(writer.get(), 0); }).err, "");
}

TEST(DeleteChannel, ADeletedSlotCanBeDeclaredAgain)
{
    Writer writer(2, 0, 1);
    writer.add(0, 2, 10, 0);
    ZELDeleteChannel(writer.get(), 0);
    writer.add(0, 1, 255, 0);
    writer.open();
    writer.load(0, {0, 255});
    writer.write();
    const zel_test::Bytes line = writer.lineBytes();
    EXPECT_EQ(zel_test::Bytes(line.begin() + 32, line.end()), (zel_test::Bytes{0, 255}));
}

TEST(ChannelFields, AreSetAndGotWithoutChecks)
{
    Writer writer;  // every slot is absent
    ZELSetChannelWavelength(writer.get(), 3, 1.625f);
    ZELSetBaseChannelFlag(writer.get(), 3, 1);
    ZELSetUnits(writer.get(), 3, 7);
    EXPECT_EQ(writer.slot(3).ChannelWaveLength, 1.625f);
    EXPECT_EQ(writer.slot(3).BaseChannelFlag, 1);
    EXPECT_EQ(writer.slot(3).Units, 7);
    EXPECT_EQ(ZELFetchChannelWavelength(writer.get(), 3), 1.625f);
    EXPECT_EQ(ZELGetBaseChannelFlag(writer.get(), 3), 1);
    EXPECT_EQ(ZELFetchUnits(writer.get(), 3), 7);
}

TEST(ChannelFields, PresenceIsOneOrZero)
{
    OpenedFile file(build(zel_test::smallScene()).bytes);
    EXPECT_EQ(ZELIsChannelPresent(file.get(), 0), 1);
    EXPECT_EQ(ZELIsChannelPresent(file.get(), 1), 0);
    EXPECT_EQ(ZELIsChannelPresent(file.get(), 2), 1);
    file->Channels[2].ChannelPresentFlag = 5;
    EXPECT_EQ(ZELIsChannelPresent(file.get(), 2), 1);
    file->Channels[2].ChannelPresentFlag = 1;
}

}  // namespace
