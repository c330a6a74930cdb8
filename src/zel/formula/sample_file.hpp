// A feature sample file that is open for reading, and its content as JSON.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/json.hpp"
#include "zel_features/zel_features.h"

namespace zel_tool {

class SampleFile {
public:
    // Throws Failure when the file is not one or is damaged.
    explicit SampleFile(const std::string& name);

    ZELFeatureFileStruct* get() { return file_.get(); }
    ZELParameterStruct& parameters() { return file_->Parameters; }
    int features() { return ZELFeatureFetchNumberOfFeatures(get()); }
    int samples() { return ZELFeatureFetchNumberOfSamples(get()); }
    std::vector<std::string> labels();

    // Reads the next sample; false after the last one. Throws Failure.
    bool next();

private:
    struct Close {
        void operator()(ZELFeatureFileStruct* file) const;
    };
    std::unique_ptr<ZELFeatureFileStruct, Close> file_;
};

// Throws Failure when the file holds fewer samples than its classes count.
void requireWhole(SampleFile& file);

// All but the samples.
Json headerJson(SampleFile& file, const std::string& name);

// The classes and the features of a header as tables with a title.
std::string classesText(const Json& header);
std::string featuresText(const Json& header);

// The sample that was read last.
Json sampleJson(SampleFile& file);

}  // namespace zel_tool
