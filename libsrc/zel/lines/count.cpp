#include "lines/count.hpp"

#include <algorithm>
#include <cfloat>

#include "blocks/zel_histogram.hpp"
#include "ground/memory.hpp"
#include "ground/zel_door.hpp"
#include "lines/zel_navigate.hpp"
#include "records/slot.hpp"
#include "zel_histogram.h"
#include "zel_navigate.h"

namespace zel {
namespace {

constexpr float missingValue = FLT_MAX;
constexpr float darkestZenith = 85.0F;  // degrees

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

bool isScaled(int storageCode)
{
    return storageCode == ZEL_STORED_BYTE_SCALED || storageCode == ZEL_STORED_UINT16_SCALED;
}

bool isOnEarth(float lat, float lon)
{
    return lat >= -90.0F && lat <= 90.0F && lon >= -180.0F && lon <= 180.0F;
}

// Widens the range to the values; whether that changed it.
void widen(ZELHistogramType& histogram, const float* values, int count)
{
    float max = histogram.Max;
    float min = histogram.Min;
    for (int i = 0; i < count; ++i) {
        if (values[i] > max) max = values[i];
        if (values[i] < min) min = values[i];
    }
    if (max != histogram.Max || min != histogram.Min)
        ZELRescaleHistogram(&histogram, std::max(max, histogram.Max), std::min(min, histogram.Min));
}

void addToBins(ZELHistogramType& histogram, const float* values, int count)
{
    for (int i = 0; i < count; ++i) {
        const int bin = binAt((values[i] - histogram.Min) * histogram.BinIncrement);
        if (bin < 0 || bin >= histogram.NumHistogramBins) continue;
        addToBin(histogram.Histogram[bin], 1);
        histogram.NumPixels += 1.0F;
    }
}

}  // namespace

// Which pixels of a channel count; a rule that does not apply has no line to look at.
struct LineCounter::Rules {
    const float* lat;
    const float* lon;
    const float* solarZenith;
    bool positive;
    bool scaled;
    float min, max;

    bool allow(float value, int pixel) const
    {
        if (value == missingValue) return false;
        if (lat && !isOnEarth(lat[pixel], lon[pixel])) return false;
        if (solarZenith && !(solarZenith[pixel] <= darkestZenith)) return false;
        if (positive && !(value > 0.0F)) return false;
        return !scaled || (value >= min && value <= max);
    }
};

const float* LineCounter::solarZenith()
{
    if (!solarZenith_) solarZenith_ = solarZenithOfLine(file_);
    return solarZenith_;
}

LineCounter::Rules LineCounter::rulesFor(const ZELChannelType& channel)
{
    const bool located = file_.ZELHeader.NumNavPoints > 0;
    if (located && !file_.LatLonInterpolated) ZELInterpolateLatLong(&file_);
    return {located ? file_.Lat : nullptr,
            located ? file_.Lon : nullptr,
            needsDaylight(channel.Units) ? solarZenith() : nullptr,
            isPositiveQuantity(channel.Units),
            isScaled(channel.Type),
            channel.MinValue,
            channel.MaxValue};
}

// The values of the line that count. The last pixel of a line never does.
int LineCounter::collect(const ZELChannelType& channel, float* values)
{
    const Rules rules = rulesFor(channel);
    const int first = std::max<int>(file_.LeftPixel, 0);
    const int last = std::min<int>(file_.RightPixel, file_.ZELHeader.NPixelPerLine - 2);
    int count = 0;
    for (int x = first; x <= last; ++x) {
        const float value = channel.ChannelData[x];
        values[count] = value;
        count += rules.allow(value, x) ? 1 : 0;
    }
    return count;
}

void LineCounter::count(int index)
{
    ZELChannelType& channel = slotOf(&file_, index, "ZELIncrementHistogram");
    if (!file_.HistogramFlag || !channel.UpdateChannelHistogramFlag || !channel.ChannelHistogram)
        return;
    const Owned<float> values(
        allocate<float>(static_cast<std::size_t>(file_.ZELHeader.NPixelPerLine)));
    if (!values) fail("ZELIncrementHistogram: cannot allocate memory for a line\n");
    const int counted = collect(channel, values.get());
    widen(*channel.ChannelHistogram, values.get(), counted);
    addToBins(*channel.ChannelHistogram, values.get(), counted);
}

}  // namespace zel

void ZELIncrementHistogram(ZELType* ZELdata, int channel)
{
    zel::LineCounter(*ZELdata).count(channel);
}

void ZELIncrementChannelHistograms(ZELType* ZELdata)
{
    zel::LineCounter counter(*ZELdata);
    for (int i = 0; i < ZELdata->ZELHeader.MaxNumChan; ++i)
        if (ZELdata->Channels[i].ChannelPresentFlag) counter.count(i);
}
