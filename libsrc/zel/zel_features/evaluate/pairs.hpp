// Two operators in one pass over the rows. Where the result of the first is an argument of the
// second, and of nothing else, it needs no row of its own: a short line takes as long to store and
// load as to compute.
#ifndef ZEL_FEATURES_EVALUATE_PAIRS_HPP
#define ZEL_FEATURES_EVALUATE_PAIRS_HPP

#include "zel_features/evaluate/rows.hpp"

namespace zel {

// The kernel of second(first(a, b), c), with place 0, or second(c, first(a, b)), with place 1, for
// arguments a, b, c; null where there is none for the two. Each operator rounds as it does alone.
Kernel pairKernelOf(int first, int second, int place);

}  // namespace zel

#endif
