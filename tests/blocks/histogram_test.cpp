// The histogram record: creation, rescaling, copies, and the histograms of a file record.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <vector>

#include "support/writer.hpp"

namespace {

using zel_test::run;
using zel_test::Writer;

struct Freed {
    void operator()(ZELHistogramType* histogram) const { ZELFreeHistogram(histogram); }
};
using Owned = std::unique_ptr<ZELHistogramType, Freed>;

// A histogram over min..max whose bin i holds counts[i].
Owned histogramOf(float max, float min, const std::vector<int>& counts)
{
    Owned h(ZELCreateHistogram(static_cast<int>(counts.size())));
    h->Max = max;
    h->Min = min;
    h->BinIncrement = static_cast<float>(counts.size() - 1) / (max - min);
    h->NumPixels = std::accumulate(counts.begin(), counts.end(), 0.0F);
    std::copy(counts.begin(), counts.end(), h->Histogram);
    return h;
}

std::vector<int> countsOf(const ZELHistogramType& h)
{
    return {h.Histogram, h.Histogram + h.NumHistogramBins};
}

TEST(HistogramCreate, HasSeenNoValue)
{
    const Owned h(ZELCreateHistogram(12));
    EXPECT_EQ(h->NumHistogramBins, 12);
    EXPECT_EQ(h->Max, -FLT_MAX);
    EXPECT_EQ(h->Min, FLT_MAX);
    EXPECT_EQ(h->BinIncrement, 0.0f);
    EXPECT_EQ(h->Mean, 0.0f);
    EXPECT_EQ(h->Sigma, 0.0f);
    EXPECT_EQ(h->NumPixels, 0.0f);
    EXPECT_EQ(h->fileOffset, 0);
    EXPECT_EQ(countsOf(*h), std::vector<int>(12, 0));
}

TEST(HistogramCreate, RefusesANumberThatIsNoBinCount)
{
    for (const int bins : {-1, 32768}) {
        const auto outcome = run([&] { ZELCreateHistogram(bins); });
        EXPECT_TRUE(outcome.ended) << bins;
        EXPECT_EQ(outcome.status, -1) << bins;
        EXPECT_TRUE(outcome.out.starts_with("ZELCreateHistogram")) << outcome.out;
    }
}

TEST(HistogramFree, DoesNothingWithoutAHistogramOrWithoutBins)
{
    ZELHistogramType onTheStack = {};
    ZELFreeHistogram(nullptr);
    ZELFreeHistogram(&onTheStack);
    EXPECT_EQ(onTheStack.Histogram, nullptr);
}

TEST(HistogramRescale, WithoutCountsOnlyTheRangeIsSet)
{
    const Owned h(ZELCreateHistogram(256));
    ZELRescaleHistogram(h.get(), 110.0f, 8.0f);
    EXPECT_EQ(h->Max, 110.0f);
    EXPECT_EQ(h->Min, 8.0f);
    EXPECT_EQ(h->BinIncrement, 2.5f);  // 255 / 102
    EXPECT_EQ(h->NumPixels, 0.0f);
}

TEST(HistogramRescale, WithoutCountsTheRangeMayShrinkToo)
{
    const Owned h(ZELCreateHistogram(256));
    ZELRescaleHistogram(h.get(), 1000.0f, -1000.0f);
    ZELRescaleHistogram(h.get(), 10.0f, 0.0f);
    EXPECT_EQ(h->Max, 10.0f);
    EXPECT_EQ(h->Min, 0.0f);
    EXPECT_EQ(h->BinIncrement, 25.5f);
}

TEST(HistogramRescale, MovesCountsByTheLowerEdgeOfTheirBin)
{
    const Owned h = histogramOf(8.0f, 0.0f, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    ZELRescaleHistogram(h.get(), 16.0f, 0.0f);  // half a bin per unit from now on
    EXPECT_EQ(h->Max, 16.0f);
    EXPECT_EQ(h->Min, 0.0f);
    EXPECT_EQ(h->BinIncrement, 0.5f);
    EXPECT_EQ(countsOf(*h), (std::vector<int>{1 + 2, 3 + 4, 5 + 6, 7 + 8, 9, 0, 0, 0, 0}));
    EXPECT_EQ(h->NumPixels, 45.0f);
}

TEST(HistogramRescale, BinsWiderOrNarrowerThanOneUnitMoveByTheirEdgesToo)
{
    const Owned wide = histogramOf(42.0f, 10.0f, {1, 2, 3, 4, 5, 6, 7, 8, 9});  // edges 10, 14 ...
    ZELRescaleHistogram(wide.get(), 42.0f, -22.0f);                             // 8 units per bin
    EXPECT_EQ(countsOf(*wide), (std::vector<int>{0, 0, 0, 0, 1 + 2, 3 + 4, 5 + 6, 7 + 8, 9}));
    const Owned narrow = histogramOf(3.0f, 1.0f, {1, 2, 3, 4, 5, 6, 7, 8, 9});  // edges 1, 1.25 ...
    ZELRescaleHistogram(narrow.get(), 5.0f, 1.0f);  // half a unit per bin
    EXPECT_EQ(countsOf(*narrow), (std::vector<int>{1 + 2, 3 + 4, 5 + 6, 7 + 8, 9, 0, 0, 0, 0}));
}

TEST(HistogramRescale, MovesCountsUpWhenTheRangeGrowsDownwards)
{
    const Owned h = histogramOf(8.0f, 0.0f, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    ZELRescaleHistogram(h.get(), 8.0f, -8.0f);
    EXPECT_EQ(countsOf(*h), (std::vector<int>{0, 0, 0, 0, 1 + 2, 3 + 4, 5 + 6, 7 + 8, 9}));
    EXPECT_EQ(h->Min, -8.0f);
}

// A file can say of any bin that it is full.
TEST(HistogramRescale, CountsThatComeTogetherAreNoMoreThanABinHolds)
{
    constexpr int most = 2147483647;
    const Owned h = histogramOf(8.0f, 0.0f, {most, 1, most, most, -most, -most, 3, -4, 9});
    ZELRescaleHistogram(h.get(), 16.0f, 0.0f);
    EXPECT_EQ(countsOf(*h), (std::vector<int>{most, most, -most - 1, -1, 9, 0, 0, 0, 0}));
}

void expectUnchanged(float newMax, float newMin, const std::vector<int>& counts)
{
    const Owned h = histogramOf(8.0f, 0.0f, counts);
    ZELRescaleHistogram(h.get(), newMax, newMin);
    EXPECT_EQ(h->Max, 8.0f);
    EXPECT_EQ(h->Min, 0.0f);
    EXPECT_EQ(h->BinIncrement, 1.0f);
    EXPECT_EQ(countsOf(*h), counts);
}

TEST(HistogramRescale, ChangesNothingWhenABinWouldFallBelowTheRange)
{
    expectUnchanged(8.0f, 2.0f, {1, 2, 3, 4, 5, 6, 7, 8, 9});
}

TEST(HistogramRescale, ChangesNothingWhenABinWouldFallAboveTheRange)
{
    expectUnchanged(4.0f, 0.0f, {1, 2, 3, 4, 5, 6, 7, 8, 9});
}

TEST(HistogramRescale, AnEmptyBinOutsideTheRangeStopsItAsWell)
{
    expectUnchanged(8.0f, 2.0f, {0, 0, 0, 4, 5, 6, 7, 8, 9});
    expectUnchanged(4.0f, 0.0f, {1, 2, 3, 0, 0, 0, 0, 0, 0});
}

TEST(HistogramRescale, APositionJustBelowZeroIsTruncatedToBinZero)
{
    const Owned h = histogramOf(8.0f, 0.0f, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    ZELRescaleHistogram(h.get(), 8.5f, 0.5f);  // bin i goes to position i - 0.5
    EXPECT_EQ(countsOf(*h), (std::vector<int>{1 + 2, 3, 4, 5, 6, 7, 8, 9, 0}));
    EXPECT_EQ(h->Min, 0.5f);
}

// 9 bins, position of the last bin 8 * 8 / 6.8 = 9.41, of the one before 8.24: the number of bins
// itself is let through and lost.
TEST(HistogramRescale, ABinEqualToTheNumberOfBinsPassesIntoTheSpareElement)
{
    const Owned h = histogramOf(8.0f, 0.0f, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    ZELRescaleHistogram(h.get(), 6.8f, 0.0f);
    EXPECT_EQ(h->Max, 6.8f);
    EXPECT_FLOAT_EQ(h->BinIncrement, 8.0f / 6.8f);
    // Positions 0, 1.18, 2.35, 3.53, 4.71, 5.88, 7.06, 8.24 and 9.41.
    EXPECT_EQ(countsOf(*h), (std::vector<int>{1, 2, 3, 4, 5, 6, 0, 7, 8}));
    EXPECT_EQ(h->NumPixels, 45.0f);
}

TEST(HistogramRescale, ARangeWithoutWidthIsNoBin)
{
    expectUnchanged(0.0f, 0.0f, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    expectUnchanged(3.0f, 3.0f, {1, 2, 3, 4, 5, 6, 7, 8, 9});
}

TEST(HistogramRescale, ABinWhosePlaceIsNotANumberIsOutsideTheRange)
{
    const Owned h = histogramOf(8.0f, 0.0f, {1, 2, 3});
    h->Min = std::numeric_limits<float>::quiet_NaN();
    ZELRescaleHistogram(h.get(), 20.0f, 0.0f);
    EXPECT_EQ(h->Max, 8.0f);
    EXPECT_EQ(countsOf(*h), (std::vector<int>{1, 2, 3}));
}

TEST(HistogramCopy, CopiesRangeCountsAndBinsButNoStatisticsOrPlace)
{
    const Owned from = histogramOf(8.0f, 0.0f, {1, 2, 3});
    from->Mean = 3.5f;
    from->Sigma = 1.5f;
    from->fileOffset = 99;
    const Owned to(ZELCreateHistogram(3));
    to->Mean = -1.0f;
    to->Sigma = -2.0f;
    to->fileOffset = 7;
    ZELCopyHistogram(to.get(), from.get());
    EXPECT_EQ(to->NumHistogramBins, 3);
    EXPECT_EQ(to->Max, 8.0f);
    EXPECT_EQ(to->Min, 0.0f);
    EXPECT_EQ(to->BinIncrement, 0.25f);
    EXPECT_EQ(to->NumPixels, 6.0f);
    EXPECT_EQ(countsOf(*to), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(to->Mean, -1.0f);
    EXPECT_EQ(to->Sigma, -2.0f);
    EXPECT_EQ(to->fileOffset, 7);
    EXPECT_NE(to->Histogram, from->Histogram);
}

// The bin counts of new histograms are process-wide.
class HistogramBins : public testing::Test {
protected:
    void TearDown() override
    {
        ZELSetHistogramBins(256);
        ZELSetStandardHistogramBins(256);
    }
};

TEST_F(HistogramBins, Are256AtStart)
{
    EXPECT_EQ(NumHistogramBins, 256);
    EXPECT_EQ(NumStandardHistogramBins, 256);
}

TEST_F(HistogramBins, AreSetApart)
{
    ZELSetHistogramBins(10);
    ZELSetStandardHistogramBins(20);
    EXPECT_EQ(NumHistogramBins, 10);
    EXPECT_EQ(NumStandardHistogramBins, 20);
}

TEST_F(HistogramBins, AreKeptIn16Bits)
{
    ZELSetHistogramBins(65536 + 20);
    ZELSetStandardHistogramBins(65536 + 30);
    EXPECT_EQ(NumHistogramBins, 20);
    EXPECT_EQ(NumStandardHistogramBins, 30);
}

TEST_F(HistogramBins, ApplyToHistogramsCreatedAfterwards)
{
    Writer writer(4, 0, 2);
    writer.add(0, 3, 0, 0);
    ZELCreateChannelHistograms(writer.get());
    ZELSetHistogramBins(10);
    writer.add(1, 3, 0, 0);
    ZELCreateChannelHistograms(writer.get());
    EXPECT_EQ(writer.slot(0).ChannelHistogram->NumHistogramBins, 256);
    EXPECT_EQ(writer.slot(1).ChannelHistogram->NumHistogramBins, 10);
    ZELFreeChannelHistograms(writer.get());
}

TEST(HistogramOfChannel, IsCreatedForPresentChannelsWithoutOne)
{
    Writer writer(4, 0, 3);
    writer.add(0, 3, 0, 0);
    writer.add(2, 3, 0, 0);
    const Owned mine(ZELCreateHistogram(5));
    writer.slot(0).ChannelHistogram = mine.get();
    writer.slot(0).UpdateChannelHistogramFlag = 0;
    writer.slot(1).ChannelHistogram = mine.get();
    writer.slot(2).UpdateChannelHistogramFlag = 0;
    ZELCreateChannelHistograms(writer.get());
    EXPECT_EQ(writer.slot(0).ChannelHistogram, mine.get()) << "one that exists is kept";
    EXPECT_EQ(writer.slot(0).UpdateChannelHistogramFlag, 0);
    EXPECT_EQ(writer.slot(1).ChannelHistogram, nullptr) << "an absent channel has none";
    ASSERT_NE(writer.slot(2).ChannelHistogram, nullptr);
    EXPECT_EQ(writer.slot(2).ChannelHistogram->NumHistogramBins, 256);
    EXPECT_EQ(writer.slot(2).UpdateChannelHistogramFlag, 1);
    writer.slot(0).ChannelHistogram = nullptr;
    ZELFreeChannelHistograms(writer.get());
}

TEST(HistogramOfChannel, FreeingLeavesNone)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    const int counts[] = {1, 2};
    ZELLoadStandardHistogram(writer.get(), 0, 2, 1.0f, 0.0f, counts);
    ZELCreateChannelHistograms(writer.get());
    ZELFreeChannelHistograms(writer.get());
    EXPECT_EQ(ZELFetchChannelHistogram(writer.get(), 0), nullptr);
    EXPECT_EQ(ZELFetchStandardHistogram(writer.get(), 0), nullptr);
}

TEST(HistogramOfChannel, IsFetchedByKind)
{
    Writer writer(4, 0, 1);
    const Owned channel(ZELCreateHistogram(2));
    const Owned standard(ZELCreateHistogram(2));
    writer.slot(0).ChannelHistogram = channel.get();
    writer.slot(0).ChannelStandardHistogram = standard.get();
    EXPECT_EQ(ZELFetchChannelHistogram(writer.get(), 0), channel.get());
    EXPECT_EQ(ZELFetchStandardHistogram(writer.get(), 0), standard.get());
}

TEST(HistogramOfChannel, TheFlagOfTheFileIsPlainAccess)
{
    Writer writer;
    ZELSetHistogramFlag(writer.get(), 0);
    EXPECT_EQ(writer->HistogramFlag, 0);
    ZELSetHistogramFlag(writer.get(), 1);
    EXPECT_EQ(writer->HistogramFlag, 1);
}

TEST(StandardHistogram, TakesRangeAndCountsWhole)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    const int counts[] = {5, 0, 7, 9};
    ZELLoadStandardHistogram(writer.get(), 0, 4, 17.0f, 5.0f, counts);
    const ZELHistogramType* h = ZELFetchStandardHistogram(writer.get(), 0);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(h->NumHistogramBins, 4);
    EXPECT_EQ(h->Max, 17.0f);
    EXPECT_EQ(h->Min, 5.0f);
    EXPECT_EQ(h->BinIncrement, 0.25f);  // 3 / 12
    EXPECT_EQ(h->NumPixels, 21.0f);
    EXPECT_EQ(h->Mean, 0.0f);
    EXPECT_EQ(h->Sigma, 0.0f);
    EXPECT_EQ(countsOf(*h), (std::vector<int>{5, 0, 7, 9}));
    ZELFreeChannelHistograms(writer.get());
}

TEST(StandardHistogram, SumsItsCountsInSinglePrecision)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    const int counts[] = {16777216, 1, 1, 1};  // each 1 is lost beside 2^24
    ZELLoadStandardHistogram(writer.get(), 0, 4, 3.0f, 0.0f, counts);
    EXPECT_EQ(ZELFetchStandardHistogram(writer.get(), 0)->NumPixels, 16777216.0f);
    ZELFreeChannelHistograms(writer.get());
}

TEST(StandardHistogram, LoadingASecondOneDoesNotFreeTheFirst)
{
    Writer writer(4, 0, 1);
    writer.add(0, 3, 0, 0);
    const int counts[] = {5, 6};
    ZELLoadStandardHistogram(writer.get(), 0, 2, 1.0f, 0.0f, counts);
    const Owned first(ZELFetchStandardHistogram(writer.get(), 0));
    const int other[] = {7, 8};
    ZELLoadStandardHistogram(writer.get(), 0, 2, 1.0f, 0.0f, other);
    EXPECT_NE(ZELFetchStandardHistogram(writer.get(), 0), first.get());
    EXPECT_EQ(countsOf(*first), (std::vector<int>{5, 6}));
    ZELFreeChannelHistograms(writer.get());
}

}  // namespace
