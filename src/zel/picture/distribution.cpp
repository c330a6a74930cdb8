#include "picture/distribution.hpp"

#include <algorithm>
#include <cmath>

#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr double mostBins = 80.0;
constexpr double sigmas = 4.0;

// The difference of neighbouring values as they are stored; 0 for floats.
double stepOf(const ZELChannelType& c)
{
    if (c.Type == ZEL_STORED_FLOAT) return 0.0;
    if (!isScaled(c.Type)) return 1.0;
    const double range = static_cast<double>(c.MaxValue) - static_cast<double>(c.MinValue);
    return range / (c.Type == ZEL_STORED_BYTE_SCALED ? 255.0 : 65535.0);
}

// Bins of whole steps, each with the same number of values in it, which lie in the middle of a
// step.
void placeOnSteps(Distribution& d, double origin, double step)
{
    constexpr double inexact = 1.0e-6;
    d.width = step * std::max(1.0, std::ceil(d.width / step - inexact));
    d.low = origin + (std::floor((d.least - origin) / step + inexact) - 0.5) * step;
}

}  // namespace

Distribution emptyDistribution(const ZELChannelType& channel, const Statistics& s)
{
    Distribution d;
    const double reach = sigmas * s.sigma();
    d.least = std::max(static_cast<double>(s.min), s.mean - reach);
    d.most = std::min(static_cast<double>(s.max), s.mean + reach);
    const double range = d.most - d.least;
    const double step = stepOf(channel);
    if (s.count == 0 || !std::isfinite(range)) return d;
    d.width = range > 0.0 ? range / mostBins : 1.0;
    d.low = range > 0.0 ? d.least : d.least - d.width / 2.0;
    if (step > 0.0 && std::isfinite(step))
        placeOnSteps(d, isScaled(channel.Type) ? static_cast<double>(channel.MinValue) : 0.0, step);
    const double count = std::clamp(std::ceil((d.most - d.low) / d.width), 1.0, mostBins + 1.0);
    d.bins.resize(static_cast<std::size_t>(count));
    return d;
}

void Distribution::add(const float* values, int n)
{
    const auto count = static_cast<double>(bins.size());
    for (int x = 0; x < n; ++x) {
        if (!isValue(values[x])) continue;
        const double place = std::floor((static_cast<double>(values[x]) - low) / width);
        if (place < 0.0)
            ++below;
        else if (place >= count && static_cast<double>(values[x]) > high())
            ++above;
        else if (!bins.empty())
            ++bins[static_cast<std::size_t>(std::min(place, count - 1.0))];
    }
}

}  // namespace zel_tool
