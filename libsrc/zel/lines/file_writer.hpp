// Writing everything of a file that comes before its first line.
#ifndef ZEL_LINES_FILE_WRITER_HPP
#define ZEL_LINES_FILE_WRITER_HPP

#include "zel_types.h"

namespace zel {

// Writes prefix, header and channel records at the start of the record's stream, and notes where
// the blocks are that are rewritten later. Write errors stay with the stream, or end the process
// (-1).
void writeFile(ZELType& file);

}  // namespace zel

#endif
