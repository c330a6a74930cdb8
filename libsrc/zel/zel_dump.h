/* Every field of a file in file order, with its place, type and value: for tools that show a file
   or check it. */
#ifndef ZEL_DUMP_H
#define ZEL_DUMP_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* How far a file is read: up to its first line; its lines too, with their pixels as bytes without a
   value; or with the value of every pixel. */
enum { ZEL_DUMP_HEADER = 0, ZEL_DUMP_LINES = 1, ZEL_DUMP_PIXELS = 2 };

/* One field. The strings are valid during the call only. */
typedef struct ZELDumpField {
    int64_t offset;     /* of its first byte, from the start of the file */
    int64_t size;       /* in bytes */
    int component;      /* of a composite, from 0; 0 in a plain file */
    int bigEndian;      /* how its numbers are stored */
    const char* record; /* "prefix", "header", "LUT 0", "channel 12", "line 7" ... */
    const char*
        type; /* "int16", "float32", "text" ...; an array has its length after it: "int32[100]" */
    const char* name;  /* as docs/format.md has it */
    const char* value; /* elements with a blank between them; a text up to its terminator, with
                           backslashes and control characters as \\ and \x1b */
} ZELDumpField;

/* Receives one field; what is not 0 ends the dump. */
typedef int (*ZELDumpSink)(void* userData, const ZELDumpField* field);

/* Reads a file, plain or composite, of any layout version and byte order, and hands each field to
   the sink, which may be null: then the file is only checked. Bytes between records, and those of a
   last line that is not whole, are fields too. Returns 0; 1 when the sink ended the dump; -1 when
   the file cannot be opened or read or memory fails; -2 when it is damaged or its version is not
   supported. -1 and -2 come after a message that says what is wrong and at which offset; the
   process goes on. */
int ZELDumpFile(const char* filename, int depth, ZELDumpSink sink, void* userData);

#ifdef __cplusplus
}
#endif
#endif
