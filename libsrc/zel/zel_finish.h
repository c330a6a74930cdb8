/* Finishing files: writing what is still to be written, closing, and freeing. */
#ifndef ZEL_FINISH_H
#define ZEL_FINISH_H

#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Closes a file or composite view that was opened for reading and frees all that the record owns.
   Ends the process (-1) on a write-only record. */
void ZELFinishReadingFile(ZELType* ZELdata);

/* Writes the histograms back into the header, frees all that the record owns and closes the file.
   Ends the process (-1) on a read-only record or when the file could not be written whole. */
void ZELFinishWritingFile(ZELType* ZELdata);

/* Frees everything that an open allocated, but leaves the stream open. */
void ZELFreeData(ZELType* ZELdata);

#ifdef __cplusplus
}
#endif
#endif
