#include "zel_features/evaluate/rows.hpp"

#include <algorithm>
#include <cmath>

#include "zel_features/evaluate/arithmetic_fast.hpp"

namespace {

using zel::Kernel;
using zel::Operand;
using zel::Width;
using zel::arithmetic::arity;

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

// ---- Loops over a row ----

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

inline void computeSelect(const Operand* arguments, float* result, int n)
{
    const Select select;
    const float* const condition = arguments[0].row;
    const Operand yes = arguments[1], no = arguments[2];
    if (yes.row && no.row)
        eachPixel(n, [=](int i) { result[i] = select(condition[i], yes.row[i], no.row[i]); });
    else if (no.row)
        eachPixel(n, [=](int i) { result[i] = select(condition[i], yes.value, no.row[i]); });
    else if (yes.row)
        eachPixel(n, [=](int i) { result[i] = select(condition[i], yes.row[i], no.value); });
    else
        eachPixel(n, [=](int i) { result[i] = select(condition[i], yes.value, no.value); });
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
    float apart[zel::rowSize];
    float* const settled = ((rows == result) || ...) ? apart : result;
    int doubts = 0;
    eachPixel(n, [=, &doubts](int i) {
        settled[i] = zel::arithmetic::settled(approximate<fused>(compute, rows[i]...));
        doubts |= settled[i] == settled[i] ? 0 : 1;
    });
    if (doubts != 0)
        for (int i = 0; i < n; ++i)
            if (std::isnan(settled[i])) settled[i] = compute(rows[i]...);
    if (settled != result) std::copy_n(settled, n, result);
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

// ---- Kernels ----

template <class Compute, bool fused>
inline void computeRow(const Operand* arguments, float* result, int n)
{
    const Compute compute;
    if constexpr (std::is_same_v<Compute, Select>) {
        computeSelect(arguments, result, n);
    } else if constexpr (arity<Compute> == 2) {
        if (!isApproximated<Compute> || isSquare(compute, arguments))
            return computeTwo(compute, arguments, result, n);
        if constexpr (isApproximated<Compute>) {
            const Rows<2> rows(arguments, n);
            computeApproximately<fused>(compute, result, n, rows[0], rows[1]);
        }
    } else if constexpr (isApproximated<Compute>) {
        computeApproximately<fused>(compute, result, n, arguments[0].row);
    } else {
        const Rows<arity<Compute>> rows(arguments, n);
        eachPixel(n, [&rows, compute, result](int i) {
            result[i] = zel::arithmetic::applied(compute, [&rows, i](int k) { return rows[k][i]; });
        });
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

template <class Compute>
Kernel bestKernel()
{
    switch (zel::kernelWidth()) {
    case Width::widest:
        return widestKernel<Compute>;
    case Width::wide:
        return wideKernel<Compute>;
    default:
        return narrowKernel<Compute>;
    }
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
