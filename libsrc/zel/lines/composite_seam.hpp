// The way up to the composite room, for the open that finds a composite and the read of its lines.
#ifndef ZEL_LINES_COMPOSITE_SEAM_HPP
#define ZEL_LINES_COMPOSITE_SEAM_HPP

#include "records/prefix.hpp"
#include "records/scaling_table.hpp"
#include "zel_types.h"

namespace zel {

// ZELOpenCompositeReadOnlyFile of one file, whose directory has been read.
int openComposite(ZELType* file, const char* filename, const Directory& directory, Tables tables);

// ZELReadCompositeLine.
int readCompositeLine(ZELType& view, int scale);

}  // namespace zel

#endif
