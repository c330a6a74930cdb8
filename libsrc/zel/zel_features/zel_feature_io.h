/* The encoding that all files of the feature layer share: numbers are big-endian on every host, a
   string is its length with the terminator, as a 32-bit number, and its bytes. Failures print
   their message on standard error and end the process (-1). */
#ifndef ZEL_FEATURE_IO_H
#define ZEL_FEATURE_IO_H

#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* 1 on a little-endian host, 0 on a big-endian one; valid once OSInitialized is set. */
extern int HostOS;
extern int OSInitialized;

/* Sets HostOS; the first read or write that needs it calls this. */
void InitializeFileRead(void);

/* fread of count elements of size bytes into buffer, in the host's order. Returns what
   fread returned; a short read is not reported in any other way. */
int FileRead(void* buffer, int size, int count, FILE* fptr);

/* fwrite of count elements of size bytes in big-endian order; buffer is not changed. Writing no
   element at all counts as a failure too. */
void FileWrite(const void* buffer, int size, int count, FILE* fptr);

/* Writes a string; null is written as an empty one. */
void WriteString(FILE* fptr, const char* string);

/* Reads a string, which the caller frees with free(). Where the stream says how much it has, a
   length is compared with that before memory is taken for it; a pipe is read as it comes. */
char* ReadString(FILE* fptr);

#ifdef __cplusplus
}
#endif
#endif
