// A channel's description, for the rooms that copy one.
#ifndef ZEL_LIFE_CHANNEL_HPP
#define ZEL_LIFE_CHANNEL_HPP

#include "zel_types.h"

namespace zel {

// Copies what a channel is: its range, storage, units, texts and flags, and duplicates of its mask,
// tables and standard histogram. Lines, the histogram of its own and the load flag are not part of
// it.
void copyDescription(ZELChannelType& dest, ZELChannelType& src);

}  // namespace zel

#endif
