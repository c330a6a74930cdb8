// Operators on rows of values.
#ifndef ZEL_FEATURES_EVALUATE_ROWS_HPP
#define ZEL_FEATURES_EVALUATE_ROWS_HPP

#include "ground/width.hpp"

namespace zel {

// Pixels that are computed at a time: few enough that all rows in use stay in the processor's
// cache.
inline constexpr int rowSize = 512;

// An argument: a row of values, or with row null one value that all pixels share.
struct Operand {
    const float* row;
    float value;
};

// Computes the first n pixels of a row, n at most rowSize. Of the arguments at least one is a row;
// result may be one of the rows, but must not overlap them otherwise. Results do not depend on the
// width of the instructions.
using Kernel = void (*)(const Operand* arguments, float* result, int n);

// The kernel of an operator from OR on.
Kernel kernelOf(int operatorIndex);

// Copies its one argument, which may be a single value.
void copyRow(const Operand* argument, float* result, int n);

// The second argument where the first is not 0, else the third. The first is a row.
Kernel selectKernel();

// 1 where something other than 0 is left of the argument without its fraction, else 0.
Kernel truncatedTruthKernel();

// What the kernel computes, for arguments that are single values.
float computeValue(int operatorIndex, const float* arguments);

}  // namespace zel

#endif
