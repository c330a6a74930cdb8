// The channels of a file whose records have been read, or are to be written.
#ifndef ZEL_LINES_CHANNEL_RECORDS_HPP
#define ZEL_LINES_CHANNEL_RECORDS_HPP

#include "records/scaling_table.hpp"
#include "zel_types.h"

namespace zel {

// Sets what the record of an old version leaves out of a slot, and what follows from its fields.
void completeChannel(ZELType& file, int slot);

// Memory for the lines of the present channels of a file that is read.
void allocateChannels(ZELType& file, Tables tables);

// Sets DataOffset of each slot and LineOffset: NavOffset, and the present channels' pixels.
void placeChannels(ZELType& file);

}  // namespace zel

#endif
