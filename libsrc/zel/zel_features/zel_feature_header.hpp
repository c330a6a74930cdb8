// Reading feature headers that are part of something larger.
#ifndef ZEL_FEATURE_HEADER_HPP
#define ZEL_FEATURE_HEADER_HPP

#include "zel_feature_header.h"
#include "zel_feature_walk.hpp"

namespace zel {

// Reads a header into a record, whose previous content is not freed. What is damaged is thrown as
// Damage; the record can be freed then.
void readFeatureHeader(FeatureReader& reader, ZELParameterStruct& parameters);

// Labels the features and gives them empty ranges. Ends the process (-1) with one of the messages
// when memory fails.
void makeFeatureInfo(ZELParameterStruct& parameters, const char* maxFailure,
                     const char* minFailure);

}  // namespace zel

#endif
