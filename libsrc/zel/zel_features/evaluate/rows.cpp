#include "zel_features/evaluate/rows.hpp"

#include <algorithm>
#include <type_traits>

#include "zel_features/evaluate/arithmetic_fast.hpp"

namespace {

using zel::Kernel;
using zel::Operand;

// Calls body for each pixel. Each element of a result depends on the same element of the arguments
// alone, also where the result takes the place of an argument: the compiler need not look for overlaps.
template <class Body>
inline void eachPixel(int n, Body body)
{
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC ivdep
#endif
    for (int i = 0; i < n; ++i) body(i);
}

template <class Compute>
inline void computeTwo(Compute compute, const Operand* arguments, float* result, int n)
{
    const float* a = arguments[0].row;
    const float* b = arguments[1].row;
    if (a && b) {
        eachPixel(n, [=](int i) { result[i] = compute(a[i], b[i]); });
    } else if (a) {
        const float value = arguments[1].value;
        eachPixel(n, [=](int i) { result[i] = compute(a[i], value); });
    } else if (b) {
        const float value = arguments[0].value;
        eachPixel(n, [=](int i) { result[i] = compute(value, b[i]); });
    }
}

// The arguments as rows, those that are single values spread out.
template <int Count>
class Rows {
public:
    Rows(const Operand* arguments, int n)
    {
        for (int k = 0; k < Count; ++k) {
            row_[k] = arguments[k].row;
            if (row_[k]) continue;
            zel::copyRow(arguments + k, spread_[k], n);
            row_[k] = spread_[k];
        }
    }
    const float* operator[](int k) const { return row_[k]; }

private:
    const float* row_[Count];
    float spread_[Count][zel::rowSize];
};

template <class Compute>
inline void computeThree(Compute compute, const Operand* arguments, float* result, int n)
{
    const Rows<3> rows(arguments, n);
    const float *const a = rows[0], *const b = rows[1], *const c = rows[2];
    eachPixel(n, [=](int i) { result[i] = compute(a[i], b[i], c[i]); });
}

// Both ends of the interval that holds the library's value. They are the same float, or the library
// must be asked.
struct Bracket {
    explicit Bracket(double value)
        : low(static_cast<float>(value * (1.0 - zel::arithmetic::doubt))),
          high(static_cast<float>(value * (1.0 + zel::arithmetic::doubt)))
    {
    }
    float low, high;
};

template <class Compute, class... RowOf>
inline void computeApproximately(Compute compute, float* result, int n, RowOf... rows)
{
    float low[zel::rowSize];
    int doubtful[zel::rowSize];
    int doubts = 0;
    for (int i = 0; i < n; ++i) {
        const Bracket bracket(approximate(compute, rows[i]...));
        low[i] = bracket.low;
        doubtful[i] = bracket.low == bracket.high ? 0 : 1;
        doubts |= doubtful[i];
    }
    if (doubts != 0)
        for (int i = 0; i < n; ++i)
            if (doubtful[i] != 0) low[i] = compute(rows[i]...);
    std::copy_n(low, n, result);
}

template <class Compute>
inline void computeTwoApproximately(Compute compute, const Operand* arguments, float* result, int n)
{
    const Rows<2> rows(arguments, n);
    computeApproximately(compute, result, n, rows[0], rows[1]);
}

inline bool isSquare(zel::arithmetic::Power, const Operand* arguments)
{
    return !arguments[1].row && arguments[1].value == 2.0f;
}
template <class Compute>
bool isSquare(Compute, const Operand*)
{
    return false;
}

template <class Compute>
constexpr bool isApproximated = requires
{
    approximate(Compute(), 0.0f);
}
|| requires
{
    approximate(Compute(), 0.0f, 0.0f);
};

template <class Compute>
inline void computeRow(const Operand* arguments, float* result, int n)
{
    const Compute compute;
    const float* a = arguments[0].row;
    if constexpr (requires { approximate(compute, 0.0f); }) {
        computeApproximately(compute, result, n, a);
    } else if constexpr (requires { approximate(compute, 0.0f, 0.0f); }) {
        if (isSquare(compute, arguments))
            computeTwo(compute, arguments, result, n);
        else
            computeTwoApproximately(compute, arguments, result, n);
    } else if constexpr (std::is_invocable_v<Compute, float>) {
        eachPixel(n, [=](int i) { result[i] = compute(a[i]); });
    } else if constexpr (std::is_invocable_v<Compute, float, float>) {
        computeTwo(compute, arguments, result, n);
    } else {
        computeThree(compute, arguments, result, n);
    }
}

template <class Compute>
[[gnu::flatten]] void narrowKernel(const Operand* arguments, float* result, int n)
{
    computeRow<Compute>(arguments, result, n);
}

// The same for processors with wider registers; results do not depend on them. The widest ones pay
// where much is computed with what is read.
#if defined(__x86_64__) && defined(__GNUC__)
template <class Compute>
[[gnu::target("avx2"), gnu::flatten]] void wideKernel(const Operand* arguments, float* result,
                                                      int n)
{
    computeRow<Compute>(arguments, result, n);
}

template <class Compute>
[[gnu::target("avx512f,avx512dq,avx512vl"), gnu::flatten]] void widestKernel(
    const Operand* arguments, float* result, int n)
{
    computeRow<Compute>(arguments, result, n);
}

bool isWidest()
{
    return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
           __builtin_cpu_supports("avx512vl") != 0;
}

template <class Compute>
Kernel bestKernel()
{
    static const bool wide = __builtin_cpu_supports("avx2") != 0;
    if constexpr (isApproximated<Compute>) {
        static const bool widest = isWidest();
        if (widest) return widestKernel<Compute>;
    }
    return wide ? wideKernel<Compute> : narrowKernel<Compute>;
}
#else
template <class Compute>
Kernel bestKernel()
{
    return narrowKernel<Compute>;
}
#endif

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

float computeValue(int operatorIndex, const Operand* arguments)
{
    float result = 0.0f;
    arithmetic::withOperator(operatorIndex, [&](auto compute) {
        using Compute = decltype(compute);
        if constexpr (std::is_invocable_v<Compute, float>)
            result = compute(arguments[0].value);
        else if constexpr (std::is_invocable_v<Compute, float, float>)
            result = compute(arguments[0].value, arguments[1].value);
        else
            result = compute(arguments[0].value, arguments[1].value, arguments[2].value);
    });
    return result;
}

}  // namespace zel
