// Noise and timing for the programs that are measured beside their peers.
#ifndef ZEL_BENCHMARKS_BENCH_CLOCK_HPP
#define ZEL_BENCHMARKS_BENCH_CLOCK_HPP

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace bench {

// From 0 to below 1, the same in every run. The peers' programs draw the same numbers.
class Noise {
public:
    float operator()()
    {
        state_ = state_ * 1664525U + 1013904223U;
        return static_cast<float>(state_ >> 8) * (1.0f / 16777216.0f);
    }

private:
    std::uint32_t state_ = 12345;
};

// Seconds of the shortest of seven passes.
template <class Pass>
double shortest(Pass pass)
{
    using Clock = std::chrono::steady_clock;
    double best = 1e9;
    for (int i = 0; i < 7; ++i) {
        const auto start = Clock::now();
        pass();
        best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
    }
    return best;
}

}  // namespace bench

#endif
