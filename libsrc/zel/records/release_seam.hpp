// Giving back what a record owns.
#ifndef ZEL_RECORDS_RELEASE_SEAM_HPP
#define ZEL_RECORDS_RELEASE_SEAM_HPP

#include "zel_types.h"

namespace zel {

// Frees everything but the stream and the components, without a word.
void releaseData(ZELType& file);

// Closes the stream, when there is one. False when what was written did not reach the file.
bool closeStream(ZELType& file);

// A record that is about to be used: all zeros, whatever it held.
void clearRecord(ZELType& file);

}  // namespace zel

#endif
