// The functions of evaluate/arithmetic.hpp once more, for rows: straight-line double-precision arithmetic
// that a compiler can lay out for several pixels at a time. A result is used only where rounding it to
// single precision leaves no doubt: the approximation and the mathematics library's value lie within
// doubt of each other, so that when both ends of that interval round to the same float, so does the
// library's value. Elsewhere, and for arguments out of range, the library is asked. Results therefore
// are those of evaluate/arithmetic.hpp, to the bit.
#ifndef ZEL_FEATURES_EVALUATE_ARITHMETIC_FAST_HPP
#define ZEL_FEATURES_EVALUATE_ARITHMETIC_FAST_HPP

#include <bit>
#include <cstdint>
#include <limits>

#include "zel_features/evaluate/arithmetic.hpp"

namespace zel::arithmetic {

// Relative distance between an approximation and the library's value, with room to spare: it was
// found to be at most 2^-49, in pow 2^-44.
inline constexpr double doubt = 0x1p-42;

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

// Coefficients from the constant term on.
template <class... Terms>
constexpr double polynomial(double x, double first, Terms... terms)
{
    if constexpr (sizeof...(terms) == 0)
        return first;
    else
        return first + x * polynomial(x, terms...);
}

// e^(n ln2 + r), r within half of ln2: a polynomial, and n into the exponent's bits.
inline double exponential(double a)
{
    const double shifted = a * (1.0 / ln2) + toNearest;
    const double n = shifted - toNearest;
    const double r = (a - n * 0x1.62e42feep-1) - n * 0x1.a39ef35793c76p-33;
    const double e = polynomial(r, 1.0, 1.0000000000000067, 0.5000000000000006, 0.1666666666655439,
                                0.04166666666657313, 0.008333333385673594, 0.0013888888932493439,
                                0.00019841170263067238, 2.4801504340856006e-05,
                                2.7640183865343144e-06, 2.7626359798074195e-07);
    return e * fromBits((bitsOf(shifted) << 52) + bitsOf(1.0));
}

// n ln2 + log(m), m between the roots of 1/2 and 2, of a normal, positive number.
inline double logarithm(float a)
{
    const auto bits = std::bit_cast<std::uint32_t>(a);
    const std::uint32_t aboveRoot = bits - 0x3f3504f3U;
    const auto n = static_cast<double>(static_cast<std::int32_t>(aboveRoot) >> 23);
    const double m = wide(std::bit_cast<float>(bits - (aboveRoot & 0xff800000U)));
    const double s = (m - 1.0) / (m + 1.0);
    return n * ln2 + s * polynomial(s * s, 2.0, 0.6666666666666765, 0.39999999999302227,
                                    0.2857142876066624, 0.2222219705410192, 0.1818363182295751,
                                    0.1531252432604664, 0.14809750333398877);
}

// A normal, positive number.
inline bool hasLogarithm(float a)
{
    return std::bit_cast<std::uint32_t>(a) - 0x00800000U < 0x7f000000U;
}

// Sine and cosine of the angle within its quadrant, turned to the quadrant.
struct Angle {
    double sine, cosine;
};

inline constexpr double maxAngle = 1.0e6;  // quadrants are subtracted exactly up to here

inline Angle angle(double a)
{
    const double shifted = a * (2.0 / pi) + toNearest;
    const double n = shifted - toNearest;
    // pi/2 in three pieces, of which n times the first two is exact.
    const double r = ((a - n * 0x1.921fb544p+0) - n * 0x1.0b4611a6p-34) - n * 0x1.3198a2e037073p-69;
    const double u = r * r;
    const double s =
        r * polynomial(u, 1.0, -0.16666666666666616, 0.008333333333320361, -0.00019841269828649506,
                       2.7557313376124215e-06, -2.5050716930370053e-08, 1.5894734073938045e-10);
    const double c =
        polynomial(u, 1.0, -0.4999999999999925, 0.04166666666647229, -0.001388888886997747,
                   2.480157853814964e-05, -2.755523381933228e-07, 2.0630450517767905e-09);
    const std::uint64_t quadrant = bitsOf(shifted);
    const bool odd = (quadrant & 1U) != 0;
    const double sine = choose(odd, c, s);
    const double cosine = choose(odd, s, c);
    // The second half of the circle turns the sine's sign, the second and third quarter the cosine's.
    return {fromBits(bitsOf(sine) ^ ((quadrant & 2U) << 62)),
            fromBits(bitsOf(cosine) ^ (((quadrant + 1U) & 2U) << 62))};
}

// Two zeros and two infinities have no quotient, and so no result.
inline double arcTangent(double a, double b)
{
    const double x = magnitude(b), y = magnitude(a);
    const bool steep = y > x;
    const double t = choose(steep, x, y) / choose(steep, y, x);
    // Beyond an eighth of pi the tangent is that of the rest to a quarter.
    const bool far = t > 0.41421356237309503;
    const double s = choose(far, t - 1.0, t) / choose(far, t + 1.0, 1.0);
    double angle = s * polynomial(s * s, 0.999999999999999, -0.33333333333221393,
                                  0.19999999978386104, -0.1428571266125891, 0.11111048839980395,
                                  -0.09089529707761589, 0.07673532799871223, -0.06505966850780683,
                                  0.050247090184881035, -0.025315752916357237);
    angle = choose(far, pi / 4, 0.0) + angle;
    angle = choose(steep, pi / 2 - angle, angle);
    angle = choose(b < 0.0, pi - angle, angle);
    return signedBy(angle, a);
}

}  // namespace fast

// approximate() of each function, not a number where the library is to be asked. Other functions are
// fast as they are.
inline double approximate(Exponential, float a)
{
    const double x = wide(a);
    return fast::choose(fast::magnitude(x) <= 87.0, fast::exponential(x), fast::unsure);
}
inline double approximate(Logarithm, float a)
{
    return fast::choose(fast::hasLogarithm(a), fast::logarithm(a), fast::unsure);
}
inline double approximate(Logarithm10, float a)
{
    const double logarithm = fast::logarithm(a) * 0.43429448190325182;
    return fast::choose(fast::hasLogarithm(a), logarithm, fast::unsure);
}
inline double approximate(Sine, float a)
{
    const double x = wide(a);
    return fast::choose(fast::magnitude(x) <= fast::maxAngle, fast::angle(x).sine, fast::unsure);
}
inline double approximate(Cosine, float a)
{
    const double x = wide(a);
    return fast::choose(fast::magnitude(x) <= fast::maxAngle, fast::angle(x).cosine, fast::unsure);
}
inline double approximate(Tangent, float a)
{
    const double x = wide(a);
    const fast::Angle angle = fast::angle(x);
    return fast::choose(fast::magnitude(x) <= fast::maxAngle, angle.sine / angle.cosine,
                        fast::unsure);
}
inline double approximate(ArcTangent, float a, float b)
{
    return fast::arcTangent(wide(a), wide(b));
}
inline double approximate(Power, float a, float b)
{
    const double exponent = wide(b) * fast::logarithm(a);
    const bool inRange = fast::both(fast::hasLogarithm(a), fast::magnitude(exponent) <= 87.0);
    return fast::choose(inRange, fast::exponential(exponent), fast::unsure);
}

}  // namespace zel::arithmetic

#endif
