/* The header of feature and classifier files, and the lists of expressions in it. Expressions
   travel as text and are compiled again when they are read. Failures print their message on
   standard error and end the process (-1). */
#ifndef ZEL_FEATURE_HEADER_H
#define ZEL_FEATURE_HEADER_H

#include "zel_feature_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Writes a stack with its text and its elements. The header does not use this form. */
void ZELWriteStack(FILE* fptr, const ZELStackStruct* stack);

/* One entry of a list: label, condition and action, each when present. The reader fills an entry
   that is in its list already: what is absent becomes null, what the entry held is not freed, next
   stays. It compiles with the check when parseFlag is not 0. */
void ZELWriteCommandList(FILE* fptr, const CommandListStruct* entry);
void ZELReadCommandList(FILE* fptr, CommandListStruct* entry, int parseFlag,
                        const CommandListStruct* definedConditions);

/* A whole list: its count and its entries. Null is written as an empty list. The readers append to
   the group; with definedConditions null, the first entry read may use no names, and each later one
   those of the entries before it.
   ZELReadCommand compiles with the check, ZELReadList (class lists) without. */
void ZELWriteCommand(FILE* fptr, const CommandStruct* Command);
void ZELReadCommand(FILE* fptr, CommandStruct* Command, const CommandListStruct* definedConditions);
void ZELReadList(FILE* fptr, CommandStruct* Command, const CommandListStruct* definedConditions);

/* Writes the header at the stream's position, with class counts of 0, and records ClassOffset and
   FeatureOffset. Returns the position after it. */
int ZELFeatureWriteHeader(FILE* fptr, ZELParameterStruct* Parameters);

/* Reads a header into the record, whose previous content is not freed. Returns the position after
   it. */
int ZELFeatureReadHeader(FILE* fptr, ZELParameterStruct* Parameters);

/* Writes the class counts and feature ranges to their places in a written header and returns to
   the stream's position. */
void ZELFeatureUpdateHeaderInfo(FILE* fptr, const ZELParameterStruct* Parameters);

/* A new array of Command->num strings, the caller's: each entry's label, else the text of its
   condition, else null. */
char** CreateLabels(const CommandStruct* Command);

#ifdef __cplusplus
}
#endif
#endif
