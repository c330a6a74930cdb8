// The sample record of feature files.
#ifndef ZEL_FEATURES_FILES_SAMPLE_HPP
#define ZEL_FEATURES_FILES_SAMPLE_HPP

#include "zel_features/files/records.hpp"
#include "zel_features/zel_feature_types.h"

namespace zel {

constexpr int sampleHeadSize()
{
    ZELPixelStruct pixel{};
    std::int32_t classNumber = 0;
    LayoutSize size;
    walkSample(size, classNumber, pixel);
    return static_cast<int>(size.bytes());
}
static_assert(sampleHeadSize() == 44);

constexpr int sampleLength(int features)
{
    return sampleHeadSize() + static_cast<int>(sizeof(float)) * features;
}

}  // namespace zel

#endif
