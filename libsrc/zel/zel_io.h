/* Byte order and binary input and output. */
#ifndef ZEL_IO_H
#define ZEL_IO_H

#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* 1: every element wider than a byte is reversed between file and memory. Process-wide: all open
   files share it, and every open sets it for the host again. */
extern int SwapByteOrdering;

/* Sets SwapByteOrdering so that little-endian files are read and written correctly on this host. */
void CheckByteOrder(void);

/* fread of Count elements of Size bytes into Buffer, reversing each element when SwapByteOrdering
   is set and Size is not 1. Returns what fread returned; a short read is not reported in any other
   way. */
int ZELRead(void* Buffer, int Size, int Count, FILE* fptr);

/* fwrite of Count elements of Size bytes, reversed on the way when SwapByteOrdering is set; Buffer
   is not changed. Returns what fwrite returned. */
int ZELWrite(const void* Buffer, int Size, int Count, FILE* fptr);

/* ZELRead with the decision to swap as an argument instead of the process-wide flag. */
int checkRead(int SwapByteOrdering, void* Buffer, int Size, int Count, FILE* fptr);

/* Opens a file to be read, as fopen does with "rb": null and errno when it cannot. The library
   closes the stream. */
typedef FILE* (*ZELFileOpener)(void* userData, const char* name);

/* Replaces what opens the scene files that are read, composites and their components among them:
   files in archives or in memory can be read so. A null opener restores the default, fopen.
   Process-wide. */
void ZELSetFileOpener(ZELFileOpener opener, void* userData);

#ifdef __cplusplus
}
#endif
#endif
