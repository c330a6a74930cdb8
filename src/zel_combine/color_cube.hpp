// The colour cube: a fixed LUT for class maps that bring no colours of their own.
#ifndef ZEL_COMBINE_COLOR_CUBE_HPP
#define ZEL_COMBINE_COLOR_CUBE_HPP

#include "zel.h"

namespace zel_combine {

// Adds the colour cube to a record, with the key after its last LUT's. Returns it, the record's;
// null, after a message, when that key is in use.
ZELDisplayLUTType* AppendColorCubeLUT(ZELType* ZELdata);

}  // namespace zel_combine

#endif
