// Counting lines: the range, the bins, and the pixels of a line that take part.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <vector>

#include "support/counter.hpp"

namespace {

using zel_test::Counter;
using zel_test::Writer;

constexpr float missing = FLT_MAX;

TEST(HistogramCount, TheFirstLineSetsTheRange)
{
    Counter counter(5);
    counter.count({8, 2, 4, 6, 0});
    EXPECT_EQ(counter.histogram().Max, 8.0f);
    EXPECT_EQ(counter.histogram().Min, 2.0f);
    EXPECT_EQ(counter.histogram().BinIncrement, 42.5f);  // 255 / 6
    EXPECT_EQ(counter.counted(), 4.0f);
}

TEST(HistogramCount, TheMaximumOfTheFirstLineFallsInTheLastBin)
{
    Counter counter(5);
    counter.count({8, 2, 4, 6, 0});
    EXPECT_EQ(counter.bin(0), 1);
    EXPECT_EQ(counter.bin(85), 1);
    EXPECT_EQ(counter.bin(170), 1);
    EXPECT_EQ(counter.bin(255), 1);
    EXPECT_EQ(counter.total(), 4);
}

TEST(HistogramCount, TheLastPixelOfALineIsNeverCounted)
{
    Counter counter(4);
    counter.count({1, 2, 3, 1000});
    EXPECT_EQ(counter.histogram().Max, 3.0f);
    EXPECT_EQ(counter.counted(), 3.0f);
    counter.count({1, 2, 3, -1000});
    EXPECT_EQ(counter.histogram().Min, 1.0f);
    EXPECT_EQ(counter.counted(), 6.0f);
}

TEST(HistogramCount, ALineOfOnePixelCountsNothing)
{
    Counter counter(1);
    counter.count({5});
    EXPECT_EQ(counter.counted(), 0.0f);
    EXPECT_EQ(counter.histogram().Max, -FLT_MAX);
}

TEST(HistogramCount, PixelsOutsideThePaddingAreNotCounted)
{
    Counter counter(6);
    ZELSetPadding(counter.writer().get(), 1, 3);
    counter.count({-50, 1, 2, 3, 60, 70});
    EXPECT_EQ(counter.histogram().Min, 1.0f);
    EXPECT_EQ(counter.histogram().Max, 3.0f);
    EXPECT_EQ(counter.counted(), 3.0f);
}

TEST(HistogramCount, TheRightPaddingNeverReachesTheLastPixel)
{
    Counter counter(4);
    ZELSetPadding(counter.writer().get(), 2, 3);
    counter.count({-50, -60, 7, 90});
    EXPECT_EQ(counter.histogram().Max, 7.0f);
    ZELSetPadding(counter.writer().get(), 0, 100);  // beyond the line
    counter.count({1, 2, 7, 90});
    EXPECT_EQ(counter.histogram().Max, 7.0f);
    EXPECT_EQ(counter.histogram().Min, 1.0f);
}

TEST(HistogramCount, ASingleDistinctValueCollapsesTheRangeAndCountsNothing)
{
    Counter counter(5);
    counter.count({7, 7, 7, 7, 9});
    EXPECT_EQ(counter.histogram().Max, 7.0f);
    EXPECT_EQ(counter.histogram().Min, 7.0f);
    EXPECT_TRUE(std::isinf(counter.histogram().BinIncrement));
    EXPECT_EQ(counter.counted(), 0.0f);
    EXPECT_EQ(counter.total(), 0);
}

TEST(HistogramCount, RecoversFromACollapsedRange)
{
    Counter counter(5);
    counter.count({7, 7, 7, 7, 9});
    counter.count({7, 7, 12, 7, 9});
    EXPECT_EQ(counter.histogram().Min, 7.0f);
    EXPECT_EQ(counter.histogram().Max, 12.0f);
    EXPECT_EQ(counter.histogram().BinIncrement, 51.0f);
    EXPECT_EQ(counter.bin(0), 3);
    EXPECT_EQ(counter.bin(255), 1);
    EXPECT_EQ(counter.counted(), 4.0f);
}

TEST(HistogramCount, AWiderLineRescalesWhatWasCounted)
{
    Counter counter(4);
    counter.count({0, 51, 255, 0});   // a bin for each unit
    counter.count({510, 0, 102, 0});  // half a bin for each unit
    EXPECT_EQ(counter.histogram().Max, 510.0f);
    EXPECT_EQ(counter.histogram().Min, 0.0f);
    EXPECT_EQ(counter.histogram().BinIncrement, 0.5f);
    EXPECT_EQ(counter.bin(0), 2);
    EXPECT_EQ(counter.bin(25), 1);
    EXPECT_EQ(counter.bin(51), 1);
    EXPECT_EQ(counter.bin(127), 1);
    EXPECT_EQ(counter.bin(255), 1);
    EXPECT_EQ(counter.counted(), 6.0f);
}

TEST(HistogramCount, AFullBinStaysFull)
{
    Counter counter(4);
    counter.count({0, 51, 255, 0});
    counter.histogram().Histogram[51] = 2147483646;
    counter.count({51, 51, 51, 0});
    EXPECT_EQ(counter.bin(51), 2147483647);
    EXPECT_EQ(counter.counted(), 6.0f);
}

TEST(HistogramCount, ALineInsideTheRangeDoesNotRescale)
{
    Counter counter(4);
    counter.count({0, 255, 10, 0});
    counter.count({100, 101, 100.9f, 0});
    EXPECT_EQ(counter.histogram().BinIncrement, 1.0f);
    EXPECT_EQ(counter.bin(100), 2) << "a position is truncated, not rounded";
    EXPECT_EQ(counter.bin(101), 1);
}

TEST(HistogramCount, AnEmptyLineLeavesTheHistogramUnused)
{
    Counter counter(4);
    counter.count({missing, missing, missing, missing});
    EXPECT_EQ(counter.histogram().Max, -FLT_MAX);
    EXPECT_EQ(counter.histogram().Min, FLT_MAX);
    EXPECT_EQ(counter.counted(), 0.0f);
}

TEST(HistogramCount, NothingIsCountedWhenTheFileKeepsNoHistograms)
{
    Counter counter(4);
    ZELSetHistogramFlag(counter.writer().get(), 0);
    counter.count({1, 2, 3, 0});
    EXPECT_EQ(counter.histogram().Max, -FLT_MAX);
    EXPECT_EQ(counter.counted(), 0.0f);
}

TEST(HistogramCount, NothingIsCountedWhenTheChannelsFlagIsOff)
{
    Counter counter(4);
    counter.writer().slot(0).UpdateChannelHistogramFlag = 0;
    counter.count({1, 2, 3, 0});
    EXPECT_EQ(counter.histogram().Max, -FLT_MAX);
    EXPECT_EQ(counter.counted(), 0.0f);
}

TEST(HistogramCount, AChannelWithoutAHistogramIsPassedOver)
{
    Counter counter(4);
    ZELHistogramType* kept = &counter.histogram();
    counter.writer().slot(0).ChannelHistogram = nullptr;
    const auto outcome = zel_test::run([&] { counter.count({1, 2, 3, 0}); });
    EXPECT_FALSE(outcome.ended);
    counter.writer().slot(0).ChannelHistogram = kept;
    EXPECT_EQ(counter.counted(), 0.0f);
}

TEST(HistogramCount, AStandardHistogramIsNotCountedInto)
{
    Counter counter(4);
    const int counts[] = {3, 4};
    ZELLoadStandardHistogram(counter.writer().get(), 0, 2, 3.0f, 1.0f, counts);
    counter.count({1, 2, 3, 0});
    const ZELHistogramType* standard = ZELFetchStandardHistogram(counter.writer().get(), 0);
    EXPECT_EQ(standard->NumPixels, 7.0f);
    EXPECT_EQ(standard->Histogram[0], 3);
    EXPECT_EQ(standard->Histogram[1], 4);
}

TEST(HistogramCount, AllPresentChannelsAreCountedTogether)
{
    Writer writer(4, 0, 3);
    writer.add(0, 4, 0, 0);
    writer.add(2, 4, 0, 0);
    writer.open();
    writer.load(0, {1, 2, 3, 0});
    writer.load(2, {5, 6, missing, 0});
    ZELIncrementChannelHistograms(writer.get());
    EXPECT_EQ(writer.slot(0).ChannelHistogram->NumPixels, 3.0f);
    EXPECT_EQ(writer.slot(2).ChannelHistogram->NumPixels, 2.0f);
    EXPECT_EQ(writer.slot(2).ChannelHistogram->Max, 6.0f);
}

TEST(HistogramCount, EachWrittenLineIsCounted)
{
    Writer writer(4, 0, 1);
    writer.add(0, 1, 10.0f, 0.0f);
    writer.open();
    writer.load(0, {-5, 5, 20, 0});  // clamped to 0, 5, 10 before it is counted
    writer.write();
    const ZELHistogramType& h = *writer.slot(0).ChannelHistogram;
    EXPECT_EQ(h.NumPixels, 3.0f);
    EXPECT_EQ(h.Min, 0.0f);
    EXPECT_EQ(h.Max, 10.0f);
    EXPECT_EQ(h.Histogram[127], 1);  // 5 * 25.5 = 127.5
}

TEST(HistogramCount, AWrittenLineThatWasNotLoadedCountsAgain)
{
    Writer writer(4, 0, 1);
    writer.add(0, 4, 0, 0);
    writer.open();
    writer.load(0, {1, 2, 3, 0});
    writer.write();
    writer.write();
    EXPECT_EQ(writer.slot(0).ChannelHistogram->NumPixels, 6.0f);
}

TEST(HistogramCount, SlotsAfterTheFilesLastAreLeftAlone)
{
    Writer writer(4, 0, 3);
    writer.add(2, 4, 0, 0);
    writer.open();
    writer.load(2, {1, 2, 3, 0});
    writer.slot(3) = writer.slot(2);
    ZELIncrementChannelHistograms(writer.get());
    EXPECT_EQ(writer.slot(2).ChannelHistogram->NumPixels, 3.0f) << "counted once";
    writer.slot(3) = ZELChannelType{};
}

TEST(HistogramCount, PositionsThatAreInterpolatedAreTakenAsTheyStand)
{
    Counter counter(4, 0, 4);
    const float lats[4] = {}, lons[4] = {};
    ZELLoadNavigation(counter.writer().get(), 0.0, lats, lons);
    ZELInterpolateLatLong(counter.writer().get());
    counter.writer()->Lat[1] = 91;
    counter.count({1, 50, 3, 0});
    EXPECT_EQ(counter.histogram().Max, 3.0f);
    EXPECT_EQ(counter.counted(), 2.0f);
}

TEST(HistogramCount, WithoutAScanTimeALineIsDaylight)
{
    Counter counter(4, 2, 4);
    const float lats[4] = {}, lons[4] = {};
    ZELLoadNavigation(counter.writer().get(), 0.01, lats, lons);
    counter.count({1, 2, 3, 0});
    EXPECT_EQ(counter.counted(), 0.0f) << "midnight";
    ZELLoadNavigation(counter.writer().get(), 0.0, lats, lons);
    counter.count({1, 2, 3, 0});
    EXPECT_EQ(counter.counted(), 3.0f) << "all angles are 0 then";
}

// The sun is below the horizon at midnight and above it at noon: the line's position decides.
TEST(HistogramCount, DaylightIsTakenFromTheLinesNavigation)
{
    for (const bool day : {true, false}) {
        Counter counter(4, 2, 4);
        const float lats[4] = {}, lons[4] = {};
        ZELLoadNavigation(counter.writer().get(), day ? 12.0 : 0.01, lats, lons);
        counter.count({1, 2, 3, 0});
        EXPECT_EQ(counter.counted(), day ? 3.0f : 0.0f);
    }
}

}  // namespace
