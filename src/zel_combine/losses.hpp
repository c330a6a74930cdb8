// What the lines of a view lose on the way into one output.
#ifndef ZEL_COMBINE_LOSSES_HPP
#define ZEL_COMBINE_LOSSES_HPP

#include "zel.h"

namespace zel_combine {

// Warns, a line each, of channels of classes that were averaged and of inputs that ended before the
// longest one. A plain file loses nothing.
void warnOfLosses(ZELType& view);

}  // namespace zel_combine

#endif
