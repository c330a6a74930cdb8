// Expressions on planes of float32: zel_w3 FILE [PIXELS [LINE]]. FILE has a line "NAME|EXPRESSION"
// for each, "#" begins a comment. Prints NAME STREAM_NS LINE_NS SUM: nanoseconds per pixel for
// planes of PIXELS values (8388608, out of the cache) and for one LINE (2048, in the cache) over
// and over, the shortest of seven passes in one thread without the compile, and the sum of the
// planes' results.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <zel/zel_features/zel_features.h>

#include "bench_clock.hpp"
#include "bench_scenes.hpp"

namespace {

using bench::Plane;

struct Scene {
    explicit Scene(std::size_t pixels) : planes(bench::expressionPlanes(pixels))
    {
        for (Plane& plane : planes) rows.push_back(plane.data());
    }
    // The first pixels of the planes as one line.
    ZELLineStruct line(std::size_t pixels)
    {
        ZELLineStruct result = {};
        result.numPixels = static_cast<int>(pixels);
        result.numChannels = 8;
        result.Channels = rows.data() + 1;
        result.sz = rows[0];
        return result;
    }

    bench::Planes planes;
    std::vector<float*> rows;
};

void measure(const std::string& name, const ZELStackStruct& stack, Scene& scene,
             std::size_t lineLength)
{
    const std::size_t pixels = scene.planes[0].size();
    const std::size_t repeats = pixels / lineLength;
    const ZELLineStruct whole = scene.line(pixels);
    const ZELLineStruct line = scene.line(lineLength);
    static ZELPixelStruct record = {};
    Plane values(pixels);
    const auto evaluate = [&](const ZELLineStruct& part) {
        ZELEvaluateLine(&stack, &record, &part, values.data(), nullptr);
    };
    const double inCache = bench::shortest([&] {
        for (std::size_t i = 0; i < repeats; ++i) evaluate(line);
    });
    const double streamed = bench::shortest([&] { evaluate(whole); });
    double sum = 0;
    for (const float value : values) sum += static_cast<double>(value);
    std::printf("%s %.3f %.3f %.6e\n", name.c_str(), streamed * 1e9 / static_cast<double>(pixels),
                inCache * 1e9 / static_cast<double>(repeats * lineLength), sum);
    std::fflush(stdout);
}

std::size_t argument(int argc, char** argv, int index, std::size_t otherwise)
{
    return argc > index ? std::strtoul(argv[index], nullptr, 10) : otherwise;
}

}  // namespace

int main(int argc, char** argv)
{
    std::ifstream file(argc > 1 ? argv[1] : "");
    const std::size_t pixels = argument(argc, argv, 2, 8388608);
    const std::size_t lineLength = argument(argc, argv, 3, 2048);
    if (!file || lineLength == 0 || pixels < lineLength) {
        std::fputs("usage: zel_w3 EXPRESSIONS [PIXELS [LINE]]\n", stderr);
        return 2;
    }
    Scene scene(pixels);
    for (std::string text; std::getline(file, text);) {
        const std::size_t bar = text.find('|');
        if (text.starts_with('#') || bar == std::string::npos) continue;
        ZELStackStruct stack = {};
        const int status = ZELParseExpression(text.c_str() + bar + 1, &stack, 1, nullptr);
        if (status != ZEL_PARSE_OK) {
            std::fprintf(stderr, "%s: %s\n", text.c_str(), ParseErrorMsgs[status]);
            return 1;
        }
        measure(text.substr(0, bar), stack, scene, lineLength);
        ZELFreeStackElements(&stack);
    }
    return 0;
}
