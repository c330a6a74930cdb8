// Finishing a file that was written: histograms go back into the header, everything is freed.
#include <gtest/gtest.h>

#include <string>

#include "support/file_builder.hpp"
#include "support/file_size_limit.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::Bytes;
using zel_test::floatAt;
using zel_test::int32At;
using zel_test::run;
using zel_test::Writer;

constexpr std::size_t slot0Histogram = 1221 + 22054 + 284 - 1;  // after its presence byte

TEST(CreateFinish, RefusesAReadOnlyRecord)
{
    zel_test::OpenedFile file(build(zel_test::smallScene()).bytes);
    const auto outcome = run([&] { ZELFinishWritingFile(file.get()); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELFinishWritingFile can only be used on a write only ZEL file\n");
}

TEST(CreateFinish, ClosesTheFileAndSaysNothing)
{
    const int before = zel_test::openDescriptors();
    Writer writer(4, 2, 2);
    writer.add(0, 1, 10, 0);
    writer.open();
    EXPECT_EQ(zel_test::openDescriptors(), before + 1);
    const auto outcome = writer.finish();
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(writer->FileOpened, 0);
    EXPECT_EQ(zel_test::openDescriptors(), before);
}

TEST(CreateFinish, WritesTheCountsOfAllLinesBackIntoTheHeader)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    writer.open();
    for (int line = 0; line < 3; ++line) {
        writer.load(0, {10, 20, 265 - 245.0f * static_cast<float>(line), 7});
        writer.write();
    }
    writer.finish();
    const Bytes bytes = writer.bytes();
    int total = 0;
    for (std::size_t bin = 0; bin < 256; ++bin)
        total += int32At(bytes, slot0Histogram + 10 + 4 * bin);
    EXPECT_EQ(total, 9) << "three of the four pixels of each of three lines";
    EXPECT_EQ(floatAt(bytes, slot0Histogram + 2), 265.0f);
    EXPECT_EQ(floatAt(bytes, slot0Histogram + 6), -225.0f);
}

TEST(CreateFinish, PutsEachHistogramBackInItsOwnPlace)
{
    Writer writer(4, 0, 2);
    writer.add(0, 3, 0, 0);
    writer.add(1, 3, 0, 0);
    const int counts[] = {11, 12, 13};
    ZELLoadStandardHistogram(writer.get(), 0, 3, 2.0f, 0.0f, counts);
    writer.open();
    writer.load(0, {1, 1, 3, 0});
    writer.load(1, {50, 60, 60, 0});
    writer.write();
    writer.finish();
    const Bytes bytes = writer.bytes();
    EXPECT_EQ(floatAt(bytes, slot0Histogram + 2), 3.0f);
    EXPECT_EQ(floatAt(bytes, slot0Histogram + 6), 1.0f);
    EXPECT_EQ(int32At(bytes, slot0Histogram + 10), 2);
    EXPECT_EQ(int32At(bytes, slot0Histogram + 10 + 4 * 255), 1);
    const std::size_t standard = slot0Histogram + 1034 + 1;
    EXPECT_EQ(floatAt(bytes, standard + 2), 2.0f);
    EXPECT_EQ(int32At(bytes, standard + 10), 11);
    EXPECT_EQ(int32At(bytes, standard + 18), 13);
    const std::size_t second = standard + 22 + 283;
    EXPECT_EQ(floatAt(bytes, second + 2), 60.0f);
    EXPECT_EQ(floatAt(bytes, second + 6), 50.0f);
    EXPECT_EQ(int32At(bytes, second + 10), 1);
    EXPECT_EQ(int32At(bytes, second + 10 + 4 * 255), 2);
}

TEST(CreateFinish, KeepsTheLinesWhenItWritesHistogramsBack)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    writer.open();
    writer.load(0, {1, 2, 3, 4});
    writer.write();
    writer.finish();
    const Bytes bytes = writer.bytes();
    const std::size_t header = slot0Histogram + 1034 + 1;
    ASSERT_EQ(bytes.size(), header + 32 + 4);
    EXPECT_EQ(Bytes(bytes.end() - 4, bytes.end()), (Bytes{1, 2, 3, 4}));
}

TEST(CreateFinish, NothingOfTheHeaderIsRewrittenButHistograms)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    writer.open();
    const Bytes before = writer.bytes();
    writer->ZELHeader.year = 1888;
    writer.slot(0).MaxValue = 77.0f;
    writer.finish();
    EXPECT_EQ(writer.bytes(), before);
}

TEST(CreateFinish, WarnsOfInvalidPositions)
{
    Writer writer;
    writer.open();
    for (int i = 0; i < 3; ++i) ZELBadLatLon(0.0f, 181.0f);
    EXPECT_EQ(writer.finish().out, "\nWARNING: 3 Out of range lat/lon values detected\n");
    ZELClearBadLatLonCount();
}

TEST(CreateFinish, SucceedsWithEverythingThatARecordCanOwn)
{
    Writer writer(4, 2, 5);
    writer.add(0, 1, 10, 0);
    writer.add(1, 2, 10, 0);
    for (int i = 2; i < 5; ++i) writer.add(i, 4, 0, 0);
    ZELSetSolarChannels(writer.get(), 2, 3, 4);
    ZELAddTable(&writer->ZELHeader.TableList, 1, 3, "t");
    ZELAddTable(&writer.slot(1).TableList, 1, 3, "t");
    ZELAddLUT(writer.get(), 1, 3, "lut");
    const int counts[] = {1, 2};
    ZELLoadStandardHistogram(writer.get(), 0, 2, 1.0f, 0.0f, counts);
    writer.open();
    float *sz, *vz, *az;
    ZELFetchSolar(writer.get(), &sz, &vz, &az);
    EXPECT_EQ(sz, writer.slot(2).ChannelData) << "the buffer of the record is no longer in use";
    writer.write();
    EXPECT_FALSE(writer.finish().ended);
}

TEST(CreateFinish, EndsWithAMessageWhenTheFileCouldNotBeWrittenWhole)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    writer.open();
    writer.write();  // 36 bytes that wait in the stream
    zel_test::Outcome outcome;
    {
        const zel_test::FileSizeLimit limit(static_cast<rlim_t>(writer->HeaderOffset) + 10);
        outcome = writer.finish();
    }
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out,
              "ZELFinishWritingFile: write error on file " + writer.path() + ": File too large\n");
}

}  // namespace
