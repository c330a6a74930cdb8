// The LUT block of a header.
#ifndef ZEL_LUT_BLOCK_HPP
#define ZEL_LUT_BLOCK_HPP

#include "zel_types.h"
#include "zel_walk.hpp"

namespace zel {

// Reads NumDisplayLUTs records into the file's list; returns their bytes.
std::int64_t readLUTs(RecordReader& reader, ZELType& file);

// Whether a file of this process got its LUT block: only the first one does, and it stays so.
bool& lutBlockWritten();

}  // namespace zel

#endif
