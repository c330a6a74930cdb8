// Operators on rows of values.
#ifndef ZEL_FEATURES_EVALUATE_ROWS_HPP
#define ZEL_FEATURES_EVALUATE_ROWS_HPP

namespace zel {

// Pixels that are computed at a time: few enough that all rows in use stay in the processor's cache.
inline constexpr int rowSize = 512;

// An argument: a row of values, or with row null one value that all pixels share.
struct Operand {
    const float* row;
    float value;
};

// Computes the first n pixels of a row, n at most rowSize. Of the arguments at least one is a row;
// result may be one of the rows, but must not overlap them otherwise.
using Kernel = void (*)(const Operand* arguments, float* result, int n);

// The kernel of an operator from OR on.
Kernel kernelOf(int operatorIndex);

// The kernel that copies its one argument, which may be a single value.
void copyRow(const Operand* argument, float* result, int n);

// What the kernel computes, for arguments none of which is a row.
float computeValue(int operatorIndex, const Operand* arguments);

}  // namespace zel

#endif
