// Masks in files.
#ifndef ZEL_FEATURES_MASK_FILE_HPP
#define ZEL_FEATURES_MASK_FILE_HPP

#include <cstdint>

#include "zel_features/files/walk.hpp"
#include "zel_features/zel_feature_mask.h"

namespace zel {

// Reads a mask after its number of classifiers, which is not 0. Damage is thrown.
ZELFeatureMaskType* readMaskFile(FeatureReader& reader, std::int32_t classifiers);

// Whether every classifier has features and their ranges, without which none is written.
bool isComplete(const ZELFeatureMaskType& mask);

// Reads the bytes that a classifier consists of.
void readClassifierData(FeatureReader& reader, ZELClassifierList& classifier, int byteCount);

}  // namespace zel

#endif
