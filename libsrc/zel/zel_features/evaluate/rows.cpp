#include "zel_features/evaluate/rows.hpp"

#include <algorithm>

#include "zel_features/evaluate/row_loops.hpp"

namespace {

// ---- What kernels compute that operators do not ----

struct Select {
    float operator()(float condition, float yes, float no) const
    {
        return condition != 0.0f ? yes : no;
    }
};

struct TruncatedTruth {
    float operator()(float value) const
    {
        return zel::arithmetic::truth(!((value > -1.0f) & (value < 1.0f)));
    }
};

}  // namespace

namespace zel {

Kernel kernelOf(int operatorIndex)
{
    Kernel kernel = nullptr;
    arithmetic::withOperator(operatorIndex,
                             [&kernel](auto compute) { kernel = bestKernel<decltype(compute)>(); });
    return kernel;
}

void copyRow(const Operand* argument, float* result, int n)
{
    if (argument->row)
        std::copy_n(argument->row, n, result);
    else
        std::fill_n(result, n, argument->value);
}

Kernel selectKernel()
{
    return bestKernel<Select>();
}

Kernel truncatedTruthKernel()
{
    return bestKernel<TruncatedTruth>();
}

float computeValue(int operatorIndex, const float* arguments)
{
    float result = 0.0f;
    arithmetic::withOperator(operatorIndex, [arguments, &result](auto compute) {
        result = arithmetic::applied(compute, [arguments](int k) { return arguments[k]; });
    });
    return result;
}

}  // namespace zel
