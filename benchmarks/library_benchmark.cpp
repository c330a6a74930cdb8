// The steps that a line goes through, each on a line of 2048 pixels, and an open of a full header.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <zel/zel.h>

namespace {

constexpr int pixels = 2048;
constexpr int lines = 64;
constexpr int navPoints = 65;

std::string pathOf(float metres)
{
    return "/tmp/zel_benchmark_" + std::to_string(static_cast<int>(metres)) + ".zel";
}

std::vector<float> wave(float low, float high)
{
    std::vector<float> values(pixels);
    for (int x = 0; x < pixels; ++x)
        values[static_cast<std::size_t>(x)] =
            low + (high - low) * (0.5f + 0.49f * std::sin(static_cast<float>(x) * 0.01f));
    return values;
}

// A file with one kelvin and one reflectance channel, both in 16 bits, open for writing.
struct Writer {
    std::unique_ptr<ZELType> file = std::make_unique<ZELType>();
    std::vector<float> temperature = wave(200.0f, 320.0f);
    std::vector<float> reflectance = wave(0.0f, 1.0f);

    Writer(float metres, int histograms)
    {
        ZELInitNewWriteOnlyFile(file.get(), ZEL_SENSOR_GENERIC, "benchmark", 2024, 172, 1, pixels,
                                navPoints, 0, pixels / (navPoints - 1), 705.0f, metres);
        ZELAddSensorChannel(file.get(), 0, 330.0f, 180.0f, ZEL_STORED_UINT16_SCALED, 12, "T", "",
                            11.0f, ZEL_UNITS_KELVIN);
        ZELAddSensorChannel(file.get(), 1, 1.0f, 0.0f, ZEL_STORED_UINT16_SCALED, 12, "R", "", 0.65f,
                            ZEL_UNITS_REFLECTANCE);
        ZELSetOverwritePromptOff(file.get());
        ZELSetHistogramFlag(file.get(), histograms);
        if (ZELOpenWriteOnlyFile(file.get(), pathOf(metres).c_str()) != 0) std::perror("benchmark");
    }
    ~Writer() { ZELFinishWritingFile(file.get()); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void write()
    {
        std::vector<float> lat(navPoints);
        std::vector<float> lon(navPoints);
        for (int k = 0; k < navPoints; ++k) {
            lat[static_cast<std::size_t>(k)] = 45.0f;
            lon[static_cast<std::size_t>(k)] = 0.25f * static_cast<float>(k);
        }
        ZELLoadNavigation(file.get(), 11.5, lat.data(), lon.data());
        ZELLoadChannel(file.get(), 0, temperature.data());
        ZELLoadChannel(file.get(), 1, reflectance.data());
        ZELWriteLine(file.get());
    }
};

void makeFile(float metres)
{
    Writer writer(metres, 1);
    for (int line = 0; line < lines; ++line) writer.write();
}

void silence(void*, FILE*, const char*) {}

void countPixels(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * pixels * 2);
}

void OpenAndFinish(benchmark::State& state)
{
    makeFile(1000.0f);
    const auto file = std::make_unique<ZELType>();
    for (auto _ : state) {
        ZELOpenReadOnlyFile(file.get(), pathOf(1000.0f).c_str());
        ZELFinishReadingFile(file.get());
    }
}
BENCHMARK(OpenAndFinish)->Unit(benchmark::kMicrosecond);

// Reads the lines of a file over and over.
template <int (*read)(ZELType*)>
void ReadLines(benchmark::State& state)
{
    makeFile(1000.0f);
    const auto file = std::make_unique<ZELType>();
    ZELOpenReadOnlyFile(file.get(), pathOf(1000.0f).c_str());
    for (auto _ : state)
        if (!read(file.get())) ZELSetCurrentLine(file.get(), 0);
    ZELFinishReadingFile(file.get());
    countPixels(state);
}
BENCHMARK(ReadLines<ZELReadLine>)->Name("ReadLine");
BENCHMARK(ReadLines<ZELReadLineNoScale>)->Name("ReadLineNoScale");

void WriteLine(benchmark::State& state)
{
    Writer writer(1000.0f, static_cast<int>(state.range(0)));
    for (auto _ : state) writer.write();
    countPixels(state);
}
BENCHMARK(WriteLine)->ArgName("histograms")->Arg(0)->Arg(1)->Iterations(2000);

void AnglesOfALine(benchmark::State& state)
{
    makeFile(1000.0f);
    const auto file = std::make_unique<ZELType>();
    ZELOpenReadOnlyFile(file.get(), pathOf(1000.0f).c_str());
    ZELReadLine(file.get());
    for (auto _ : state) {
        file->LatLonInterpolated = 0;
        file->SolarAnglesCalculated = 0;
        float* sz = nullptr;
        float* vz = nullptr;
        float* az = nullptr;
        ZELFetchSolar(file.get(), &sz, &vz, &az);
        benchmark::DoNotOptimize(sz[0]);
    }
    ZELFinishReadingFile(file.get());
    state.SetItemsProcessed(state.iterations() * pixels);
}
BENCHMARK(AnglesOfALine);

// A view of two files of one pixel count each, one of them declared finer by the factor.
void ViewLine(benchmark::State& state)
{
    const auto factor = static_cast<float>(state.range(0));
    makeFile(1000.0f);
    makeFile(1000.0f / factor);
    const std::string names[] = {pathOf(1000.0f), pathOf(1000.0f / factor)};
    const char* inputs[] = {names[0].c_str(), names[1].c_str()};
    const auto view = std::make_unique<ZELType>();
    ZELOpenCompositeReadOnlyFile(view.get(), inputs, 2, 0);
    for (auto _ : state)
        if (!ZELReadLine(view.get())) ZELSetCurrentLine(view.get(), 0);
    ZELFinishReadingFile(view.get());
}
BENCHMARK(ViewLine)->ArgName("factor")->Arg(2)->Arg(4);

const bool quiet = (ZELSetMessageSink(silence, nullptr), true);

}  // namespace
