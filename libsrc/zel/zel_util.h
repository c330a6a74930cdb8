/* Reports of a file's header, and its metadata text. */
#ifndef ZEL_UTIL_H
#define ZEL_UTIL_H

#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Header block of one record, on the stream given. */
void PrintHeader(ZELType* ZELdata, FILE* fptr);

/* Library version, channel limit, the header of each component, and the record's own header. */
void ZELPrintHeader(ZELType* ZELdata, FILE* fptr);

/* One block for each present channel. */
void ZELPrintChannelInfo(ZELType* ZELdata, FILE* fptr);

/* Headers and channel blocks together. */
void ZELPrintHeaderInfo(ZELType* ZELdata, FILE* fptr);

/* Loads the metadata text, of that type, from a text file of at most 20000 bytes. Returns its size
   in bytes; 0 when the file cannot be opened, -1 when it is too large or cannot be read (there is
   no metadata then). */
int ZELLoadMetadata(ZELType* ZELdata, const char* FileName, int type);

/* Prints the metadata text on standard output; it also switches the overwrite prompt off. */
void ZELPrintMetadata(ZELType* ZELdata);

#ifdef __cplusplus
}
#endif
#endif
