/* The stored form of a pixel program: a line count, and each line as a string. Failures print their
   message on standard error and end the process (-1). */
#ifndef ZEL_PROGRAM_FILE_H
#define ZEL_PROGRAM_FILE_H

#include "zel_feature_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Reads a text, which the caller frees with ZELFeatureFreeProgramText; null when it has no lines.
   Line numbers are not stored: they count from 1. */
ProgramLines* ZELFeatureReadProgramText(FILE* fptr);

/* Writes a text; null is one without lines. */
void ZELFeatureWriteProgramText(FILE* fptr, const ProgramLines* ProgramText);

#ifdef __cplusplus
}
#endif
#endif
