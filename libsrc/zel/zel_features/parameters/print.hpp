// Listings of parameter files on standard output: a heading and a line for each entry.
#ifndef ZEL_FEATURES_PARAMETERS_PRINT_HPP
#define ZEL_FEATURES_PARAMETERS_PRINT_HPP

#include "zel_features/zel_feature_types.h"

namespace zel {

// Label and condition; label, condition and action; label alone.
void printExpressions(const char* heading, const CommandStruct& list);
void printFilters(const char* heading, const CommandStruct& list);
void printTexts(const char* heading, const CommandStruct& list);

}  // namespace zel

#endif
