/* Composite files: several files of one scene in one container, and one view over them. */
#ifndef ZEL_COMPOSITE_H
#define ZEL_COMPOSITE_H

#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Names of files, which are not changed. C has no implicit conversion from char** to
   const char* const*, so in C the type is char* const*: keep the names in an array of char*. */
#ifdef __cplusplus
typedef const char* const* ZELFileNames;
#else
typedef char* const* ZELFileNames;
#endif

/* Reads a file's prefix. offsets, resolution and size have room for 100 entries. Returns 1 for a
   composite; 0 for a plain file (index 0, one component; the tables are zeros when it has no
   prefix); -1, with nothing set, when the file cannot be opened or read. */
int ZELReadCompositeInfo(const char* RawFileName, int* baseFileIndex, int* numComponents,
                         int* offsets, float* resolution, int* size);

/* The same from a stream that stays the caller's; name is for messages. -2 when the directory names
   components that do not lie inside the file. */
int ZELReadStreamCompositeInfo(FILE* stream, const char* name, int* baseFileIndex,
                               int* numComponents, int* offsets, float* resolution, int* size);

/* The same as the first for the base index alone, and for the result alone. */
int ZELReadCompositeBaseFileIndex(const char* RawFileName, int* baseFileIndex);
int ZELIsFileComposite(const char* RawFileName);

/* Writes a container of the input files, plain or composite, byte for byte. BaseFileIndex is the
   position of the base file; UserBaseComponentIndex chooses a component of a composite base file
   (zero-based, -1 for its first). Where the output exists and overwritePrompt is not 0, asks first
   and ends the process (0) unless the answer begins with "y". Returns 0; -1 when the inputs cannot
   be read, do not describe one scene or do not fit in one container, or the output cannot be
   created. Ends the process (-1) on a write error, and on a read error of an input that is being
   copied. */
int ZELCreateCompositeFile(ZELFileNames InputFileNames, int numInputFiles, int BaseFileIndex,
                           int UserBaseComponentIndex, const char* OutputFilename,
                           int overwritePrompt);

/* Opens a container, or several files together, as one view at the resolution of a reference
   component. Returns 0; -1 when an input cannot be read or a single input is not a composite; -2
   when a directory is damaged. Ends the process (-1, or -3 for a channel's line) when a component
   cannot be opened or memory fails. */
int ZELOpenCompositeReadOnlyFile(ZELType* ZELdata, ZELFileNames InputFileNames, int numInputFiles,
                                 int BaseFileIndex);

/* The same without scaling tables; see ZELOpenReadOnlyFileNoTables. */
int ZELOpenCompositeReadOnlyFileNoTables(ZELType* ZELdata, ZELFileNames InputFileNames,
                                         int numInputFiles, int BaseFileIndex);

#ifdef __cplusplus
}
#endif
#endif
