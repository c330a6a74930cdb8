// What each operator computes. The evaluator of a pixel and that of a line both come here, so that
// their results are the same.
#ifndef ZEL_FEATURES_EVALUATE_ARITHMETIC_HPP
#define ZEL_FEATURES_EVALUATE_ARITHMETIC_HPP

#include <cmath>
#include <type_traits>

#include "zel_features/zel_expression.h"

namespace zel::arithmetic {

constexpr float truth(bool condition)
{
    return condition ? 1.0f : 0.0f;
}

// Both sides have been computed already: nothing is cut short.
struct Or {
    float operator()(float a, float b) const { return truth((a != 0.0f) | (b != 0.0f)); }
};
struct And {
    float operator()(float a, float b) const { return truth((a != 0.0f) & (b != 0.0f)); }
};
struct NotEqual {
    float operator()(float a, float b) const { return truth(a != b); }
};
struct Equal {
    float operator()(float a, float b) const { return truth(a == b); }
};
struct LessOrEqual {
    float operator()(float a, float b) const { return truth(a <= b); }
};
struct GreaterOrEqual {
    float operator()(float a, float b) const { return truth(a >= b); }
};
struct Greater {
    float operator()(float a, float b) const { return truth(a > b); }
};
struct Less {
    float operator()(float a, float b) const { return truth(a < b); }
};

struct Subtract {
    float operator()(float a, float b) const { return a - b; }
};
struct Add {
    float operator()(float a, float b) const { return a + b; }
};
struct Multiply {
    float operator()(float a, float b) const { return a * b; }
};
struct SafeRatio {
    float operator()(float a, float b) const { return a / (b + 1.0f); }
};
struct Divide {
    float operator()(float a, float b) const { return a / b; }
};
struct Negate {
    float operator()(float a) const { return -a; }
};
struct Not {
    float operator()(float a) const { return truth(a == 0.0f); }
};

inline float larger(float a, float b)
{
    return b > a ? b : a;
}
inline float smaller(float a, float b)
{
    return b < a ? b : a;
}

struct Value {
    float operator()(float r, float g, float b) const { return larger(larger(r, g), b); }
};
struct Saturation {
    float operator()(float r, float g, float b) const
    {
        const float max = larger(larger(r, g), b);
        const float min = smaller(smaller(r, g), b);
        return max == 0.0f ? 0.0f : (max - min) / max;
    }
};
// Degrees, 0 for red; -1 for a grey.
struct Hue {
    float operator()(float r, float g, float b) const
    {
        if (Saturation()(r, g, b) == 0.0f) return -1.0f;
        const float max = larger(larger(r, g), b);
        const float d = max - smaller(smaller(r, g), b);
        const float rc = (max - r) / d;
        const float gc = (max - g) / d;
        const float bc = (max - b) / d;
        float hue = r == max ? bc - gc : g == max ? 2.0f + rc - bc : 4.0f + gc - rc;
        hue *= 60.0f;
        return hue < 0.0f ? hue + 360.0f : hue;
    }
};

// Squares of lengths: no root is taken.
struct Length3 {
    float operator()(float a, float b, float c) const { return a * a + b * b + c * c; }
};
struct Length2 {
    float operator()(float a, float b) const { return a * a + b * b; }
};

struct Radians {
    float operator()(float a) const { return a * 0.017453293f; }
};

// Functions of the mathematics library are computed in double precision and rounded.
inline float rounded(double value)
{
    return static_cast<float>(value);
}
inline double wide(float value)
{
    return static_cast<double>(value);
}

struct ArcTangent {
    float operator()(float a, float b) const { return rounded(std::atan2(wide(a), wide(b))); }
};
struct Tangent {
    float operator()(float a) const { return rounded(std::tan(wide(a))); }
};
struct Cosine {
    float operator()(float a) const { return rounded(std::cos(wide(a))); }
};
struct Sine {
    float operator()(float a) const { return rounded(std::sin(wide(a))); }
};
struct Logarithm10 {
    float operator()(float a) const { return rounded(std::log10(wide(a))); }
};
struct Logarithm {
    float operator()(float a) const { return rounded(std::log(wide(a))); }
};
struct Exponential {
    float operator()(float a) const { return rounded(std::exp(wide(a))); }
};
// A square is exact in double precision, so that its rounding is the product's own.
struct Power {
    float operator()(float a, float b) const
    {
        return b == 2.0f ? a * a : rounded(std::pow(wide(a), wide(b)));
    }
};
// A root rounded from the double-precision root is the single-precision root: 53 bits are more than
// twice 24 and two.
struct SquareRoot {
    float operator()(float a) const { return std::sqrt(a); }
};

// How many arguments a function takes.
template <class Compute>
inline constexpr int arity = std::is_invocable_v<Compute, float>          ? 1
                             : std::is_invocable_v<Compute, float, float> ? 2
                                                                          : 3;

// The function of its arguments; argument(k) is the k-th one.
template <class Compute, class ArgumentOf>
inline float applied(Compute compute, ArgumentOf argument)
{
    if constexpr (arity<Compute> == 1)
        return compute(argument(0));
    else if constexpr (arity<Compute> == 2)
        return compute(argument(0), argument(1));
    else
        return compute(argument(0), argument(1), argument(2));
}

// Whether the operator yields 1 or 0 and nothing else.
constexpr bool yieldsTruth(int operatorIndex)
{
    return (operatorIndex >= OR && operatorIndex <= LESSTHAN) || operatorIndex == NOT;
}

// Calls use with the operator's function; the index must be one of OR to SQRT.
template <class Use>
void withOperator(int operatorIndex, Use&& use)
{
    // clang-format off
    switch (operatorIndex) {
    case OR: return use(Or());
    case AND: return use(And());
    case NOTEQUAL: return use(NotEqual());
    case EQUAL: return use(Equal());
    case LESSTHANOREQUAL: return use(LessOrEqual());
    case GREATERTHANOREQUAL: return use(GreaterOrEqual());
    case GREATERTHAN: return use(Greater());
    case LESSTHAN: return use(Less());
    case SUB: return use(Subtract());
    case ADD: return use(Add());
    case MUL: return use(Multiply());
    case RATIO: return use(SafeRatio());
    case DIV: return use(Divide());
    case NEGATIVE: return use(Negate());
    case NOT: return use(Not());
    case VAL: return use(Value());
    case SAT: return use(Saturation());
    case HUE: return use(Hue());
    case LENGTH3: return use(Length3());
    case LENGTH2: return use(Length2());
    case ATAN: return use(ArcTangent());
    case TAN: return use(Tangent());
    case COS: return use(Cosine());
    case SIN: return use(Sine());
    case D2RAD: return use(Radians());
    case LOG10: return use(Logarithm10());
    case LOG: return use(Logarithm());
    case EXP: return use(Exponential());
    case POW: return use(Power());
    case SQRT: return use(SquareRoot());
    default: return;
    }
    // clang-format on
}

}  // namespace zel::arithmetic

#endif
