// The way up to the composite room, for the open that finds a composite and the read of its lines.
#ifndef ZEL_LINES_COMPOSITE_SEAM_HPP
#define ZEL_LINES_COMPOSITE_SEAM_HPP

#include "zel_types.h"

namespace zel {

// ZELOpenCompositeReadOnlyFile of one file.
int openComposite(ZELType* file, const char* filename, int baseIndex);

// ZELReadCompositeLine.
int readCompositeLine(ZELType& view, int scale);

}  // namespace zel

#endif
