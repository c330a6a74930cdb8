// The components of a view.
#ifndef ZEL_COMPOSITE_VIEW_COMPONENTS_HPP
#define ZEL_COMPOSITE_VIEW_COMPONENTS_HPP

#include "composite/inputs.hpp"
#include "records/scaling_table.hpp"
#include "zel_types.h"

namespace zel {

// Results of opening a view.
inline constexpr int viewOpened = 0;
inline constexpr int viewUnreadable = -1;
inline constexpr int viewDamaged = -2;

// Opens every component of the inputs, in order, into a cleared record, and finds its base
// component. Other results than viewOpened come after a message. The record is to be finished when
// it then has components.
int openComponents(ZELType& view, Inputs& inputs, int baseFile, Tables tables);

}  // namespace zel

#endif
