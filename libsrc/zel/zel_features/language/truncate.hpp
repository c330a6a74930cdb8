// From the values of expressions to the integers that they stand for.
#ifndef ZEL_FEATURES_LANGUAGE_TRUNCATE_HPP
#define ZEL_FEATURES_LANGUAGE_TRUNCATE_HPP

#include <climits>

namespace zel {

// Whether nothing is left of a value without its fraction. What is not a number is not zero.
constexpr bool truncatesToZero(double value)
{
    return value > -1.0 && value < 1.0;
}

// The value without its fraction. What is too large becomes the nearest int, what is not a number
// the lowest, which names no class.
constexpr int truncated(double value)
{
    if (value >= INT_MAX) return INT_MAX;
    return value > INT_MIN ? static_cast<int>(value) : INT_MIN;
}

}  // namespace zel

#endif
