// The table block of a header or of a channel record.
#ifndef ZEL_TABLE_BLOCK_HPP
#define ZEL_TABLE_BLOCK_HPP

#include "zel_types.h"
#include "zel_walk.hpp"

namespace zel {

// Reads NumTables records into the list, with the trace; returns the length to add to the header,
// which counts 204 bytes for each value.
std::int64_t readTables(RecordReader& reader, TableListType& list);

}  // namespace zel

#endif
