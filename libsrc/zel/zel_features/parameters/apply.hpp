// Filters: entries of a list whose action is carried out where their condition holds.
#ifndef ZEL_FEATURES_PARAMETERS_APPLY_HPP
#define ZEL_FEATURES_PARAMETERS_APPLY_HPP

#include "zel_features/zel_feature_types.h"

namespace zel {

// Whether something other than 0 is left of the condition's value without its fraction.
bool filterHolds(const CommandListStruct& filter, ZELPixelStruct& pixel);

// Evaluates the action of each filter that holds, in order. True when one of them skipped the pixel;
// that one is the last.
bool applyFilters(const CommandStruct& filters, ZELPixelStruct& pixel);

}  // namespace zel

#endif
