#include "blocks/histogram_tally.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "blocks/zel_histogram.hpp"
#include "blocks/zel_histogram_sum.hpp"
#include "ground/width.hpp"
#include "zel_histogram.h"

// The loops here run over blocks of a fixed size without branches, so that a compiler computes
// several values at a time.
namespace zel {
namespace {

constexpr int blockSize = 128;
constexpr int numLanes = 16;

struct Range {
    float min, max;
};

// The first of the values that equals zero, whose sign the range keeps.
float firstZero(const float* values, int count)
{
    return *std::find(values, values + count, 0.0f);
}

// The range of the values and of the one given. Equal values leave the one that came first.
Range rangeOf(const Range& start, const float* values, int count)
{
    std::array<float, numLanes> min;
    std::array<float, numLanes> max;
    min.fill(start.min);
    max.fill(start.max);
    int i = 0;
    for (; i + numLanes <= count; i += numLanes)
        for (std::size_t lane = 0; lane < numLanes; ++lane) {
            const float value = values[static_cast<std::size_t>(i) + lane];
            min[lane] = value < min[lane] ? value : min[lane];
            max[lane] = value > max[lane] ? value : max[lane];
        }
    for (; i < count; ++i) {
        min[0] = values[i] < min[0] ? values[i] : min[0];
        max[0] = values[i] > max[0] ? values[i] : max[0];
    }
    Range range = start;
    for (const float value : min) range.min = value < range.min ? value : range.min;
    for (const float value : max) range.max = value > range.max ? value : range.max;
    // Zeros of both signs are equal, and a lane may have seen the later one first.
    if (range.min == 0.0f && start.min != 0.0f) range.min = firstZero(values, count);
    if (range.max == 0.0f && start.max != 0.0f) range.max = firstZero(values, count);
    return range;
}

void widen(ZELHistogramType& histogram, const float* values, int count)
{
    const Range range = rangeOf({histogram.Min, histogram.Max}, values, count);
    if (range.max != histogram.Max || range.min != histogram.Min)
        ZELRescaleHistogram(&histogram, std::max(range.max, histogram.Max),
                            std::min(range.min, histogram.Min));
}

// sum + 1 + 1 + ... as floats are added one by one.
float addOnes(float sum, int count)
{
    if (sum >= 0.0f) return addRepeatedly(sum, 1.0f, count);
    for (int i = 0; i < count; ++i) sum += 1.0f;
    return sum;
}

void addOneByOne(ZELHistogramType& histogram, const float* values, int count)
{
    for (int i = 0; i < count; ++i) {
        const int bin = binAt((values[i] - histogram.Min) * histogram.BinIncrement);
        if (bin < 0 || bin >= histogram.NumHistogramBins) continue;
        addToBin(histogram.Histogram[bin], 1);
        histogram.NumPixels += 1.0f;
    }
}

// Counts of a histogram of few bins. Neighbouring pixels often fall into the same bin, and an
// addition has to wait for the one before it to the same counter: four tables take turns.
class Tally {
public:
    static constexpr int maxBins = 256;

    explicit Tally(const ZELHistogramType& histogram)
        : min_(histogram.Min), increment_(histogram.BinIncrement), bins_(histogram.NumHistogramBins)
    {
    }

    void add(const float* values, int count)
    {
        std::array<std::int32_t, blockSize> bin;
        int i = 0;
        for (; i + blockSize <= count; i += blockSize) {
            for (std::size_t k = 0; k < blockSize; ++k)
                bin[k] = binOf(values[static_cast<std::size_t>(i) + k]);
            for (std::size_t k = 0; k < blockSize; k += tables_.size())
                for (std::size_t table = 0; table < tables_.size(); ++table)
                    ++tables_[table][static_cast<std::size_t>(bin[k + table])];
        }
        for (; i < count; ++i) ++tables_[0][static_cast<std::size_t>(binOf(values[i]))];
    }

    void addTo(ZELHistogramType& histogram) const
    {
        int counted = 0;
        for (std::size_t bin = 0; bin < static_cast<std::size_t>(bins_); ++bin) {
            const std::int32_t sum =
                tables_[0][bin] + tables_[1][bin] + tables_[2][bin] + tables_[3][bin];
            std::int32_t& total = histogram.Histogram[bin];
            total = total > INT32_MAX - sum ? INT32_MAX : total + sum;
            counted += sum;
        }
        histogram.NumPixels = addOnes(histogram.NumPixels, counted);
    }

private:
    // What lies in no bin goes into one after the last.
    std::int32_t binOf(float value) const
    {
        const float position = (value - min_) * increment_;
        const auto end = static_cast<float>(bins_);
        const bool inside = (position > -1.0f) & (position < end);
        return static_cast<std::int32_t>(inside ? position : end);
    }

    float min_;
    float increment_;
    int bins_;
    std::array<std::array<std::int32_t, maxBins + 1>, 4> tables_{};
};

}  // namespace

void countValues(ZELHistogramType& histogram, const float* values, int count)
{
    runLoop([&] { widen(histogram, values, count); });
    if (histogram.NumHistogramBins < 0 || histogram.NumHistogramBins > Tally::maxBins)
        return addOneByOne(histogram, values, count);
    Tally tally(histogram);
    runLoop([&] { tally.add(values, count); });
    runLoop([&] { tally.addTo(histogram); });
}

}  // namespace zel
