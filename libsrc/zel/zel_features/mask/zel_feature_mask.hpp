// What the rooms that make, read and copy masks have in common.
#ifndef ZEL_FEATURES_MASK_FEATURE_MASK_HPP
#define ZEL_FEATURES_MASK_FEATURE_MASK_HPP

#include <memory>

#include "zel_features/files/walk.hpp"
#include "zel_features/zel_feature_mask.h"

namespace zel {

struct FreeMask {
    void operator()(ZELFeatureMaskType* mask) const { ZELFeatureFreeMask(mask); }
};

// A mask that nobody else owns yet.
using OwnedMask = std::unique_ptr<ZELFeatureMaskType, FreeMask>;

// The definitions that a mask's filters and programs may use, made when there are none yet. Ends the
// process (-1) with the message when memory fails.
CommandStruct& filterConditions(ZELMaskParameterType& parameters, const char* failure);

// Appends copies of the entries of a list, compiled as they are.
void copyCommands(CommandStruct& to, const CommandStruct& from);

// Reads a mask after its number of classifiers; null for the number 0. What is damaged is thrown as Damage.
ZELFeatureMaskType* readMaskFile(FeatureReader& reader, std::int32_t classifiers);

// Whether every classifier has features and their ranges, without which none is written.
bool isComplete(const ZELFeatureMaskType& mask);

// Reads the bytes that a classifier consists of.
void readClassifierData(FeatureReader& reader, ZELClassifierList& classifier, int byteCount);

}  // namespace zel

#endif
