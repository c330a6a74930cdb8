// The expressions of expressions.txt by hand: expression_loops [PIXELS [LINE]]. Prints what zel_w3
// does. Arithmetic is in single precision, functions in double precision and rounded, as the
// library has it; compiled with -ffast-math the functions are those of whole vectors.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "bench_clock.hpp"
#include "bench_scenes.hpp"

namespace {

using Row = const float* __restrict;
using Loop = void (*)(const bench::Planes& planes, std::size_t pixels, float* __restrict out);

void e1(const bench::Planes& planes, std::size_t pixels, float* __restrict out)
{
    Row a = planes[1].data(), b = planes[2].data();
    for (std::size_t i = 0; i < pixels; ++i) out[i] = (b[i] - a[i]) / (b[i] + a[i]);
}

void e2(const bench::Planes& planes, std::size_t pixels, float* __restrict out)
{
    Row a = planes[1].data(), b = planes[2].data(), c = planes[3].data();
    for (std::size_t i = 0; i < pixels; ++i)
        out[i] = ((a[i] > 50.0f) & (b[i] < 0.3f)) | (c[i] == 0.0f) ? 1.0f : 0.0f;
}

// The square of a float is the same in single precision.
void e3(const bench::Planes& planes, std::size_t pixels, float* __restrict out)
{
    Row sz = planes[0].data(), a = planes[1].data(), b = planes[2].data();
    for (std::size_t i = 0; i < pixels; ++i) {
        const float radians = sz[i] * 0.017453293f;
        out[i] = std::sqrt(a[i] * a[i] + b[i] * b[i]) *
                 static_cast<float>(std::cos(static_cast<double>(radians)));
    }
}

void e4(const bench::Planes& planes, std::size_t pixels, float* __restrict out)
{
    Row a = planes[1].data(), b = planes[2].data(), c = planes[3].data(), d = planes[4].data();
    Row e = planes[5].data(), f = planes[6].data(), g = planes[7].data(), h = planes[8].data();
    for (std::size_t i = 0; i < pixels; ++i) {
        const float first = (a[i] + b[i]) * 0.5f - (c[i] - d[i]) / (c[i] + d[i]);
        const float second = e[i] * 0.1f + f[i] / (g[i] + 2.0f);
        const float third = (h[i] * a[i] + b[i] * 0.25f - c[i]) / (d[i] + e[i]);
        out[i] = first * second - third + f[i] * g[i];
    }
}

void e5(const bench::Planes& planes, std::size_t pixels, float* __restrict out)
{
    Row a = planes[1].data(), b = planes[2].data(), c = planes[3].data(), d = planes[4].data();
    Row e = planes[5].data(), f = planes[6].data(), g = planes[7].data();
    for (std::size_t i = 0; i < pixels; ++i) {
        const float warm = (e[i] > 273.0f) & (f[i] - g[i] < 2.5f) ? 1.0f : 0.0f;
        const auto log = static_cast<float>(std::log(static_cast<double>(a[i] + 1.0f)));
        const auto angle =
            static_cast<float>(std::atan2(static_cast<double>(b[i]), static_cast<double>(c[i])));
        const auto fall = static_cast<float>(std::exp(static_cast<double>(-d[i])));
        out[i] = warm * log + angle * fall;
    }
}

// Keeps the compiler from leaving out a pass whose results are not read.
void use(float* values)
{
    asm volatile("" : : "r"(values) : "memory");
}

void measure(const char* name, Loop loop, const bench::Planes& planes, std::size_t line)
{
    const std::size_t pixels = planes[0].size();
    const std::size_t repeats = pixels / line;
    bench::Plane values(pixels);
    const double inCache = bench::shortest([&] {
        for (std::size_t i = 0; i < repeats; ++i) {
            loop(planes, line, values.data());
            use(values.data());
        }
    });
    const double streamed = bench::shortest([&] {
        loop(planes, pixels, values.data());
        use(values.data());
    });
    double sum = 0;
    for (const float value : values) sum += static_cast<double>(value);
    std::printf("%s %.3f %.3f %.6e\n", name, streamed * 1e9 / static_cast<double>(pixels),
                inCache * 1e9 / static_cast<double>(repeats * line), sum);
}

}  // namespace

int main(int argc, char** argv)
{
    const std::size_t pixels = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 8388608;
    const std::size_t line = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 2048;
    if (line == 0 || pixels < line) return 2;
    const bench::Planes planes = bench::expressionPlanes(pixels);
    measure("E1", e1, planes, line);
    measure("E2", e2, planes, line);
    measure("E3", e3, planes, line);
    measure("E4", e4, planes, line);
    measure("E5", e5, planes, line);
    return 0;
}
