// Which values a histogram counts, by value, position, sun, units and storage.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <vector>

#include "support/counter.hpp"

namespace {

using zel_test::Counter;

constexpr float missing = FLT_MAX;
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

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

TEST(HistogramRules, ASinglePointIsNavigationToo)
{
    Counter counter(4, 0, 1);
    const float lat = 91, lon = 0;
    ZELLoadNavigation(counter.writer().get(), 0.0, &lat, &lon);
    counter.count({1, 2, 3, 0});
    EXPECT_EQ(counter.counted(), 0.0f);
}

}  // namespace
