// What the header of a sample file says of its samples.
#pragma once

#include <string_view>
#include <vector>

#include "zel_features/zel_features.h"

namespace zel_tool {

// Counts of the classes and ranges of the features, from samples as they are on disk.
class SampleSummary {
public:
    explicit SampleSummary(int features);

    // A class that does not exist is not counted, a value that is no number is in no range.
    void add(std::string_view record);

    int count(int classNumber) const { return counts_[classNumber]; }

    // The ranges stay this object's.
    void putInto(ZELParameterStruct& parameters);

private:
    int counts_[ZEL_FEATURE_NUM_CLASSES] = {};
    std::vector<float> min_, max_;  // 0 until there is a value
    std::vector<bool> seen_;
};

}  // namespace zel_tool
