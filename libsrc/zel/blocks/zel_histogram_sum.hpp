// Sums of many equal floats.
#ifndef ZEL_BLOCKS_HISTOGRAM_SUM_HPP
#define ZEL_BLOCKS_HISTOGRAM_SUM_HPP

namespace zel {

// sum + value + value + ... with count additions, each rounded to float, in a bounded number of
// steps. Neither sum nor value may be negative.
float addRepeatedly(float sum, float value, int count);

}  // namespace zel

#endif
