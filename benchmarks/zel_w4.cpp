// A pixel program with filters on one line of 2048 pixels, as a classifier mask runs them: zel_w4
// FILE. FILE is the text of the program; a line "# preclassfilter CONDITION: CLASSES" or "#
// postclassfilter CONDITION: ACTION" is a filter. Prints "W4 NS CLASSES WEIGHTS":
// nanoseconds per pixel, the shortest of seven passes in one thread, without the compile, and the
// sums of the classes and of the weights of class 3. Both are checked first against the functions
// of single pixels.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <zel/zel_features/zel_features.h>

#include "bench_clock.hpp"
#include "bench_scenes.hpp"

namespace {

constexpr std::size_t pixels = 2048;
constexpr int numChannels = 6;
using Row = std::vector<float>;

// ---- The program ----

ZELStackStruct* compiled(const std::string& text, int checkFlag)
{
    int status = 0;
    ZELStackStruct* stack = parseCondition(text.c_str(), &status, checkFlag, nullptr);
    if (!stack) std::fprintf(stderr, "%s: %s\n", text.c_str(), ParseErrorMsgs[status]);
    return stack;
}

class Rules {
public:
    explicit Rules(std::istream& file)
    {
        ProgramLines** end = &parameters.PreProcessProgramTextHead;
        int number = 0;
        for (std::string text; std::getline(file, text);) {
            ++number;
            if (text.starts_with("# preclassfilter "))
                good = good && addFilter(parameters.PreClassFilters, text.substr(17), 0);
            if (text.starts_with("# postclassfilter "))
                good = good && addFilter(parameters.PostClassFilters, text.substr(18), 1);
            if (text.empty() || text.starts_with('#')) continue;
            *end = static_cast<ProgramLines*>(std::calloc(1, sizeof(ProgramLines)));
            (*end)->text = strdup(text.c_str());
            (*end)->lineNumber = number;
            end = &(*end)->next;
        }
        parameters.PreProcessHead =
            compileProgramText(parameters.PreProcessProgramTextHead, 0, nullptr);
        good = good && parameters.PreProcessHead;
    }

    ZELMaskParameterType parameters = {};
    bool good = true;

private:
    // Kept for the length of the process.
    static bool addFilter(CommandStruct& filters, const std::string& text, int checkAction)
    {
        const std::size_t colon = text.find(':');
        auto* filter = static_cast<CommandListStruct*>(std::calloc(1, sizeof(CommandListStruct)));
        (filters.List ? filters.List->next : filters.ListHead) = filter;
        filters.List = filter;
        ++filters.num;
        if (colon == std::string::npos) return false;
        filter->Condition = compiled(text.substr(0, colon), 1);
        filter->Action = compiled(text.substr(colon + 1), checkAction);
        return filter->Condition && filter->Action;
    }
};

// ---- The line ----

struct Scene {
    Scene() : channels(bench::programLine(pixels)), sz(channels.front())
    {
        channels.erase(channels.begin());
    }
    std::vector<Row> channels;
    Row sz;
};

struct Results {
    Row classes = Row(pixels);
    Row weights = Row(pixels);
};

// What the rows of a line have before the rules: class 0 and weights of 1.
class LineRunner {
public:
    LineRunner(Scene& scene, const Rules& rules) : parameters_(rules.parameters)
    {
        for (Row& row : scene.channels) channels_.push_back(row.data());
        line_.numPixels = static_cast<int>(pixels);
        line_.numChannels = numChannels;
        line_.Channels = channels_.data();
        line_.sz = scene.sz.data();
        weights_[3] = results.weights.data();
        line_.ClassWeights = weights_;
        line_.Class = results.classes.data();
    }
    void run()
    {
        std::fill(results.classes.begin(), results.classes.end(), 0.0f);
        std::fill(results.weights.begin(), results.weights.end(), 1.0f);
        ZELPreProcessLine(&parameters_, &record_, &line_, nullptr, skipped_.data());
        ZELFeaturePreClassificationFilterLine(&parameters_, &record_, &line_, skipped_.data());
        ZELFeaturePostClassificationFilterLine(&parameters_, &record_, &line_, skipped_.data());
    }

    Results results;

private:
    const ZELMaskParameterType& parameters_;
    std::vector<float*> channels_;
    float* weights_[ZEL_FEATURE_NUM_CLASSES] = {};
    std::vector<int> skipped_ = std::vector<int>(pixels);
    ZELLineStruct line_ = {};
    ZELPixelStruct record_ = {};
};

Results byPixels(const Scene& scene, const Rules& rules)
{
    Results results;
    static ZELPixelStruct pixel = {};
    float channels[numChannels] = {};
    pixel.Channels = channels;
    pixel.numChannels = numChannels;
    for (std::size_t i = 0; i < pixels; ++i) {
        for (std::size_t c = 0; c < numChannels; ++c) channels[c] = scene.channels[c][i];
        pixel.sz = scene.sz[i];
        pixel.Class = 0.0f;
        ZELFeatureClearClassWeights(&pixel, 1.0f);
        if (ZELPreProcessPixel(&rules.parameters, &pixel) == ZEL_PROGRAM_DONE) {
            ZELFeaturePreClassificationFilter(&rules.parameters, &pixel);
            ZELFeaturePostClassificationFilter(&rules.parameters, &pixel);
        }
        results.classes[i] = pixel.Class;
        results.weights[i] = pixel.class_weights[3];
    }
    return results;
}

double sum(const Row& values)
{
    double result = 0;
    for (const float value : values) result += static_cast<double>(value);
    return result;
}

}  // namespace

int main(int argc, char** argv)
{
    std::ifstream file(argc > 1 ? argv[1] : "");
    if (!file) {
        std::fputs("usage: zel_w4 PROGRAM\n", stderr);
        return 2;
    }
    const Rules rules(file);
    if (!rules.good) return 1;
    Scene scene;
    LineRunner runner(scene, rules);
    const Results expected = byPixels(scene, rules);
    runner.run();
    if (runner.results.classes != expected.classes || runner.results.weights != expected.weights) {
        std::fputs("W4: the line is not that of its pixels\n", stderr);
        return 1;
    }
    constexpr int repeats = 400;
    const double seconds = bench::shortest([&] {
        for (int i = 0; i < repeats; ++i) runner.run();
    });
    std::printf("W4 %.3f %.6e %.6e\n", seconds * 1e9 / (repeats * static_cast<double>(pixels)),
                sum(expected.classes), sum(expected.weights));
    return 0;
}
