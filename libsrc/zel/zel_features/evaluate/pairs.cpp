#include "zel_features/evaluate/pairs.hpp"

#include "zel_features/evaluate/row_loops.hpp"

namespace {

using zel::Kernel;

template <class First, class Second, int place>
struct Pair {
    float operator()(float a, float b, float c) const
    {
        const float between = First()(a, b);
        return place == 0 ? Second()(between, c) : Second()(c, between);
    }
};

template <class First, class Second>
Kernel kernelOfPair(int place)
{
    return place == 0 ? zel::bestKernel<Pair<First, Second, 0>>()
                      : zel::bestKernel<Pair<First, Second, 1>>();
}

template <class First>
Kernel withArithmetic(int second, int place)
{
    switch (second) {
    case SUB:
        return kernelOfPair<First, zel::arithmetic::Subtract>(place);
    case ADD:
        return kernelOfPair<First, zel::arithmetic::Add>(place);
    case MUL:
        return kernelOfPair<First, zel::arithmetic::Multiply>(place);
    case DIV:
        return kernelOfPair<First, zel::arithmetic::Divide>(place);
    default:
        return nullptr;
    }
}

// Truths are the same in either place.
template <class First>
Kernel withLogic(int second)
{
    if (second == AND) return zel::bestKernel<Pair<First, zel::arithmetic::And, 0>>();
    if (second == OR) return zel::bestKernel<Pair<First, zel::arithmetic::Or, 0>>();
    return nullptr;
}

}  // namespace

Kernel zel::pairKernelOf(int first, int second, int place)
{
    // clang-format off
    switch (first) {
    case SUB: return withArithmetic<arithmetic::Subtract>(second, place);
    case ADD: return withArithmetic<arithmetic::Add>(second, place);
    case MUL: return withArithmetic<arithmetic::Multiply>(second, place);
    case DIV: return withArithmetic<arithmetic::Divide>(second, place);
    case NOTEQUAL: return withLogic<arithmetic::NotEqual>(second);
    case EQUAL: return withLogic<arithmetic::Equal>(second);
    case LESSTHANOREQUAL: return withLogic<arithmetic::LessOrEqual>(second);
    case GREATERTHANOREQUAL: return withLogic<arithmetic::GreaterOrEqual>(second);
    case GREATERTHAN: return withLogic<arithmetic::Greater>(second);
    case LESSTHAN: return withLogic<arithmetic::Less>(second);
    default: return nullptr;
    }
    // clang-format on
}
