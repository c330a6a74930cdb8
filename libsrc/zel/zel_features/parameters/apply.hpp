// Filters: entries of a list whose action is carried out where their condition holds.
#ifndef ZEL_FEATURES_PARAMETERS_APPLY_HPP
#define ZEL_FEATURES_PARAMETERS_APPLY_HPP

#include "zel_features/program/run.hpp"
#include "zel_features/zel_feature_types.h"

namespace zel {

// Whether something other than 0 is left of the condition's value without its fraction.
template <class Pixel>
bool filterHolds(const CommandListStruct& filter, Pixel& pixel)
{
    return !truncatesToZero(static_cast<double>(pixel.evaluate(filter.Condition)));
}

// Evaluates the action of each filter that holds, in order. True when one of them skipped the
// pixel; that one is the last.
template <class Pixel>
bool applyFilters(const CommandStruct& filters, Pixel& pixel)
{
    for (const CommandListStruct* filter = filters.ListHead; filter; filter = filter->next) {
        if (!filterHolds(*filter, pixel)) continue;
        pixel.evaluate(filter->Action);
        if (pixel.skipped()) return true;
    }
    return false;
}

}  // namespace zel

#endif
