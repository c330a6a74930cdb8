// How often the values of a channel occur.
#pragma once

#include <vector>

#include "scene/statistics.hpp"
#include "zel.h"

namespace zel_tool {

// Bins of equal width. Values beyond the first or last bin are only counted.
struct Distribution {
    double least = 0.0;  // of the values that the bins are for
    double most = 0.0;
    double low = 0.0;    // of the first bin
    double width = 1.0;  // of a bin
    std::vector<long long> bins;
    long long below = 0;
    long long above = 0;

    void add(const float* values, int n);
    double high() const { return low + width * static_cast<double>(bins.size()); }
};

// Empty, for a channel with these statistics: from its least to its greatest value, but not
// farther than four standard deviations from its mean. Where values are steps, a bin holds a
// whole number of steps.
Distribution emptyDistribution(const ZELChannelType& channel, const Statistics& statistics);

}  // namespace zel_tool
