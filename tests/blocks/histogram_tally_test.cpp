// Counting many values at a time gives the histogram that counting them one by one gives, to the
// bit.
#include "blocks/histogram_tally.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "zel_histogram.h"

namespace {

struct Free {
    void operator()(ZELHistogramType* histogram) const { ZELFreeHistogram(histogram); }
};
using Histogram = std::unique_ptr<ZELHistogramType, Free>;

// The rule itself: the range is widened once to all values, then each value has its bin.
void countPlainly(ZELHistogramType& h, const std::vector<float>& values)
{
    float max = h.Max;
    float min = h.Min;
    for (const float value : values) {
        if (value > max) max = value;
        if (value < min) min = value;
    }
    if (max != h.Max || min != h.Min) ZELRescaleHistogram(&h, max, min);
    for (const float value : values) {
        const float position = (value - h.Min) * h.BinIncrement;
        if (!(position > -1.0f) || !(position < 65536.0f)) continue;
        const int bin = static_cast<int>(position);
        if (bin >= h.NumHistogramBins) continue;
        if (h.Histogram[bin] < INT32_MAX) ++h.Histogram[bin];
        h.NumPixels += 1.0f;
    }
}

std::uint32_t bits(float value)
{
    return std::bit_cast<std::uint32_t>(value);
}

void expectEqual(const ZELHistogramType& a, const ZELHistogramType& b)
{
    EXPECT_EQ(bits(a.Max), bits(b.Max));
    EXPECT_EQ(bits(a.Min), bits(b.Min));
    EXPECT_EQ(bits(a.BinIncrement), bits(b.BinIncrement));
    EXPECT_EQ(bits(a.NumPixels), bits(b.NumPixels));
    ASSERT_EQ(a.NumHistogramBins, b.NumHistogramBins);
    for (int i = 0; i < a.NumHistogramBins; ++i)
        ASSERT_EQ(a.Histogram[i], b.Histogram[i]) << "bin " << i;
}

// Both histograms take the same lines one after the other.
class Pair {
public:
    explicit Pair(int bins) : fast(ZELCreateHistogram(bins)), plain(ZELCreateHistogram(bins)) {}

    void count(const std::vector<float>& values)
    {
        zel::countValues(*fast, values.data(), static_cast<int>(values.size()));
        countPlainly(*plain, values);
        expectEqual(*fast, *plain);
    }

    Histogram fast;
    Histogram plain;
};

std::vector<float> randomLine(std::mt19937& random, std::size_t size)
{
    static const std::vector<float> special = {0.0f,    -0.0f,    NAN,          INFINITY, -INFINITY,
                                               FLT_MAX, -FLT_MAX, FLT_TRUE_MIN, FLT_MIN,  1.0e-30f};
    std::vector<float> line(size);
    std::uniform_real_distribution<float> value(-3.0f, 100.0f);
    const bool isOdd = random() % 2 == 0;
    for (float& v : line)
        v = isOdd && random() % 50 == 0 ? special[random() % special.size()] : value(random);
    return line;
}

TEST(HistogramTally, RandomLinesCountAsOneByOne)
{
    std::mt19937 random(7);
    for (const int bins : {0, 1, 2, 3, 255, 256, 257, 1000})
        for (int round = 0; round < 12; ++round) {
            Pair pair(bins);
            for (const std::size_t size : {0, 1, 15, 16, 17, 127, 128, 129, 500, 2048})
                pair.count(randomLine(random, size));
        }
}

TEST(HistogramTally, ALineOfOneValueHasARangeWithoutExtent)
{
    Pair pair(256);
    pair.count(std::vector<float>(300, 5.0f));
    pair.count(std::vector<float>(300, 5.0f));
    pair.count({4.0f, 6.0f});
}

TEST(HistogramTally, TheFirstOfTwoZerosIsTheEndOfTheRange)
{
    for (const float first : {0.0f, -0.0f}) {
        std::vector<float> values(40, 1.0f);
        values[33] = first;
        values[2 + 16] = -first;
        values[5] = first;
        Pair asMin(256);
        asMin.count(values);
        EXPECT_EQ(bits(asMin.fast->Min), bits(first));
        for (float& v : values) v = v == 1.0f ? -1.0f : v;
        Pair asMax(256);
        asMax.count(values);
        EXPECT_EQ(bits(asMax.fast->Max), bits(first));
    }
}

TEST(HistogramTally, AFullBinStaysFull)
{
    Pair pair(4);
    pair.count({0.0f, 9.0f});
    for (ZELHistogramType* h : {pair.fast.get(), pair.plain.get()}) {
        h->Histogram[0] = INT32_MAX - 5;
        h->Histogram[1] = -3;
    }
    std::vector<float> values(200, 0.0f);
    values.resize(400, 3.5f);
    pair.count(values);
    EXPECT_EQ(pair.fast->Histogram[0], INT32_MAX);
    EXPECT_EQ(pair.fast->Histogram[1], 197);
}

TEST(HistogramTally, ACountOfPixelsBeyondTheFloatsWholeNumbersStays)
{
    Pair pair(16);
    pair.count({0.0f, 1.0f});
    for (const float start : {16777210.0f, -2.5f, 0.5f, 1.0e10f}) {
        pair.fast->NumPixels = pair.plain->NumPixels = start;
        pair.count(std::vector<float>(50, 0.25f));
    }
}

}  // namespace
