// Counting values into a histogram.
#ifndef ZEL_BLOCKS_HISTOGRAM_TALLY_HPP
#define ZEL_BLOCKS_HISTOGRAM_TALLY_HPP

#include "zel_types.h"

namespace zel {

// Widens the histogram's range to the values and adds one to the bin of each, in the order given. A
// value that is not a number, or that lies in no bin, is not counted.
void countValues(ZELHistogramType& histogram, const float* values, int count);

}  // namespace zel

#endif
