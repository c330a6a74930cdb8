// What lines have in common, for the room that assembles them.
#ifndef ZEL_LINES_LINE_HPP
#define ZEL_LINES_LINE_HPP

#include "zel_types.h"

namespace zel {

// Copies what the current line says of its scan: time, altitude, padding and nadir.
void copyScan(ZELType& dest, const ZELType& src);

// The positions and angles of the line before are no longer valid.
void forgetDerived(ZELType& file);

}  // namespace zel

#endif
