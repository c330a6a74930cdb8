#include "blocks/zel_histogram_sum.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace {

constexpr std::uint32_t mantissaBits = 23;

std::uint32_t bitsOf(float value)
{
    return std::bit_cast<std::uint32_t>(value);
}

// The first float of the binade above the one that the float with these bits lies in.
std::uint32_t binadeEnd(std::uint32_t bits)
{
    return ((bits >> mantissaBits) + 1U) << mantissaBits;
}

}  // namespace

// Between two powers of two floats are evenly spaced, so that each addition moves the sum by the
// same number of floats, once one addition from a float of that spacing has settled which way a tie
// is rounded. Whole binades are therefore crossed in one step, counted in floats.
float zel::addRepeatedly(float sum, float value, int count)
{
    while (count > 0) {
        const float once = sum + value;
        if (once == sum || once != once) return once;
        --count;
        sum = once;
        if (count == 0) break;
        const float twice = once + value;
        --count;
        sum = twice;
        const std::uint32_t end = binadeEnd(bitsOf(once));
        const std::uint32_t from = bitsOf(twice);
        const std::uint32_t to = bitsOf(twice + value);
        if (from >= end || to >= end || to == from) continue;
        const std::uint32_t step = to - from;
        const std::uint32_t room = (end - 1U - from) / step;
        const std::uint32_t steps = std::min(room, static_cast<std::uint32_t>(count));
        sum = std::bit_cast<float>(from + steps * step);
        count -= static_cast<int>(steps);
    }
    return sum;
}
