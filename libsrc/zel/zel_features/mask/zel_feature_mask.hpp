// Masks that free themselves, and the definitions of a mask.
#ifndef ZEL_FEATURES_MASK_FEATURE_MASK_HPP
#define ZEL_FEATURES_MASK_FEATURE_MASK_HPP

#include <memory>

#include "zel_features/zel_feature_mask.h"

namespace zel {

struct FreeMask {
    void operator()(ZELFeatureMaskType* mask) const { ZELFeatureFreeMask(mask); }
};

// A mask without an owner yet.
using OwnedMask = std::unique_ptr<ZELFeatureMaskType, FreeMask>;

// The definitions that a mask's filters and programs may use, made when there are none yet. Ends
// the process (-1) with the message when memory fails.
CommandStruct& filterConditions(ZELMaskParameterType& parameters, const char* failure);

}  // namespace zel

#endif
