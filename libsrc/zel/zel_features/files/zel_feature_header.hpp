// Feature headers that are part of something larger.
#ifndef ZEL_FEATURES_FILES_FEATURE_HEADER_HPP
#define ZEL_FEATURES_FILES_FEATURE_HEADER_HPP

#include "zel_features/files/walk.hpp"
#include "zel_features/zel_feature_header.h"

namespace zel {

// Reads a header into a record, whose previous content is not freed. What is damaged is thrown as
// Damage; the record can be freed then.
void readFeatureHeader(FeatureReader& reader, ZELParameterStruct& parameters);

// Writes a header with class counts of 0, whatever the record holds: a file of samples gets them
// when it is closed.
void writeFeatureHeader(FeatureWriter& writer, ZELParameterStruct& parameters);

// Labels the features and gives them empty ranges. Ends the process (-1) with one of the messages
// when memory fails.
void makeFeatureInfo(ZELParameterStruct& parameters, const char* maxFailure,
                     const char* minFailure);

}  // namespace zel

#endif
