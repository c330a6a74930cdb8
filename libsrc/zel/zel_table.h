/* Value tables: named, keyed arrays of floats in a file's header or in a channel. Labels are
   compared without regard to case; a label longer than 200 characters is cut there. */
#ifndef ZEL_TABLE_H
#define ZEL_TABLE_H

#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A new table of that many values, all 0.0; the caller owns it. Ends the process (-1) when memory
   fails or the number is not 0..32767. */
TableType* ZELAllocateTable(int NumTableValues);

/* Frees a table and its values. Ends the process (-1) when given null. */
void ZELDeAllocateTable(TableType* table);

/* Appends a new table to the list. Returns it (the list owns it), or null when the key is in
   use. */
TableType* ZELAddTable(TableListType* list, int key, int NumTableValues, const char* label);

/* Removes the first table with that key or label; without a match only a message is printed. */
void ZELDeleteTableByKey(TableListType* list, int key);
void ZELDeleteTableByLabel(TableListType* list, const char* label);

/* Sets one value. index runs from 0 to NumTableValues, the bound included (the spare value); any
   other ends the process (-1). Nothing changes when there is no such table. */
void ZELLoadTableEntryByKey(TableListType* list, int key, int index, float value);
void ZELLoadTableEntryByLabel(TableListType* list, const char* label, int index, float value);

/* Copies NumTableValues floats from values into the table, when there is one. */
void ZELLoadTableByKey(TableListType* list, int key, const float* values);
void ZELLoadTableByLabel(TableListType* list, const char* label, const float* values);

/* Lookups; the first match wins. Null, or -1 for a key, when there is none. */
TableType* ZELFetchTableByKey(TableListType* list, int key);
TableType* ZELFetchTableByLabel(TableListType* list, const char* label);
int ZELFetchTableKeyByLabel(TableListType* list, const char* label);
char* ZELFetchTableLabelByKey(TableListType* list, int key);

/* A deep copy, owned by the caller; its next pointer is null. */
TableType* ZELCopyTable(TableType* table);

/* Replaces the destination list with deep copies (the old tables are dropped, not freed), or
   appends the copies; keys are not compared. An empty source changes nothing. */
void ZELCopyTableList(TableListType* dest, TableListType* src);
void ZELAppendTableList(TableListType* dest, TableListType* src);

/* The same on the header lists of two files. Refused on a read-only file that is not a composite
   view; ends the process (-1) on a file whose header is written. */
void ZELCopyFileTables(ZELType* ZELdataDest, ZELType* ZELdataSrc);
void ZELAppendFileTables(ZELType* ZELdataDest, ZELType* ZELdataSrc);

/* Reads list->NumTables table records at the stream's position, with a trace on standard output.
   Returns the length to add to the header: 204 + 204 x values for each table, which is more than
   the bytes read. A damaged block ends the process (-1). */
int ZELReadTables(FILE* fptr, TableListType* list);

/* Writes the list's block at the stream's position and records it in TableStartOffset. */
void ZELWriteTables(FILE* fptr, TableListType* list);

/* Rewrites the block at TableStartOffset and returns to the stream's position. The number of tables
   and of their values must be that of the written block; for one that was not
   written there is a warning, and nothing is written. */
void ZELUpdateTables(FILE* fptr, TableListType* list);

/* Adds two small test tables (keys 1 and 2, 5 and 7 values, value i = i) to the file's header. Ends
   the process (-1) when a key is in use. */
void ZELAddTestTables(ZELType* ZELdata);

/* Lists every table on standard output. */
void ZELPrintTables(TableListType* list);

/* Frees all tables and sets the count to 0; TableHead is left as it was. */
void ZELFreeTables(TableListType* list);

#ifdef __cplusplus
}
#endif
#endif
