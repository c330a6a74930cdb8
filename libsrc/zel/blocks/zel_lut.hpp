// The LUT block of a header.
#ifndef ZEL_BLOCKS_LUT_HPP
#define ZEL_BLOCKS_LUT_HPP

#include "records/walk.hpp"
#include "zel_types.h"

namespace zel {

// Reads NumDisplayLUTs records into the header's list; returns their bytes.
std::int64_t readLUTs(RecordReader& reader, ZELHeaderType& header);

// Whether a file of this process has its LUT block: only the first one gets it. Tests reset it.
bool& lutBlockWritten();

}  // namespace zel

#endif
