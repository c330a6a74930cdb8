#include "archive/merge/sample_summary.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace zel_tool {
namespace {

std::uint32_t bigEndian(const char* at)
{
    std::uint32_t number = 0;
    for (int i = 0; i < 4; ++i) number = number << 8U | static_cast<unsigned char>(at[i]);
    return number;
}

}  // namespace

SampleSummary::SampleSummary(int features)
    : min_(static_cast<std::size_t>(features), 0.0F), max_(min_), seen_(min_.size(), false)
{
}

void SampleSummary::add(std::string_view record)
{
    const auto number = static_cast<int>(bigEndian(record.data()));  // the first field
    if (number >= 0 && number < ZEL_FEATURE_NUM_CLASSES) ++counts_[number];
    const char* at = record.data() + record.size() - sizeof(float) * min_.size();
    for (std::size_t i = 0; i < min_.size(); ++i, at += sizeof(float)) {
        const auto value = std::bit_cast<float>(bigEndian(at));
        if (std::isnan(value)) continue;
        if (!seen_[i] || value < min_[i]) min_[i] = value;
        if (!seen_[i] || value > max_[i]) max_[i] = value;
        seen_[i] = true;
    }
}

void SampleSummary::putInto(ZELParameterStruct& parameters)
{
    std::copy(std::begin(counts_), std::end(counts_), parameters.ClassInfo.Count);
    parameters.FeatureInfo.Min = min_.data();
    parameters.FeatureInfo.Max = max_.data();
}

}  // namespace zel_tool
