// Feature headers that are part of something larger.
#ifndef ZEL_FEATURES_FILES_FEATURE_HEADER_HPP
#define ZEL_FEATURES_FILES_FEATURE_HEADER_HPP

#include "zel_features/files/walk.hpp"
#include "zel_features/zel_feature_header.h"

namespace zel {

// Reads a header into a record, whose previous content is not freed. What is damaged is thrown as
// Damage; the record can be freed then.
void readFeatureHeader(FeatureReader& reader, ZELParameterStruct& parameters);

// What a header that is written says of its classes: nothing yet, as a file of samples that begins, or
// their counts, as a classifier that is trained.
enum class ClassCounts { none, kept };

void writeFeatureHeader(FeatureWriter& writer, ZELParameterStruct& parameters, ClassCounts counts);

// Labels the features and gives them empty ranges. Ends the process (-1) with one of the messages
// when memory fails.
void makeFeatureInfo(ZELParameterStruct& parameters, const char* maxFailure,
                     const char* minFailure);

}  // namespace zel

#endif
