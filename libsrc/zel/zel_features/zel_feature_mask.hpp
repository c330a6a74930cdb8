// Reading masks that are part of something larger.
#ifndef ZEL_FEATURE_MASK_HPP
#define ZEL_FEATURE_MASK_HPP

#include "zel_feature_mask.h"
#include "zel_feature_walk.hpp"

namespace zel {

// Reads a mask; null for the number 0. What is damaged is thrown as Damage.
ZELFeatureMaskType* readMaskFile(FeatureReader& reader);

// The definitions that a mask's filters and programs may use, made when there are none yet.
CommandStruct& filterConditions(ZELMaskParameterType& parameters, const char* failure);

struct FreeMask {
    void operator()(ZELFeatureMaskType* mask) const { ZELFeatureFreeMask(mask); }
};

}  // namespace zel

#endif
