/* Display LUTs: the colour tables of a file. Labels are compared without regard to case; a label
   longer than 200 characters is cut there. */
#ifndef ZEL_LUT_H
#define ZEL_LUT_H

#include "zel_class_tables.h"
#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The two standard LUTs use rows 0 to 33 of the standard class tables. */
enum { ZEL_NUM_STANDARD_LUT_ENTRIES = 34 };

/* A new LUT of that many entries, each black and labelled "None"; the caller owns it. Ends the
   process (-1) when memory fails or the number is not 0..32767. */
ZELDisplayLUTType* ZELAllocateLUT(int NumLUTValues);

/* Frees a LUT and its entries. Ends the process (-1) when given null. */
void ZELDeAllocateLUT(ZELDisplayLUTType* lut);

/* Appends a new LUT to the file's list. Returns it (the file owns it), or null when the key is in
   use: nothing is added then. */
ZELDisplayLUTType* ZELAddLUT(ZELType* ZELdata, int key, int NumLUTValues, const char* label);

/* ZELAddLUT with the key after the last LUT's, or 0 in an empty list. */
ZELDisplayLUTType* ZELAppendLUT(ZELType* ZELdata, int NumLUTValues, const char* label);

/* Removes the first LUT with that key or label; without a match only a message is printed. Refused
   on a read-only file; ends the process (-1) on a file whose header is written. */
void ZELDeleteLUTByKey(ZELType* ZELdata, int key);
void ZELDeleteLUTByLabel(ZELType* ZELdata, const char* label);

/* Sets one entry. index runs from 0 to NumLUTValues, the bound included (the spare entry); any
   other ends the process (-1). The two that look the LUT up change nothing when there is none. */
void ZELLoadLUTEntry(ZELDisplayLUTType* lut, int index, unsigned char R, unsigned char G,
                     unsigned char B, const char* label);
void ZELLoadLUTEntryByKey(ZELType* ZELdata, int key, int index, unsigned char R, unsigned char G,
                          unsigned char B, const char* label);
void ZELLoadLUTEntryByLabel(ZELType* ZELdata, const char* lutLabel, int index, unsigned char R,
                            unsigned char G, unsigned char B, const char* label);

/* Lookups; the first match wins. Null, or -1 for a key, when there is none. The strings and LUTs
   returned belong to the file. */
ZELDisplayLUTType* ZELFetchLUTByKey(ZELType* ZELdata, int key);
ZELDisplayLUTType* ZELFetchLUTByLabel(ZELType* ZELdata, const char* label);
int ZELFetchLUTKeyByLabel(ZELType* ZELdata, const char* label);
char* ZELFetchLUTLabelByKey(ZELType* ZELdata, int key);

/* The bytes that the LUT takes in a file. */
int64_t ZELFetchLUTRecordSize(const ZELDisplayLUTType* lut);

/* Walking the list: its length, its first LUT and the one after a LUT (null at the end). */
int16_t ZELFetchNumLuts(ZELType* ZELdata);
ZELDisplayLUTType* ZELFetchFirstLut(ZELType* ZELdata);
ZELDisplayLUTType* ZELFetchNextLut(ZELDisplayLUTType* lut);

/* A deep copy, owned by the caller; its next pointer is null. */
ZELDisplayLUTType* ZELCopyLUT(ZELDisplayLUTType* lut);

/* Replaces the destination's list with deep copies of the source's (the old LUTs are dropped, not
   freed), or appends the copies; keys are not compared. Refused on a read-only file that is not a
   composite view; ends the process (-1) on a file whose header is written. */
void ZELCopyFileLUTs(ZELType* ZELdataDest, ZELType* ZELdataSrc);
void ZELAppendFileLUTs(ZELType* ZELdataDest, ZELType* ZELdataSrc);

/* Reads NumDisplayLUTs LUT records at the stream's position. Returns the bytes consumed. A damaged
   block ends the process (-1). */
int ZELReadLUTs(ZELType* ZELdata);

/* Writes the LUT block at the stream's position and records it in LUTStartOffset; only the first
   call of a process writes, and the first after each ZELRearmLUTWriter. */
void ZELWriteLUTs(ZELType* ZELdata);

/* Lets the next file that is written have its LUT block too: for a process that writes several. */
void ZELRearmLUTWriter(void);

/* Rewrites the LUT block at LUTStartOffset and returns to the stream's position. The number of LUTs
   and of their entries must be that of the written block; for one that was not written there is
   a warning, and nothing is written. */
void ZELUpdateLUTs(ZELType* ZELdata);

/* Adds the LUTs "Collapsed Classes" (key 1) and "Full Classes" (key 2). */
void ZELAddStandardLUTs(ZELType* ZELdata);

/* The same two as LUTs of their own, owned by the caller. */
ZELDisplayLUTType* ZELCreateFullStandardLUT(void);
ZELDisplayLUTType* ZELCreateCollapsedStandardLUT(void);

/* Lists every LUT on standard output. */
void ZELPrintLUTs(ZELType* ZELdata);

/* Frees all LUTs of the file: count 0, head null. */
void ZELFreeLUTs(ZELType* ZELdata);

#ifdef __cplusplus
}
#endif
#endif
