// Opening files, with the choice that the public interface makes by name.
#ifndef ZEL_LINES_OPEN_HPP
#define ZEL_LINES_OPEN_HPP

#include "records/scaling_table.hpp"
#include "zel_types.h"

namespace zel {

// ZELOpenReadOnlyFile.
int openWhole(ZELType& file, const char* filename, Tables tables);

// OpenReadOnlyFile.
int openPart(ZELType& file, const char* filename, int fileOffset, int numBytes, Tables tables);

}  // namespace zel

#endif
