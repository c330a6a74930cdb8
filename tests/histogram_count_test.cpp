// Counting lines: which pixels count, and into which bin.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "support/writer.hpp"

namespace {

using zel_test::Writer;

constexpr float missing = FLT_MAX;
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

// A file of one channel whose next line is set and counted at will.
class Counter {
public:
    explicit Counter(int pixels, int units = 0, int navPoints = 0, int storageCode = 4,
                     float max = 0, float min = 0)
        : writer_(pixels, navPoints, 4)
    {
        ZELAddSensorChannel(writer_.get(), 0, max, min, storageCode, 8, "v", "", 1.0f, units);
        for (int i = 1; i < 4; ++i) writer_.add(i, 4, 0, 0);
        writer_.open();
    }

    // The solar zenith angle of every pixel, held in a channel.
    void setSolarZenith(const std::vector<float>& angles)
    {
        ZELSetSolarChannels(writer_.get(), 1, 2, 3);
        writer_.load(1, angles);
    }

    void count(const std::vector<float>& values)
    {
        writer_.load(0, values);
        ZELIncrementHistogram(writer_.get(), 0);
    }

    ZELHistogramType& histogram() { return *writer_.slot(0).ChannelHistogram; }
    float counted() { return histogram().NumPixels; }
    int bin(int i) { return histogram().Histogram[i]; }
    int total() { return std::accumulate(histogram().Histogram, histogram().Histogram + 256, 0); }
    Writer& writer() { return writer_; }

private:
    Writer writer_;
};

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

TEST(HistogramRules, TheMissingValueIsNeverCounted)
{
    Counter counter(5);
    counter.count({1, missing, 3, missing, 0});
    EXPECT_EQ(counter.histogram().Max, 3.0f);
    EXPECT_EQ(counter.counted(), 2.0f);
}

TEST(HistogramRules, TheLargestFloatBelowTheMissingValueCounts)
{
    const float almost = std::nextafter(missing, 0.0f);
    Counter counter(3);
    counter.count({0, almost, 0});
    EXPECT_EQ(counter.histogram().Max, almost);
}

TEST(HistogramRules, ANotANumberIsNeitherCountedNorPartOfTheRange)
{
    Counter counter(4);
    counter.count({notANumber, 1, 3, 0});
    EXPECT_EQ(counter.histogram().Min, 1.0f);
    EXPECT_EQ(counter.histogram().Max, 3.0f);
    EXPECT_EQ(counter.counted(), 2.0f);
    EXPECT_EQ(counter.total(), 2);
}

TEST(HistogramRules, AnInfiniteValueIsNeverConvertedToAnIndex)
{
    Counter counter(4);
    counter.count({0, 255, 10, 0});
    counter.count({infinity, 255, 10, 0});
    counter.count({-infinity, 255, 10, 0});
    EXPECT_EQ(static_cast<float>(counter.total()), counter.counted());
}

TEST(HistogramRules, WithNavigationALatitudeBeyondThePolesIsNotCounted)
{
    Counter counter(6, 0, 6);
    const float lats[] = {90.0f, 90.5f, -90.0f, -90.5f, 0.0f, 0.0f}, lons[6] = {};
    ZELLoadNavigation(counter.writer().get(), 0.0, lats, lons);
    counter.count({10, 1, 20, 99, 30, 0});
    EXPECT_EQ(counter.histogram().Min, 10.0f);
    EXPECT_EQ(counter.histogram().Max, 30.0f);
    EXPECT_EQ(counter.counted(), 3.0f);
}

TEST(HistogramRules, WithNavigationALongitudeBeyondTheDateLineIsNotCounted)
{
    Counter counter(6, 0, 6);
    const float lats[6] = {}, lons[] = {180.0f, 180.5f, -180.0f, -180.5f, 0.0f, 0.0f};
    ZELLoadNavigation(counter.writer().get(), 0.0, lats, lons);
    counter.count({10, 1, 20, 99, 30, 0});
    EXPECT_EQ(counter.histogram().Min, 10.0f);
    EXPECT_EQ(counter.histogram().Max, 30.0f);
    EXPECT_EQ(counter.counted(), 3.0f);
}

TEST(HistogramRules, WithoutNavigationEveryPositionCounts)
{
    Counter counter(4, 0, 0);
    counter.count({1, 2, 3, 0});
    EXPECT_EQ(counter.counted(), 3.0f);
}

class DaytimeUnits : public testing::TestWithParam<int> {};

TEST_P(DaytimeUnits, CountUpToASolarZenithOf85Degrees)
{
    Counter counter(6, GetParam());
    counter.setSolarZenith({0, 85, std::nextafter(85.0f, 90.0f), 85.5f, 120, 0});
    counter.count({10, 20, 1, 99, 98, 0});
    EXPECT_EQ(counter.histogram().Min, 10.0f);
    EXPECT_EQ(counter.histogram().Max, 20.0f);
    EXPECT_EQ(counter.counted(), 2.0f);
}

INSTANTIATE_TEST_SUITE_P(AlbedoReflectanceDaytime, DaytimeUnits, testing::Values(2, 3, 6));

class NightUnits : public testing::TestWithParam<int> {};

TEST_P(NightUnits, CountWhateverTheSolarZenith)
{
    Counter counter(4, GetParam());
    counter.setSolarZenith({0, 85.5f, 120, 0});
    counter.count({10, 20, 99, 0});
    EXPECT_EQ(counter.counted(), 3.0f);
}

INSTANTIATE_TEST_SUITE_P(OtherUnits, NightUnits, testing::Values(0, 1, 4, 5, 7));

class PositiveUnits : public testing::TestWithParam<int> {};

TEST_P(PositiveUnits, CountOnlyValuesAboveZero)
{
    Counter counter(6, GetParam());
    counter.count({0, -0.0f, -1, FLT_MIN, 5, 0});
    EXPECT_EQ(counter.histogram().Min, FLT_MIN);
    EXPECT_EQ(counter.histogram().Max, 5.0f);
    EXPECT_EQ(counter.counted(), 2.0f);
}

INSTANTIATE_TEST_SUITE_P(KelvinAlbedoReflectance, PositiveUnits, testing::Values(1, 2, 3));

class SignedUnits : public testing::TestWithParam<int> {};

TEST_P(SignedUnits, CountZeroAndBelow)
{
    Counter counter(4, GetParam());
    counter.count({0, -1, 5, 0});
    EXPECT_EQ(counter.histogram().Min, -1.0f);
    EXPECT_EQ(counter.counted(), 3.0f);
}

INSTANTIATE_TEST_SUITE_P(OtherUnits, SignedUnits, testing::Values(0, 4, 5, 6, 7));

class ScaledStorage : public testing::TestWithParam<int> {};

TEST_P(ScaledStorage, CountsTheScaleRangeWithItsBounds)
{
    Counter counter(6, 0, 0, GetParam(), 30.0f, 10.0f);
    counter.count({10, 30, std::nextafter(10.0f, 0.0f), std::nextafter(30.0f, 40.0f), 20, 0});
    EXPECT_EQ(counter.histogram().Min, 10.0f);
    EXPECT_EQ(counter.histogram().Max, 30.0f);
    EXPECT_EQ(counter.counted(), 3.0f);
}

INSTANTIATE_TEST_SUITE_P(ByteAndWord, ScaledStorage, testing::Values(1, 2));

class UnscaledStorage : public testing::TestWithParam<int> {};

TEST_P(UnscaledStorage, CountsOutsideTheScaleRangeToo)
{
    Counter counter(4, 0, 0, GetParam(), 30.0f, 10.0f);
    counter.count({5, 40, 20, 0});
    EXPECT_EQ(counter.histogram().Min, 5.0f);
    EXPECT_EQ(counter.histogram().Max, 40.0f);
    EXPECT_EQ(counter.counted(), 3.0f);
}

INSTANTIATE_TEST_SUITE_P(ByteFloatWord, UnscaledStorage, testing::Values(3, 4, 5));

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

TEST(HistogramCount, SlotsBehindTheFilesLastAreLeftAlone)
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

TEST(HistogramRules, ASinglePointIsNavigationToo)
{
    Counter counter(4, 0, 1);
    const float lat = 91, lon = 0;
    ZELLoadNavigation(counter.writer().get(), 0.0, &lat, &lon);
    counter.count({1, 2, 3, 0});
    EXPECT_EQ(counter.counted(), 0.0f);
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
