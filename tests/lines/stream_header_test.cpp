// Headers of files that come from a stream of the caller's, and where their lines are.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"

namespace {

using zel_test::build;
using zel_test::BuiltFile;
using zel_test::Bytes;
using zel_test::Outcome;
using zel_test::run;
using zel_test::smallScene;

// A header that was read, and its stream, which is closed here and nowhere else.
struct StreamHeader {
    explicit StreamHeader(const Bytes& content, int offset = 0, int size = 0)
        : stream(std::tmpfile()), record(zel_test::junkRecord())
    {
        if (!content.empty()) std::fwrite(content.data(), 1, content.size(), stream);
        outcome = run(
            [&] { result = ZELReadStreamHeader(record.get(), stream, "scene.zel", offset, size); });
    }
    ~StreamHeader()
    {
        if (result == 0) run([&] { ZELFreeData(record.get()); });
        std::fclose(stream);
    }
    ZELType* get() { return record.get(); }

    FILE* stream;
    std::unique_ptr<ZELType> record;
    int result = -9;
    Outcome outcome;
};

TEST(StreamHeader, HasTheLayoutButNoMemoryForLines)
{
    const BuiltFile file = build(smallScene());
    StreamHeader header(file.bytes);
    ASSERT_EQ(header.result, 0);
    EXPECT_EQ(header.outcome.out, "");
    EXPECT_STREQ(header.record->ImageFilename, "scene.zel");
    EXPECT_EQ(header.record->HeaderOffset, static_cast<int>(file.headerEnd));
    EXPECT_EQ(header.record->NumLines, 2);
    EXPECT_EQ(header.record->LineOffset, 32 + 16 + 4 + 8);
    EXPECT_EQ(header.record->Channels[2].DataOffset, 32 + 16 + 4);
    EXPECT_EQ(header.record->Channels[2].ChannelData, nullptr);
    EXPECT_EQ(header.record->PixBuf[2], nullptr);
    EXPECT_EQ(header.record->Lat, nullptr);
    EXPECT_EQ(header.record->fptr, nullptr);
}

TEST(StreamHeader, OfAComponentBeginsAtItsOffsetAndEndsWithItsSize)
{
    const Bytes component = build(smallScene()).bytes;
    Bytes content(100 + component.size() + 100, 0xEE);
    std::copy(component.begin(), component.end(), content.begin() + 100);
    StreamHeader header(content, 100, static_cast<int>(component.size()) - 60);
    ASSERT_EQ(header.result, 0);
    EXPECT_EQ(header.record->NumLines, 1);
    EXPECT_EQ(header.record->fileOffset, 100);
}

TEST(StreamHeader, DamageIsReportedAndTheStreamStaysOpen)
{
    StreamHeader header(build(smallScene()).cutBefore("channel[2].ChannelLabel"));
    EXPECT_EQ(header.result, -2);
    EXPECT_FALSE(header.outcome.ended);
    EXPECT_EQ(header.outcome.out.substr(0, 66),
              "OpenReadOnlyFile: corrupt file scene.zel: cut short in ChannelLabe");
    EXPECT_EQ(std::fseek(header.stream, 0, SEEK_SET), 0);
}

TEST(StreamHeader, AnotherVersionIsReported)
{
    BuiltFile file = build(smallScene());
    file.putFloat("VersionNumber", 9.0F);
    StreamHeader header(file.bytes);
    EXPECT_EQ(header.result, -2);
    EXPECT_EQ(header.outcome.out, "OpenReadOnlyFile: Trying another byte ordering...\n"
                                  "OpenReadOnlyFile: unsupported data type\n");
}

TEST(StreamHeader, TellsTheByteOrderOfEachFile)
{
    zel_test::Scene scene = smallScene(141);
    StreamHeader little(build(scene).bytes);
    scene.bigEndian = true;
    StreamHeader big(build(scene).bytes);
    StreamHeader again(build(smallScene()).bytes);
    EXPECT_EQ(ZELIsByteSwapped(little.get()), 0);
    EXPECT_EQ(ZELIsByteSwapped(big.get()), 1);
    EXPECT_EQ(ZELIsByteSwapped(again.get()), 0);
    EXPECT_EQ(ZELIsByteSwapped(zel_test::zeroRecord().get()), 0);
}

// ScanTime takes 8 bytes; from 1.31 on the altitude 4, from 2.01 on three pixels 12, from 2.21 on the
// nadir 8; then two latitudes and two longitudes.
TEST(PlaceInLine, IsThatOfTheFilesVersion)
{
    StreamHeader current(build(smallScene()).bytes);
    EXPECT_EQ(ZELFetchPlaceInLine(current.get(), "ScanTime"), 0);
    EXPECT_EQ(ZELFetchPlaceInLine(current.get(), "NadirPixel"), 20);
    EXPECT_EQ(ZELFetchPlaceInLine(current.get(), "NadirLat"), 24);
    EXPECT_EQ(ZELFetchPlaceInLine(current.get(), "LatBuffer"), 32);
    EXPECT_EQ(ZELFetchPlaceInLine(current.get(), "LonBuffer"), 40);
    StreamHeader old(build(smallScene(132)).bytes);
    EXPECT_EQ(ZELFetchPlaceInLine(old.get(), "NadirPixel"), -1);
    EXPECT_EQ(ZELFetchPlaceInLine(old.get(), "LatBuffer"), 12);
}

// Of a component in the middle of the answer to "which": bases, counts, places.
struct Info {
    int base = -9, count = -9, offsets[100], sizes[100];
    float resolutions[100];
    int result = -9;
    Outcome outcome;

    explicit Info(const Bytes& content)
    {
        FILE* stream = std::tmpfile();
        if (!content.empty()) std::fwrite(content.data(), 1, content.size(), stream);
        outcome = run([&] {
            result = ZELReadStreamCompositeInfo(stream, "some.zel", &base, &count, offsets,
                                                resolutions, sizes);
        });
        std::fclose(stream);
    }
};

TEST(StreamDirectory, IsThatOfTheStream)
{
    zel_test::Scene coarse = smallScene();
    coarse.resolution = 500.0F;
    const int size = static_cast<int>(build(smallScene()).bytes.size());
    const Info info(zel_test::buildComposite({smallScene(), coarse}, 1));
    EXPECT_EQ(info.result, 1);
    EXPECT_EQ(info.base, 1);
    EXPECT_EQ(info.count, 2);
    EXPECT_EQ(info.offsets[1], size);
    EXPECT_EQ(info.sizes[0], size);
    EXPECT_EQ(info.resolutions[1], 500.0F);
    const Info plain(build(smallScene()).bytes);
    EXPECT_EQ(plain.result, 0);
    EXPECT_EQ(plain.count, 1);
}

TEST(StreamDirectory, OfComponentsOutsideTheFileIsRefused)
{
    Bytes content = zel_test::buildComposite({smallScene(), smallScene()});
    content.resize(content.size() - 1);
    const Info info(content);
    EXPECT_EQ(info.result, -2);
    EXPECT_NE(info.outcome.out.find("corrupt file some.zel: invalid component size"),
              std::string::npos);
}

TEST(StreamDirectory, OfAnEmptyStreamIsThatOfAPlainFile)
{
    EXPECT_EQ(Info(Bytes()).result, 0);
}

TEST(StreamDirectory, OfAStreamThatCannotBeReadIsReported)
{
    int base = 0, count = 0, tables[100];
    float resolutions[100];
    FILE* stream = std::fopen(".", "rb");
    ASSERT_NE(stream, nullptr);
    int result = 0;
    const Outcome outcome = run([&] {
        result = ZELReadStreamCompositeInfo(stream, "some.zel", &base, &count, tables, resolutions,
                                            tables);
    });
    std::fclose(stream);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(outcome.out, "ZELReadStreamCompositeInfo: cannot read file some.zel\n");
}

TEST(ScalingTable, HasTheValueOfEveryNumber)
{
    zel_test::Scene scene = smallScene();
    scene.slots[0] = zel_test::channel(1, "bytes", 256.0F, 1.0F);
    scene.slots[1] = zel_test::channel(2, "words", 65535.0F, -65535.0F);
    StreamHeader header(build(scene).bytes);
    std::vector<float> values(65536, -9.0F);
    EXPECT_EQ(ZELFetchScalingTable(header.get(), 0, values.data()), 256);
    EXPECT_EQ(values[7], 8.0F);
    EXPECT_EQ(values[256], -9.0F);
    EXPECT_EQ(ZELFetchScalingTable(header.get(), 1, values.data()), 65536);
    EXPECT_EQ(values[65535], 65535.0F);
    EXPECT_EQ(ZELFetchScalingTable(header.get(), 2, values.data()), 0) << "not scaled";
    EXPECT_EQ(ZELFetchScalingTable(header.get(), 900, values.data()), 0);
    EXPECT_EQ(ZELFetchScalingTable(header.get(), 0, nullptr), 0);
}

}  // namespace
