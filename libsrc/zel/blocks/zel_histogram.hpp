// Histogram records, and what counting and statistics need of a histogram.
#ifndef ZEL_BLOCKS_HISTOGRAM_HPP
#define ZEL_BLOCKS_HISTOGRAM_HPP

#include <algorithm>
#include <cstdint>

#include "records/walk.hpp"
#include "zel_types.h"

namespace zel {

// Reads a record of a file that starts at fileOffset, and computes its statistics. The caller owns
// it.
ZELHistogramType* readHistogram(RecordReader& reader, int fileOffset);

// Rewrite a histogram, or all of a file, in place. False, with errno, when the stream cannot seek
// there or back.
bool updateHistogram(ZELType& file, ZELHistogramType& histogram);
bool updateAllHistograms(ZELType& file);

// A new histogram with the range and counts of another; null for null.
ZELHistogramType* duplicateHistogram(ZELHistogramType* histogram);

// Frees both histograms of a channel.
void freeHistograms(ZELChannelType& channel);

// The bin of a position given in bins, truncated toward zero; -1 for a position outside every range
// of bins, or not finite.
inline int binAt(float position)
{
    return position > -1.0f && position < 65536.0f ? static_cast<int>(position) : -1;
}

// Adds to a bin, which stays at the limits of its type: a file may hold a count that is there
// already.
inline void addToBin(int32_t& bin, int32_t count)
{
    const std::int64_t sum = std::int64_t{bin} + count;
    bin = static_cast<int32_t>(std::clamp<std::int64_t>(sum, INT32_MIN, INT32_MAX));
}

}  // namespace zel

#endif
