#include "lines/count.hpp"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cstring>
#include <limits>

#include "blocks/histogram_tally.hpp"
#include "ground/width.hpp"
#include "ground/zel_door.hpp"
#include "lines/angles.hpp"
#include "lines/zel_navigate.hpp"
#include "records/pixels.hpp"
#include "records/slot.hpp"
#include "zel_histogram.h"

namespace zel {
namespace {

constexpr float missingValue = FLT_MAX;
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr int blockSize = 32;

bool needsDaylight(int units)
{
    return units == ZEL_UNITS_PERCENT_ALBEDO || units == ZEL_UNITS_REFLECTANCE ||
           units == ZEL_UNITS_DAYTIME;
}

bool isPositiveQuantity(int units)
{
    return units == ZEL_UNITS_KELVIN || units == ZEL_UNITS_PERCENT_ALBEDO ||
           units == ZEL_UNITS_REFLECTANCE;
}

std::uint8_t isOnEarth(float lat, float lon)
{
    return static_cast<std::uint8_t>((lat >= -90.0f) & (lat <= 90.0f) & (lon >= -180.0f) &
                                     (lon <= 180.0f));
}

// The values of a channel that count.
struct Bounds {
    bool required = false;  // without it a value that is not a number counts too
    float min = -infinity;
    float max = infinity;

    std::uint8_t hold(float value) const
    {
        const bool inside = (value >= min) & (value <= max);
        return static_cast<std::uint8_t>((inside | !required) & (value != missingValue));
    }
};

Bounds boundsOf(const ZELChannelType& channel)
{
    const bool scaled = isScaled(channel.Type);
    const bool positive = isPositiveQuantity(channel.Units);
    Bounds bounds;
    bounds.required = scaled || positive;
    if (scaled) {
        bounds.min = channel.MinValue;
        bounds.max = channel.MaxValue;
    }
    constexpr float leastPositive = std::numeric_limits<float>::denorm_min();
    // A bound that is not a number holds nothing, and stays.
    if (positive && bounds.min < leastPositive) bounds.min = leastPositive;
    return bounds;
}

// Copies the values of a block that count, and returns how many. Most blocks count as a whole.
int copyBlock(const float* values, const std::uint8_t* mask, const Bounds& bounds, float* to)
{
    std::array<std::uint8_t, blockSize> counts;
    unsigned sum = 0;
    for (std::size_t k = 0; k < blockSize; ++k) {
        counts[k] = mask[k] & bounds.hold(values[k]);
        sum += counts[k];
    }
    if (sum == blockSize) {
        std::memcpy(to, values, blockSize * sizeof(float));
        return blockSize;
    }
    int count = 0;
    for (std::size_t k = 0; k < blockSize; ++k) {
        to[count] = values[k];
        count += counts[k];
    }
    return count;
}

template <class T>
Owned<T> lineOf(int pixels)
{
    Owned<T> line(allocate<T>(static_cast<std::size_t>(pixels)));
    if (!line) fail("ZELIncrementHistogram: cannot allocate memory for a line\n");
    return line;
}

}  // namespace

void LineCounter::prepare()
{
    if (pixels_ > 0) return;
    pixels_ = file_.ZELHeader.NPixelPerLine;
    values_ = lineOf<float>(pixels_);
    onEarth_ = lineOf<std::uint8_t>(pixels_);
    inDaylight_ = lineOf<std::uint8_t>(pixels_);
    findPositions();
}

void LineCounter::findPositions()
{
    std::uint8_t* mask = onEarth_.get();
    if (file_.ZELHeader.NumNavPoints <= 0) {
        std::fill_n(mask, pixels_, std::uint8_t{1});
        return;
    }
    const Positions positions = positionsOf(file_);
    for (int x = 0; x < pixels_; ++x) mask[x] = isOnEarth(positions.lat[x], positions.lon[x]);
}

void LineCounter::findDaylight()
{
    if (daylightIsKnown_) return;
    daylightIsKnown_ = true;
    markDaylight(file_, inDaylight_.get());
    for (int x = 0; x < pixels_; ++x) inDaylight_.get()[x] &= onEarth_.get()[x];
}

// The values of the line that count. The last pixel of a line never does.
int LineCounter::collect(const ZELChannelType& channel)
{
    const bool daylight = needsDaylight(channel.Units);
    if (daylight) findDaylight();
    const std::uint8_t* mask = daylight ? inDaylight_.get() : onEarth_.get();
    const Bounds bounds = boundsOf(channel);
    int x = std::clamp<int>(file_.LeftPixel, 0, pixels_);  // any number in a damaged file
    const int end = std::min<int>(file_.RightPixel, pixels_ - 2) + 1;
    float* to = values_.get();
    runLoop([&] {
        for (; x + blockSize <= end; x += blockSize)
            to += copyBlock(channel.ChannelData + x, mask + x, bounds, to);
    });
    for (; x < end; ++x)
        if (mask[x] & bounds.hold(channel.ChannelData[x])) *to++ = channel.ChannelData[x];
    return static_cast<int>(to - values_.get());
}

void LineCounter::count(int index)
{
    ZELChannelType& channel = slotOf(&file_, index, "ZELIncrementHistogram");
    if (!file_.HistogramFlag || !channel.UpdateChannelHistogramFlag || !channel.ChannelHistogram)
        return;
    prepare();
    const int counted = collect(channel);
    countValues(*channel.ChannelHistogram, values_.get(), counted);
}

}  // namespace zel

void ZELIncrementHistogram(ZELType* ZELdata, int channel)
{
    zel::LineCounter(*ZELdata).count(channel);
}

void ZELIncrementChannelHistograms(ZELType* ZELdata)
{
    zel::LineCounter counter(*ZELdata);
    for (const auto [slot, channel] : zel::presentChannels(*ZELdata)) counter.count(slot);
}
