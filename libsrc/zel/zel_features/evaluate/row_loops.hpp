// Loops over rows: a function of one, two or three floats becomes a kernel, compiled for each width
// of instructions.
#ifndef ZEL_FEATURES_EVALUATE_ROW_LOOPS_HPP
#define ZEL_FEATURES_EVALUATE_ROW_LOOPS_HPP

#include <algorithm>
#include <cmath>

#include "zel_features/evaluate/arithmetic_fast.hpp"
#include "zel_features/evaluate/rows.hpp"

namespace zel {
namespace row_loops {

using arithmetic::arity;

// Calls body for each pixel. Each element of a result depends on the same element of the arguments
// alone, also where the result takes the place of an argument: the compiler need not look for
// overlaps.
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

template <class Compute>
inline void computeThree(Compute compute, const Operand* arguments, float* result, int n)
{
    const float* const a = arguments[0].row;
    const Operand b = arguments[1], c = arguments[2];
    if (b.row && c.row)
        eachPixel(n, [=](int i) { result[i] = compute(a[i], b.row[i], c.row[i]); });
    else if (c.row)
        eachPixel(n, [=](int i) { result[i] = compute(a[i], b.value, c.row[i]); });
    else if (b.row)
        eachPixel(n, [=](int i) { result[i] = compute(a[i], b.row[i], c.value); });
    else
        eachPixel(n, [=](int i) { result[i] = compute(a[i], b.value, c.value); });
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
            copyRow(arguments + k, spread_[k], n);
            row_[k] = spread_[k];
        }
    }
    const float* operator[](int k) const { return row_[k]; }

private:
    const float* row_[Count];
    float spread_[Count][rowSize];
};

// ---- Functions that are approximated ----

template <class Compute>
constexpr bool isApproximated = requires
{
    approximate<false>(Compute(), 0.0f);
}
|| requires
{
    approximate<false>(Compute(), 0.0f, 0.0f);
};

// The arguments are needed until all doubts are settled: where the result takes the place of one,
// it is kept apart until then.
template <bool fused, class Compute, class... RowOf>
inline void computeApproximately(Compute compute, float* result, int n, RowOf... rows)
{
    float apart[rowSize];
    float* const settled = ((rows == result) || ...) ? apart : result;
    int doubts = 0;
    eachPixel(n, [=, &doubts](int i) {
        settled[i] = arithmetic::settled(approximate<fused>(compute, rows[i]...));
        doubts |= settled[i] == settled[i] ? 0 : 1;
    });
    if (doubts != 0)
        for (int i = 0; i < n; ++i)
            if (std::isnan(settled[i])) settled[i] = compute(rows[i]...);
    if (settled != result) std::copy_n(settled, n, result);
}

inline bool isSquare(arithmetic::Power, const Operand* arguments)
{
    return !arguments[1].row && arguments[1].value == 2.0f;
}
template <class Compute>
bool isSquare(Compute, const Operand*)
{
    return false;
}

// ---- Kernels ----

template <class Compute, bool fused>
inline void computeRow(const Operand* arguments, float* result, int n)
{
    const Compute compute;
    if constexpr (arity<Compute> == 2) {
        if (!isApproximated<Compute> || isSquare(compute, arguments))
            return computeTwo(compute, arguments, result, n);
        if constexpr (isApproximated<Compute>) {
            const Rows<2> rows(arguments, n);
            computeApproximately<fused>(compute, result, n, rows[0], rows[1]);
        }
    } else if constexpr (arity<Compute> == 3) {
        if (arguments[0].row) return computeThree(compute, arguments, result, n);
        const Rows<3> rows(arguments, n);
        eachPixel(n, [&rows, compute, result](int i) {
            result[i] = compute(rows[0][i], rows[1][i], rows[2][i]);
        });
    } else if constexpr (isApproximated<Compute>) {
        computeApproximately<fused>(compute, result, n, arguments[0].row);
    } else {
        const float* const row = arguments[0].row;
        eachPixel(n, [=](int i) { result[i] = compute(row[i]); });
    }
}

template <class Compute>
[[gnu::flatten]] void narrowKernel(const Operand* arguments, float* result, int n)
{
    computeRow<Compute, false>(arguments, result, n);
}

#if defined(__x86_64__) && defined(__GNUC__)
template <class Compute>
[[gnu::target("avx2,fma"), gnu::flatten]] void wideKernel(const Operand* arguments, float* result,
                                                          int n)
{
    computeRow<Compute, true>(arguments, result, n);
}

template <class Compute>
[[gnu::target("avx512f,avx512dq,avx512vl"), gnu::flatten]] void widestKernel(
    const Operand* arguments, float* result, int n)
{
    computeRow<Compute, true>(arguments, result, n);
}

// What takes its time to load and store is not faster with the widest.
template <class Compute>
Kernel bestKernel()
{
    const Width width = kernelWidth();
    if (width == Width::narrow) return narrowKernel<Compute>;
    if constexpr (isApproximated<Compute>)
        if (width == Width::widest) return widestKernel<Compute>;
    return wideKernel<Compute>;
}
#else
template <class Compute>
Kernel bestKernel()
{
    return narrowKernel<Compute>;
}
#endif

}  // namespace row_loops

using row_loops::bestKernel;

}  // namespace zel

#endif
