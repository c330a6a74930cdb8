// The functions of evaluate/arithmetic.hpp once more, for rows: straight-line double-precision
// arithmetic that a compiler can compute for several pixels at a time. A result is used only where
// rounding it to single precision leaves no doubt: the approximation and the mathematics library's
// value lie within doubt of each other, so that the library's value rounds to the same float unless
// it lies that close to the middle between two floats. There, and for arguments out of range, the
// library is asked. Results therefore are those of evaluate/arithmetic.hpp, to the bit.
#ifndef ZEL_FEATURES_EVALUATE_ARITHMETIC_FAST_HPP
#define ZEL_FEATURES_EVALUATE_ARITHMETIC_FAST_HPP

#include <bit>
#include <cstdint>
#include <limits>

#include "zel_features/evaluate/arithmetic.hpp"

namespace zel::arithmetic {

// Relative distance between an approximation and the library's value, with room to spare: the
// polynomials are within 2^-43, what else is rounded adds less.
inline constexpr double doubt = 0x1p-40;

namespace fast {

inline constexpr double unsure = std::numeric_limits<double>::quiet_NaN();
inline constexpr double pi = 0x1.921fb54442d18p+1;
inline constexpr double ln2 = 0x1.62e42fefa39efp-1;
inline constexpr double toNearest = 0x1.8p52;  // adding it rounds to an integer, in the low bits

inline std::uint64_t bitsOf(double a)
{
    return std::bit_cast<std::uint64_t>(a);
}
inline double fromBits(std::uint64_t bits)
{
    return std::bit_cast<double>(bits);
}

// A choice without a branch: both values have been computed.
inline double choose(bool condition, double yes, double no)
{
    const std::uint64_t mask = condition ? ~std::uint64_t{0} : 0;
    return fromBits((bitsOf(yes) & mask) | (bitsOf(no) & ~mask));
}

// Both conditions, without a branch between them.
inline bool both(bool a, bool b)
{
    return (static_cast<unsigned>(a) & static_cast<unsigned>(b)) != 0;
}

inline constexpr std::uint64_t signBit = std::uint64_t{1} << 63;

inline double magnitude(double a)
{
    return fromBits(bitsOf(a) & ~signBit);
}

// a with its sign turned where sign is negative.
inline double signedBy(double a, double sign)
{
    return fromBits(bitsOf(a) ^ (bitsOf(sign) & signBit));
}

// a b + c, rounded once where the processor does both in one step. Approximations may differ by
// that, since doubt has room for it; results do not.
template <bool fused>
inline double sum(double a, double b, double c)
{
    if constexpr (fused)
        return __builtin_fma(a, b, c);
    else
        return a * b + c;
}

// Coefficients from the constant term on.
template <bool fused, class... Terms>
constexpr double polynomial(double x, double first, Terms... terms)
{
    if constexpr (sizeof...(terms) == 0)
        return first;
    else
        return sum<fused>(x, polynomial<fused>(x, terms...), first);
}

// e^(n ln2 + r), r within half of ln2: a polynomial, and n into the exponent's bits.
template <bool fused>
inline double exponential(double a)
{
    const double shifted = sum<fused>(a, 1.0 / ln2, toNearest);
    const double n = shifted - toNearest;
    const double r = sum<fused>(n, -0x1.a39ef35793c76p-33, sum<fused>(n, -0x1.62e42feep-1, a));
    const double e = polynomial<fused>(
        r, 1.0000000000000129, 0.9999999999998916, 0.49999999999453637, 0.1666666666783641,
        0.0416666670346598, 0.00833333300080638, 0.0013888802484348119, 0.00019841597726043947,
        2.488417494989868e-05, 2.748203160230576e-06);
    return e * fromBits((bitsOf(shifted) << 52) + bitsOf(1.0));
}

// n ln2 + log(m), m between the roots of 1/2 and 2, of a normal, positive number.
template <bool fused>
inline double logarithm(float a)
{
    const auto bits = std::bit_cast<std::uint32_t>(a);
    const std::uint32_t aboveRoot = bits - 0x3f3504f3U;
    const auto n = static_cast<double>(static_cast<std::int32_t>(aboveRoot) >> 23);
    const double m = wide(std::bit_cast<float>(bits - (aboveRoot & 0xff800000U)));
    const double s = (m - 1.0) / (m + 1.0);
    return n * ln2 + s * polynomial<fused>(s * s, 2.0000000000000004, 0.6666666666655153,
                                           0.40000000062332164, 0.2857141592978034,
                                           0.22223440905468891, 0.18121731152867654,
                                           0.1684008947231729);
}

// A normal, positive number.
inline bool hasLogarithm(float a)
{
    return std::bit_cast<std::uint32_t>(a) - 0x00800000U < 0x7f000000U;
}

inline constexpr double maxAngle = 1.0e6;  // multiples of pi are subtracted exactly up to here

// The sine of a less than n pi, for what is within half of pi: pi in three pieces, of which n times
// the first two is exact.
template <bool fused>
inline double sineOfRest(double a, double n)
{
    const double afterTwo = sum<fused>(n, -0x1.0b4611a6p-33, sum<fused>(n, -0x1.921fb544p+1, a));
    const double r = sum<fused>(n, -0x1.3198a2e037073p-68, afterTwo);
    return r * polynomial<fused>(r * r, 0.9999999999999375, -0.16666666666432192,
                                 0.008333333318758287, -0.00019841266410262703,
                                 2.7556931811736073e-06, -2.5029514416708622e-08,
                                 1.5401106045859936e-10);
}

// Each half turn changes the sign.
template <bool fused>
inline double sine(double a)
{
    const double shifted = sum<fused>(a, 1.0 / pi, toNearest);
    const double rest = sineOfRest<fused>(a, shifted - toNearest);
    return fromBits(bitsOf(rest) ^ (bitsOf(shifted) << 63));
}

// The sine of a quarter turn more.
template <bool fused>
inline double cosine(double a)
{
    const double shifted = sum<fused>(a, 1.0 / pi, -0.5) + toNearest;
    const double rest = sineOfRest<fused>(a, (shifted - toNearest) + 0.5);
    return fromBits(bitsOf(rest) ^ (~bitsOf(shifted) << 63));
}

// Two zeros and two infinities have no quotient, and so no result.
template <bool fused>
inline double arcTangent(double a, double b)
{
    const double x = magnitude(b), y = magnitude(a);
    const bool steep = y > x;
    const double below = choose(steep, x, y), above = choose(steep, y, x);
    // Beyond an eighth of pi the tangent is that of the rest to a quarter.
    const bool far = below > 0.41421356237309503 * above;
    const double s = choose(far, below - above, below) / choose(far, below + above, above);
    double angle =
        s * polynomial<fused>(s * s, 0.9999999999999741, -0.33333333330871123, 0.19999999612862454,
                              -0.14285690781576849, 0.11110392929627276, -0.09078486365496519,
                              0.07564327866912833, -0.05876655983641218, 0.030692495411727805);
    angle = choose(far, pi / 4, 0.0) + angle;
    angle = choose(steep, pi / 2 - angle, angle);
    angle = choose(b < 0.0, pi - angle, angle);
    return signedBy(angle, a);
}

}  // namespace fast

// The approximation as a float where that is the library's result, else not a number: what lies
// within doubt must round to one float.
inline float settled(double approximation)
{
    const float low = rounded(approximation * (1.0 - doubt));
    const float high = rounded(approximation * (1.0 + doubt));
    return low == high ? low : std::numeric_limits<float>::quiet_NaN();
}

// approximate() of each function, not a number where the library is to be asked. Other functions
// are fast as they are.
template <bool fused>
inline double approximate(Exponential, float a)
{
    const double x = wide(a);
    return fast::choose(fast::magnitude(x) <= 87.0, fast::exponential<fused>(x), fast::unsure);
}
template <bool fused>
inline double approximate(Logarithm, float a)
{
    return fast::choose(fast::hasLogarithm(a), fast::logarithm<fused>(a), fast::unsure);
}
template <bool fused>
inline double approximate(Logarithm10, float a)
{
    const double logarithm = fast::logarithm<fused>(a) * 0.43429448190325182;
    return fast::choose(fast::hasLogarithm(a), logarithm, fast::unsure);
}
template <bool fused>
inline double approximate(Sine, float a)
{
    const double x = wide(a);
    return fast::choose(fast::magnitude(x) <= fast::maxAngle, fast::sine<fused>(x), fast::unsure);
}
template <bool fused>
inline double approximate(Cosine, float a)
{
    const double x = wide(a);
    return fast::choose(fast::magnitude(x) <= fast::maxAngle, fast::cosine<fused>(x), fast::unsure);
}
template <bool fused>
inline double approximate(Tangent, float a)
{
    const double x = wide(a);
    const double tangent = fast::sine<fused>(x) / fast::cosine<fused>(x);
    return fast::choose(fast::magnitude(x) <= fast::maxAngle, tangent, fast::unsure);
}
template <bool fused>
inline double approximate(ArcTangent, float a, float b)
{
    return fast::arcTangent<fused>(wide(a), wide(b));
}
template <bool fused>
inline double approximate(Power, float a, float b)
{
    const double exponent = wide(b) * fast::logarithm<fused>(a);
    const bool inRange = fast::both(fast::hasLogarithm(a), fast::magnitude(exponent) <= 87.0);
    return fast::choose(inRange, fast::exponential<fused>(exponent), fast::unsure);
}

}  // namespace zel::arithmetic

#endif
