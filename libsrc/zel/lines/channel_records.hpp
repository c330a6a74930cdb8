// The channel records of a header: all slots, and the buffers of the present ones.
#ifndef ZEL_LINES_CHANNEL_RECORDS_HPP
#define ZEL_LINES_CHANNEL_RECORDS_HPP

#include "records/walk.hpp"
#include "zel_types.h"

namespace zel {

// Reads every slot's record behind the header, sets HeaderOffset, DataOffset and LineOffset, and
// allocates what the present channels need.
void readChannels(RecordReader& reader, ZELType& file);

// Writes every slot's record, placing the histogram blocks.
void writeChannels(ZELType& file);

// Sets DataOffset of each slot and LineOffset from the present channels' pixels.
void placeChannels(ZELType& file);

}  // namespace zel

#endif
