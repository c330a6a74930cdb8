// Histogram records, and what counting and statistics need of a histogram.
#ifndef ZEL_BLOCKS_HISTOGRAM_HPP
#define ZEL_BLOCKS_HISTOGRAM_HPP

#include <algorithm>
#include <cstdint>

#include "records/walk.hpp"
#include "zel_types.h"

namespace zel {

// Reads a record of a file that starts at fileOffset, and computes its statistics. The caller owns it.
ZELHistogramType* readHistogram(RecordReader& reader, int fileOffset);

// Write a histogram, or all of a file, again where they stand. False, with errno, when the stream does
// not go there or back.
bool updateHistogram(ZELType& file, ZELHistogramType& histogram);
bool updateAllHistograms(ZELType& file);

// A new histogram with the range and counts of another; null for null.
ZELHistogramType* duplicateHistogram(ZELHistogramType* histogram);

// Frees both histograms of a channel.
void freeHistograms(ZELChannelType& channel);

// The bin of a position given in bins, truncated toward zero; -1 for one that no bin can have, a
// position that is not finite among them.
inline int binAt(float position)
{
    return position > -1.0F && position < 65536.0F ? static_cast<int>(position) : -1;
}

// A bin holds at most what its number can; a file may have said that it is full.
inline void addToBin(int32_t& bin, int32_t count)
{
    const std::int64_t sum = std::int64_t{bin} + count;
    bin = static_cast<int32_t>(std::clamp<std::int64_t>(sum, INT32_MIN, INT32_MAX));
}

// sum + value + value + ... with count additions, each rounded to float, in a bounded number of steps.
// Neither sum nor value may be negative.
float addRepeatedly(float sum, float value, int count);

}  // namespace zel

#endif
