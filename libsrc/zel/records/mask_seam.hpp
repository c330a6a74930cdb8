// The seam to the feature layer: a channel's classifier mask, wherever a channel is read, written,
// copied or freed.
#ifndef ZEL_RECORDS_MASK_SEAM_HPP
#define ZEL_RECORDS_MASK_SEAM_HPP

#include "records/walk.hpp"
#include "zel_types.h"

namespace zel {

// Reads a mask block; null for the block of a channel without a mask.
ZELFeatureMaskType* readMask(RecordReader& reader);

// Writes a mask block; a null mask is the single number 0. False, with errno, when that fails; a
// message says what with.
bool writeMask(FILE* stream, ZELFeatureMaskType* mask);

// Whether the classifiers of a mask have all that a file says of them; a null mask has.
bool isCompleteMask(const ZELFeatureMaskType* mask);

// A deep copy, and release; both take null.
ZELFeatureMaskType* duplicateMask(ZELFeatureMaskType* mask);
void freeMask(ZELFeatureMaskType* mask);

}  // namespace zel

#endif
