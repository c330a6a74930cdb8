// The rules of program.txt as one loop without branches over a line: program_loop. Prints "W4 NS"
// as zel_w4 does, and the sums of the classes and of the weights of class 3.
#include <cstdio>

#include "bench_clock.hpp"
#include "bench_scenes.hpp"

namespace {

constexpr std::size_t pixels = 2048;

void classify(const bench::Planes& rows, float* __restrict classes, float* __restrict weights)
{
    const float* __restrict sz = rows[0].data();
    const float* __restrict red = rows[1].data();
    const float* __restrict nir = rows[2].data();
    const float* __restrict third = rows[3].data();
    const float* __restrict warm = rows[5].data();
    const float* __restrict split = rows[6].data();
    for (std::size_t i = 0; i < pixels; ++i) {
        const float index = (nir[i] - red[i]) / (nir[i] + red[i]);
        const bool cold = warm[i] < 273.0f;
        float result = cold ? 2.0f : 1.0f;
        result = (index > 0.1f) & !cold ? 3.0f : result;
        float weight = (cold ? warm[i] - split[i] : split[i] - warm[i]) * 0.1f + 1.0f;
        weight = warm[i] > 300.0f ? 0.0f : weight;
        result = (result == 3.0f) & (red[i] < 0.35f) ? 7.0f : result;
        result = (result == 2.0f) & (third[i] == 0.0f) ? 0.0f : result;
        const bool night = sz[i] > 85.0f;
        classes[i] = night ? 0.0f : result;
        weights[i] = night ? 1.0f : weight;
    }
}

double sum(const bench::Plane& values)
{
    double result = 0;
    for (const float value : values) result += static_cast<double>(value);
    return result;
}

}  // namespace

int main()
{
    const bench::Planes rows = bench::programLine(pixels);
    bench::Plane classes(pixels);
    bench::Plane weights(pixels);
    constexpr int repeats = 400;
    const double seconds = bench::shortest([&] {
        for (int i = 0; i < repeats; ++i) {
            classify(rows, classes.data(), weights.data());
            asm volatile("" : : "r"(classes.data()), "r"(weights.data()) : "memory");
        }
    });
    std::printf("W4 %.3f %.6e %.6e\n", seconds * 1e9 / (repeats * static_cast<double>(pixels)),
                sum(classes), sum(weights));
    return 0;
}
