// The values that expressions and programs are measured on, the same for the library and the loops.
#ifndef ZEL_BENCHMARKS_BENCH_SCENES_HPP
#define ZEL_BENCHMARKS_BENCH_SCENES_HPP

#include <cstddef>
#include <vector>

#include "bench_clock.hpp"

namespace bench {

using Plane = std::vector<float>;
using Planes = std::vector<Plane>;

// For expressions: solar zenith and channels 1 to 8, a slope along each line of 2048 pixels, and
// noise.
inline Planes expressionPlanes(std::size_t pixels)
{
    Planes planes(9, Plane(pixels));
    Noise u;
    for (std::size_t i = 0; i < pixels; ++i) {
        const float t = static_cast<float>(i % 2048) / 2048.0f;
        planes[0][i] = 20 + 60 * t;
        planes[1][i] = 30 + 40 * t + 6 * u();
        planes[2][i] = 0.1f + 0.4f * t + 0.05f * u();
        planes[3][i] = u() < 0.01f ? 0.0f : 0.2f + 0.3f * u();
        planes[4][i] = 0.1f + 0.6f * u();
        for (std::size_t k = 5; k < 9; ++k) planes[k][i] = 260 + 30 * t + 4 * u();
    }
    return planes;
}

// For programs: solar zenith and channels 1 to 6 of one line, channel 4 being 0. Every branch is
// taken somewhere along the line.
inline Planes programLine(std::size_t pixels)
{
    Planes rows(7, Plane(pixels));
    Noise u;
    for (std::size_t i = 0; i < pixels; ++i) {
        const float t = static_cast<float>(i) / 2048.0f;
        rows[0][i] = 20 + 70 * t;
        rows[1][i] = 0.3f + 0.1f * t + 0.05f * u();
        rows[2][i] = 0.35f + 0.2f * t + 0.1f * u();
        rows[3][i] = u() < 0.01f ? 0.0f : 0.3f;
        rows[5][i] = 262 + 42 * t + 3 * u();
        rows[6][i] = rows[5][i] - 1 + 2 * u();
    }
    return rows;
}

}  // namespace bench

#endif
