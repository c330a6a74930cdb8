// The channels of a file whose records have been read, or are to be written.
#ifndef ZEL_LINES_CHANNEL_RECORDS_HPP
#define ZEL_LINES_CHANNEL_RECORDS_HPP

#include "zel_types.h"

namespace zel {

// Sets what the records of old versions leave out, and what follows from those that were read.
void supplyOldChannels(ZELType& file);

// Memory for the lines of the present channels of a file that is read.
void allocateChannels(ZELType& file);

// Sets DataOffset of each slot and LineOffset from the present channels' pixels.
void placeChannels(ZELType& file);

}  // namespace zel

#endif
