// Histograms in files: the record's bytes, the statistics, rewriting in place, the listing.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "support/file_builder.hpp"
#include "support/writer.hpp"

namespace {

using zel_test::Bytes;
using zel_test::floatAt;
using zel_test::int16At;
using zel_test::int32At;
using zel_test::run;
using zel_test::Writer;

struct Freed {
    void operator()(ZELHistogramType* histogram) const { ZELFreeHistogram(histogram); }
};
using Owned = std::unique_ptr<ZELHistogramType, Freed>;

// A record whose stream is a scratch file.
class Scratch {
public:
    Scratch() : record_(zel_test::zeroRecord()) { record_->fptr = tmpfile(); }
    ~Scratch() { fclose(record_->fptr); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    ZELType* operator->() { return record_.get(); }
    ZELType* get() { return record_.get(); }
    Bytes bytes()
    {
        const std::string content = zel_test::contentOf(record_->fptr);
        return {content.begin(), content.end()};
    }

    // The histogram that is read from these counts.
    Owned reading(float max, float min, const std::vector<int32_t>& counts)
    {
        Bytes bytes = zel_test::rawWords({static_cast<int>(counts.size())});
        for (const float bound : {max, min})
            for (const unsigned char b : zel_test::rawFloats({bound})) bytes.push_back(b);
        for (const int32_t count : counts)
            for (int shift = 0; shift < 32; shift += 8)
                bytes.push_back(static_cast<unsigned char>(static_cast<uint32_t>(count) >> shift));
        rewind(record_->fptr);
        fwrite(bytes.data(), 1, bytes.size(), record_->fptr);
        rewind(record_->fptr);
        SwapByteOrdering = 0;
        return Owned(ZELReadHistogram(record_.get()));
    }

private:
    std::unique_ptr<ZELType> record_;
};

TEST(HistogramRecord, OfThreeBinsIsWrittenAsNumbersThenCounts)
{
    SwapByteOrdering = 0;
    Scratch file;
    const Owned h(ZELCreateHistogram(3));
    h->Max = 1.0f;   // 00 00 80 3f
    h->Min = -2.0f;  // 00 00 00 c0
    h->Histogram[0] = 1;
    h->Histogram[1] = 0x01020304;
    h->Histogram[2] = -1;
    fputs("ab", file->fptr);
    ZELWriteHistogram(file.get(), h.get());
    EXPECT_EQ(file.bytes(), (Bytes{'a', 'b', 3, 0, 0, 0, 0x80, 0x3f, 0,    0,    0,    0xc0,
                                   1,   0,   0, 0, 4, 3, 2,    1,    0xff, 0xff, 0xff, 0xff}));
}

TEST(HistogramRecord, Of256BinsOccupies1034Bytes)
{
    Scratch file;
    const Owned h(ZELCreateHistogram(256));
    ZELWriteHistogram(file.get(), h.get());
    EXPECT_EQ(file.bytes().size(), 1034u);
}

TEST(HistogramRecord, HoldsNoStatistics)
{
    Scratch first, second;
    const Owned h(ZELCreateHistogram(4));
    ZELWriteHistogram(first.get(), h.get());
    h->Mean = h->Sigma = h->NumPixels = h->BinIncrement = 5.0f;
    ZELWriteHistogram(second.get(), h.get());
    EXPECT_EQ(first.bytes(), second.bytes());
}

TEST(HistogramRead, RestoresRangeCountsAndIncrement)
{
    Scratch file;
    const Owned h = file.reading(14.0f, 2.0f, {1, 0, 3, 4});
    EXPECT_EQ(h->NumHistogramBins, 4);
    EXPECT_EQ(h->Max, 14.0f);
    EXPECT_EQ(h->Min, 2.0f);
    EXPECT_EQ(h->BinIncrement, 0.25f);
    EXPECT_EQ(h->NumPixels, 8.0f);
    EXPECT_EQ(h->Histogram[2], 3);
    EXPECT_EQ(h->Histogram[3], 4);
}

TEST(HistogramRead, MayHaveNoBins)
{
    Scratch file;
    const Owned h = file.reading(14.0f, 2.0f, {});
    EXPECT_EQ(h->NumHistogramBins, 0);
    EXPECT_EQ(h->NumPixels, 0.0f);
}

TEST(HistogramRead, StopsRightAfterTheRecord)
{
    Scratch file;
    file.reading(14.0f, 2.0f, {1, 0, 3, 4});
    EXPECT_EQ(ftell(file->fptr), 10 + 4 * 4);
}

// Values 2, 10 (three times) and 14 (four times): 8 pixels, sum 2 + 30 + 56 = 88, mean 11, sum of
// the squared distances 81 + 3 + 36 = 120.
TEST(HistogramRead, ComputesMeanAndDeviation)
{
    Scratch file;
    const Owned h = file.reading(14.0f, 2.0f, {1, 0, 3, 4});
    EXPECT_FLOAT_EQ(h->Mean, 11.0f);
    EXPECT_FLOAT_EQ(h->Sigma, static_cast<float>(std::sqrt(120.0 / 7.0)));
}

TEST(HistogramRead, WithoutCountsHasNoMeanOrDeviation)
{
    Scratch file;
    const Owned h = file.reading(14.0f, 2.0f, {0, 0, 0, 0});
    EXPECT_EQ(h->NumPixels, 0.0f);
    EXPECT_EQ(h->Mean, 0.0f);
    EXPECT_EQ(h->Sigma, 0.0f);
}

TEST(HistogramRead, AHistogramThatSawNoValueHasNoMeanOrDeviation)
{
    Scratch file;
    const Owned h = file.reading(-FLT_MAX, FLT_MAX, std::vector<int32_t>(256));
    EXPECT_EQ(h->Mean, 0.0f);
    EXPECT_EQ(h->Sigma, 0.0f);
}

TEST(HistogramRead, ASingleCountDividesByZeroInTheDeviation)
{
    Scratch file;
    const Owned h = file.reading(14.0f, 2.0f, {0, 0, 1, 0});
    EXPECT_EQ(h->Mean, 10.0f);
    EXPECT_TRUE(std::isnan(h->Sigma));
}

// The statistics as they are defined: one addition for each pixel.
struct Statistics {
    float mean = 0, sigma = 0, pixels = 0;
};

Statistics byRepeatedAddition(float max, float min, const std::vector<int32_t>& counts)
{
    Statistics s;
    const float increment = static_cast<float>(counts.size() - 1) / (max - min);
    for (std::size_t i = 0; i < counts.size(); ++i) {
        s.pixels += static_cast<float>(counts[i]);
        const float value = static_cast<float>(i) / increment + min;
        s.mean += value * static_cast<float>(counts[i]);
    }
    s.mean /= s.pixels;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const float distance = static_cast<float>(i) / increment + min - s.mean;
        const float square = distance * distance;
        for (int32_t n = 0; n < counts[i]; ++n) s.sigma += square;
    }
    s.sigma = static_cast<float>(s.sigma / (s.pixels - 1.0));
    s.sigma = static_cast<float>(std::sqrt(static_cast<double>(s.sigma)));
    return s;
}

void expectAsByRepeatedAddition(float max, float min, const std::vector<int32_t>& counts)
{
    Scratch file;
    const Owned h = file.reading(max, min, counts);
    const Statistics expected = byRepeatedAddition(max, min, counts);
    EXPECT_EQ(h->NumPixels, expected.pixels);
    EXPECT_EQ(h->Mean, expected.mean);
    EXPECT_EQ(h->Sigma, expected.sigma);
}

TEST(HistogramDeviation, EqualsOneAdditionPerPixelForSmallCounts)
{
    for (int first = 0; first < 40; ++first)
        for (const int second : {1, 2, 3, 50, 1000}) {
            SCOPED_TRACE(testing::Message() << first << " and " << second);
            expectAsByRepeatedAddition(9.0f, 0.5f, {first, second, 7, first * second});
        }
}

TEST(HistogramDeviation, EqualsOneAdditionPerPixelForRandomCounts)
{
    std::mt19937 random(20240615);
    for (int round = 0; round < 60; ++round) {
        std::vector<int32_t> counts(2 + random() % 255);
        const unsigned largest = round % 3 == 0 ? 20 : round % 3 == 1 ? 3000 : 40000;
        for (int32_t& count : counts) count = static_cast<int32_t>(random() % largest);
        counts[0] += 2;
        const float min = static_cast<float>(random() % 1000) / 7.0f - 60.0f;
        const float max = min + 0.1f + static_cast<float>(random() % 5000) / 3.0f;
        SCOPED_TRACE(round);
        expectAsByRepeatedAddition(max, min, counts);
    }
}

// Few bins of round values: many sums lie exactly between two floats.
TEST(HistogramDeviation, EqualsOneAdditionPerPixelWhereSumsAreTies)
{
    std::mt19937 random(7);
    for (int round = 0; round < 1500; ++round) {
        std::vector<int32_t> counts(2 + random() % 4);
        for (int32_t& count : counts) count = static_cast<int32_t>(random() % 200);
        counts[0] += 2;
        const float min = static_cast<float>(random() % 64) / 8.0f;
        const float max = min + static_cast<float>(1 + random() % 64) / 16.0f;
        SCOPED_TRACE(round);
        expectAsByRepeatedAddition(max, min, counts);
        if (HasFailure()) return;
    }
}

TEST(HistogramDeviation, EqualsOneAdditionPerPixelWhereTheSumStopsGrowing)
{
    // Beyond 2^24 times its own size a float sum no longer changes.
    expectAsByRepeatedAddition(1.0f, 0.0f, {40000000, 40000000});
    expectAsByRepeatedAddition(3.0f, 0.0f, {100000000, 20000000, 5, 30000000});
    expectAsByRepeatedAddition(7.0f, -3.0f, {3, 60000000, 1000, 60000000, 17});
}

TEST(HistogramDeviation, EqualsOneAdditionPerPixelAroundPowersOfTwo)
{
    for (const int power : {16777215, 16777216, 16777217, 33554431, 33554433})
        expectAsByRepeatedAddition(3.0f, 0.1f, {power, 1, 2, 3});
}

TEST(HistogramOpen, AHistogramOfAFileSwitchesHistogramsOn)
{
    zel_test::Scene scene = zel_test::smallScene();
    zel_test::OpenedFile without(build(scene).bytes);
    EXPECT_EQ(without->HistogramFlag, 0);
    scene.slots[0].histogram = zel_test::Histogram{8.0f, 2.0f, {1, 2, 3}};
    zel_test::OpenedFile with(build(scene).bytes);
    EXPECT_EQ(with->HistogramFlag, 1);
    EXPECT_EQ(with->Channels[0].UpdateChannelHistogramFlag, 0);
}

TEST(HistogramOpen, AStandardHistogramAloneDoesNotSwitchHistogramsOn)
{
    zel_test::Scene scene = zel_test::smallScene();
    scene.slots[0].standardHistogram = zel_test::Histogram{8.0f, 2.0f, {1, 2, 3}};
    zel_test::OpenedFile file(build(scene).bytes);
    EXPECT_EQ(file->HistogramFlag, 0);
    EXPECT_EQ(ZELFetchChannelHistogram(file.get(), 0), nullptr);
    ASSERT_NE(ZELFetchStandardHistogram(file.get(), 0), nullptr);
    EXPECT_EQ(ZELFetchStandardHistogram(file.get(), 0)->NumPixels, 6.0f);
}

TEST(HistogramOpen, NotesThePlaceOfBothRecords)
{
    zel_test::Scene scene = zel_test::smallScene();
    scene.slots[2].histogram = zel_test::Histogram{8.0f, 2.0f, {1, 2, 3}};
    scene.slots[2].standardHistogram = zel_test::Histogram{9.0f, 1.0f, {4, 5}};
    const zel_test::BuiltFile built = build(scene);
    zel_test::OpenedFile file(built.bytes);
    EXPECT_EQ(file->Channels[2].ChannelHistogram->fileOffset,
              static_cast<int>(built.offset("channel[2].histogram.NumHistogramBins")));
    EXPECT_EQ(file->Channels[2].ChannelStandardHistogram->fileOffset,
              static_cast<int>(built.offset("channel[2].standardHistogram.NumHistogramBins")));
}

TEST(HistogramOpen, ThePlaceIsRelativeToTheStartOfAComponent)
{
    zel_test::Scene scene = zel_test::smallScene();
    scene.slots[0].histogram = zel_test::Histogram{8.0f, 2.0f, {1, 2, 3}};
    const zel_test::BuiltFile one = build(scene);
    const zel_test::TempDir dir;
    const std::string path = dir.path("two.zel");
    zel_test::writeFile(path, zel_test::buildComposite({scene, scene}));
    auto record = zel_test::junkRecord();
    const int size = static_cast<int>(one.bytes.size());
    run([&] { OpenReadOnlyFile(record.get(), path.c_str(), size, size); });
    ASSERT_NE(record->Channels[0].ChannelHistogram, nullptr);
    EXPECT_EQ(record->Channels[0].ChannelHistogram->fileOffset,
              static_cast<int>(one.offset("channel[0].histogram.NumHistogramBins")));
    run([&] { ZELFinishReadingFile(record.get()); });
}

// Two channels with histograms, the first with a standard one too, in an open file.
class HistogramUpdate : public testing::Test {
protected:
    HistogramUpdate() : writer(4, 0, 2)
    {
        writer.add(0, 3, 0, 0);
        writer.add(1, 3, 0, 0);
        const int counts[] = {11, 12, 13};
        ZELLoadStandardHistogram(writer.get(), 0, 3, 2.0f, 0.0f, counts);
        writer.open();
        before = writer.bytes();
    }

    Writer writer;
    Bytes before;
};

TEST_F(HistogramUpdate, RewritesOneRecordInItsPlace)
{
    ZELHistogramType* h = writer.slot(1).ChannelHistogram;
    h->Max = 9.0f;
    h->Histogram[255] = 4711;
    ZELUpdateHistogram(writer.get(), h);
    Bytes expected = before;
    const auto place = static_cast<std::size_t>(h->fileOffset);
    ASSERT_EQ(int16At(expected, place), 256);
    const Bytes nine = zel_test::rawFloats({9.0f}), count = {0x67, 0x12, 0, 0};  // 4711
    std::copy(nine.begin(), nine.end(), expected.begin() + static_cast<long>(place) + 2);
    std::copy(count.begin(), count.end(), expected.begin() + static_cast<long>(place) + 1030);
    EXPECT_EQ(writer.bytes(), expected);
}

TEST_F(HistogramUpdate, ReturnsToTheStreamsPosition)
{
    const long position = ftell(writer->fptr);
    ZELUpdateHistogram(writer.get(), writer.slot(0).ChannelHistogram);
    EXPECT_EQ(ftell(writer->fptr), position);
}

TEST_F(HistogramUpdate, AllRewritesBothHistogramsOfEveryChannel)
{
    writer.slot(0).ChannelHistogram->Histogram[0] = 1;
    writer.slot(0).ChannelStandardHistogram->Histogram[0] = 2;
    writer.slot(1).ChannelHistogram->Histogram[0] = 3;
    ZELUpdateAllHistograms(writer.get());
    const Bytes after = writer.bytes();
    const auto firstBin = [](const ZELHistogramType* h) {
        return static_cast<std::size_t>(h->fileOffset) + 10;
    };
    EXPECT_EQ(int32At(after, firstBin(writer.slot(0).ChannelHistogram)), 1);
    EXPECT_EQ(int32At(after, firstBin(writer.slot(0).ChannelStandardHistogram)), 2);
    EXPECT_EQ(int32At(after, firstBin(writer.slot(1).ChannelHistogram)), 3);
    EXPECT_EQ(after.size(), before.size());
}

TEST_F(HistogramUpdate, DoesNothingWhenTheFileKeepsNoHistograms)
{
    ZELSetHistogramFlag(writer.get(), 0);
    writer.slot(1).ChannelHistogram->Histogram[0] = 3;
    ZELUpdateHistogram(writer.get(), writer.slot(1).ChannelHistogram);
    ZELUpdateAllHistograms(writer.get());
    EXPECT_EQ(writer.bytes(), before);
}

TEST_F(HistogramUpdate, CountsFromTheStartOfTheFilesOwnData)
{
    ZELHistogramType* h = writer.slot(1).ChannelHistogram;
    writer->fileOffset = 100;
    h->fileOffset -= 100;
    h->Histogram[0] = 3;
    ZELUpdateHistogram(writer.get(), h);
    writer->fileOffset = 0;
    h->fileOffset += 100;
    EXPECT_EQ(int32At(writer.bytes(), static_cast<std::size_t>(h->fileOffset) + 10), 3);
}

TEST(HistogramPrint, ListsRangeAndEveryBinOfPresentChannels)
{
    Writer writer(4, 0, 4);
    writer.add(1, 3, 0, 0);
    writer.add(3, 3, 0, 0);
    const int counts[] = {5, 6, 7};
    ZELLoadStandardHistogram(writer.get(), 1, 3, 9.5f, 1.5f, counts);
    const int others[] = {8, 9};
    ZELLoadStandardHistogram(writer.get(), 3, 2, 110.0f, -10.0f, others);
    const auto outcome = run([&] { ZELPrintHistograms(writer.get()); });
    EXPECT_EQ(outcome.out, "Channel Standard Histogram 1:\n"
                           "Max  9.50,  Min  1.50,  Numpix 18.000000,  Increment 0.250000\n"
                           " 1.50 5,  5.50 6,  9.50 7, \b\n"
                           "Channel Standard Histogram 3:\n"
                           "Max 110.00,  Min -10.00,  Numpix 17.000000,  Increment 0.008333\n"
                           "-10.00 8, 110.00 9, \b\n");
    ZELFreeChannelHistograms(writer.get());
}

TEST(HistogramPrint, ListsTheChannelHistogramBeforeTheStandardOne)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    const int counts[] = {5, 6};
    ZELLoadStandardHistogram(writer.get(), 0, 2, 1.0f, 0.0f, counts);
    ZELHistogramType* standard = writer.slot(0).ChannelStandardHistogram;
    writer.slot(0).ChannelHistogram = standard;
    const auto outcome = run([&] { ZELPrintHistograms(writer.get()); });
    writer.slot(0).ChannelHistogram = nullptr;
    const std::string body =
        "Max  1.00,  Min  0.00,  Numpix 11.000000,  Increment 1.000000\n 0.00 5,  1.00 6, \b\n";
    EXPECT_EQ(outcome.out,
              "Channel Histogram 0:\n" + body + "Channel Standard Histogram 0:\n" + body);
    ZELFreeChannelHistograms(writer.get());
}

TEST(HistogramRecord, AtTheStartOfAStreamIsRewritten)
{
    SwapByteOrdering = 0;
    Scratch file;
    ZELSetHistogramFlag(file.get(), 1);
    const Owned h(ZELCreateHistogram(2));
    ZELWriteHistogram(file.get(), h.get());
    h->Max = 1.0f;   // 00 00 80 3f
    h->Min = -2.0f;  // 00 00 00 c0
    h->Histogram[0] = 5;
    h->Histogram[1] = 0x01020304;
    const auto outcome = run([&] { ZELUpdateHistogram(file.get(), h.get()); });
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(file.bytes(), (Bytes{2, 0, 0, 0, 0x80, 0x3f, 0, 0, 0, 0xc0, 5, 0, 0, 0, 4, 3, 2, 1}));
}

// What a program finds after the file is closed, or before it is open.
TEST(HistogramRecord, IsLeftAloneWithoutAStreamWhenTheFileKeepsNoHistograms)
{
    const auto record = zel_test::writeOnlyRecord();
    ZELAddChannel(record.get(), 0, 1, 0, 3, 8, "channel", "");
    ZELCreateChannelHistograms(record.get());
    ZELSetHistogramFlag(record.get(), 0);
    const auto outcome = run([&] {
        ZELUpdateHistogram(record.get(), ZELFetchChannelHistogram(record.get(), 0));
        ZELUpdateAllHistograms(record.get());
    });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(outcome.out + outcome.err, "");
    ZELFreeChannelHistograms(record.get());
}

}  // namespace
