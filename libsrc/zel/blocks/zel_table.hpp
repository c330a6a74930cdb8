// The table block of a header or of a channel record.
#ifndef ZEL_BLOCKS_TABLE_HPP
#define ZEL_BLOCKS_TABLE_HPP

#include "records/walk.hpp"
#include "zel_types.h"

namespace zel {

// Reads NumTables records into the list, with the trace; returns the length to add to the header,
// which counts 204 bytes for each value.
std::int64_t readTables(RecordReader& reader, TableListType& list);

}  // namespace zel

#endif
