// Samples the scenes that a feature parameter file names.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "base/output_file.hpp"
#include "zel_features/zel_features.h"

namespace zel_tool {

// What became of the pixels of an input that were looked at.
struct SceneTally {
    std::string file;
    long long pixels = 0;
    long long required = 0;  // met the requirements and options
    long long samples = 0;
};

// Which of the samples of a class are kept: by their number, at random.
class Thinning {
public:
    Thinning(int method, int seed) : method_(method), random_(static_cast<unsigned>(seed)) {}

    // A method for which the samples of each class are counted before one is written.
    bool counts() const { return method_ > 0; }
    // Every so many lines and pixels.
    int step() const { return method_ < 0 ? -method_ : 1; }

    void count(int classNumber) { ++classes_[classNumber].left; }
    void begin();
    bool takes(int classNumber);

private:
    struct Class {
        long long left = 0;    // samples to come
        long long wanted = 0;  // of these
    };
    int method_;
    std::mt19937 random_;
    std::map<int, Class> classes_;
};

// A sample file that is written under a temporary name.
class SampleWriter {
public:
    // The output name is that of the parameter file when it is empty. Throws Failure.
    SampleWriter(const std::string& parameterFile, const std::string& output, Overwrite overwrite);

    const std::string& output() const { return output_; }

    // Samples all inputs. Throws Failure with the input, line and pixel.
    std::vector<SceneTally> run();

    // Completes the header and gives the file its name.
    void commit();

private:
    struct Close {
        void operator()(ZELFeatureFileStruct* file) const;
    };
    using Keep = std::function<bool(int classNumber)>;

    void create();
    void addProvenance();
    SceneTally sampleScene(const std::string& name, const Keep& keeps);
    std::vector<SceneTally> sampleAll(const Keep& keeps);
    bool isSample(SceneTally& tally);
    void requireWritten() const;

    std::string parameterFile_;
    std::string output_;
    std::unique_ptr<OutputFile> target_;
    std::unique_ptr<ZELFeatureFileStruct, Close> file_;
    std::unique_ptr<Thinning> thinning_;
};

}  // namespace zel_tool
