/* Opening files for reading. */
#ifndef ZEL_OPEN_H
#define ZEL_OPEN_H

#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Opens a file, plain or composite, for reading; *ZELdata need not be initialised. Returns 0; -1
   when the file cannot be opened; -2 when its version is not supported or its header is damaged.
   After -2 for a version the stream stays open: finish the record. Ends the process (-1) when the
   file needs a newer library or memory fails (-3 for a channel's line). */
int ZELOpenReadOnlyFile(ZELType* ZELdata, const char* RawFileName);

/* The same without scaling tables: ChannelLUT is null, and lines that are read with scaling have
   their values computed. Faster to open, and faster to read unless few lines are read. */
int ZELOpenReadOnlyFileNoTables(ZELType* ZELdata, const char* RawFileName);

/* Opens one plain file, or one component that starts at fileOffset and is numBytes long (0: to the
   end of the file). Results as above. */
int OpenReadOnlyFile(ZELType* ZELdata, const char* RawFileName, int fileOffset, int numBytes);

/* Reads what comes before the first line of a plain file, or of a component that starts at
   fileOffset and is numBytes long (0: to the end of the file), from a stream that stays the
   caller's; name is for messages. The record has the header with its blocks, the channels and the
   layout, but no memory for lines, and no stream: give it to ZELFreeData after 0. Returns 0; -2
   when the version is not supported or the header is damaged. Ends the process as the opens do. */
int ZELReadStreamHeader(ZELType* ZELdata, FILE* stream, const char* name, int fileOffset,
                        int numBytes);

/* 1 when the numbers of a file that is open, or whose header was read, are in the other byte order
   than the host's. */
int ZELIsByteSwapped(ZELType* ZELdata);

/* Bytes from the start of a line record to its field of that name ("ScanTime", "LatBuffer" ...); -1
   when lines of the file's version do not have it. */
int64_t ZELFetchPlaceInLine(ZELType* ZELdata, const char* field);

/* 1 when the stream holds a file that this library can read (the stream is then at offset 0), else
   0. */
int ZELCheckFileVersion(FILE* fptr);

#ifdef __cplusplus
}
#endif
#endif
