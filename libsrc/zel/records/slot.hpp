// A record's slots by index.
#ifndef ZEL_RECORDS_SLOT_HPP
#define ZEL_RECORDS_SLOT_HPP

#include "ground/zel_door.hpp"
#include "zel_types.h"

namespace zel {

// Any slot of the record, in use or not; ends the process (-1) where there is none.
inline ZELChannelType& slotOf(ZELType* file, int slot, const char* function)
{
    if (slot < 0 || slot >= ZEL_MAX_CHANNELS)
        fail("%s: channel index %d out of range\n", function, slot);
    return file->Channels[slot];
}

}  // namespace zel

#endif
