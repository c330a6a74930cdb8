/* Feature parameter files: reading them, applying what they say to a pixel, and printing it. */
#ifndef ZEL_PARAMETER_H
#define ZEL_PARAMETER_H

#include "zel_feature_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Identifier and version of a record that was just made, and of every header that is written. */
extern const char* const IdentifierString; /* "ZEL_FEATURE_HEADER" */
extern const char* const VersionNumber;    /* "1.2" */

extern const char* const subSamplingMethodLabel[4]; /* None, Log10, Log, Sqrt */
extern const char* const classTypeLabel[3];         /* Pixel, Primary, Elementary */
extern const char* const dataTypeLabel[14];         /* by data type code */

/* Makes the record what a file is read into: identifier, version and date of now, the default
   random seed, everything else empty. Its previous content is not freed. */
void ZELFeatureInitializeParameters(ZELParameterStruct* Parameters);

/* Frees all that the record points to and empties it. */
void ZELFeatureFreeParameters(ZELParameterStruct* Parameters);

/* Appends a zeroed entry to the list and returns it. Ends the process (-1) when memory fails. */
CommandListStruct* allocateNewCommand(CommandStruct* Command);

/* Frees the entries of a list with all they own, and empties it. */
void freeCommandList(CommandStruct* Command);

/* Appends a zeroed entry to the input files and counts it. Ends the process (-1) when memory
   fails. */
InputStruct* allocateNewInput(IOStruct* IO);

/* Frees the input list and the output name, and empties the record. */
void freeInputList(IOStruct* IO);

/* Reads a parameter file into the record, whose previous content is not freed. Every error prints
   its message and ends the process (-1); unknown commands, class or data types, and input files
   that do not open are reported and ignored. */
void ZELParseParameterFile(const char* filename, ZELParameterStruct* Parameters);

/* An output file name that stands in for the parameter file's own: with one set, a parameter file
   need not name an output. Null unsets it. The text is copied. */
void ZELFeatureSetOutputFilename(const char* filename);

/* 1 when every requirement (option) holds for the pixel, else 0; the first that fails ends the
   check. An entry holds when its value plus 0.5, truncated, is not 0. */
int ZELFeatureCheckRequirements(const ZELParameterStruct* Parameters, ZELPixelStruct* pixel);
int ZELFeatureCheckOptions(const ZELParameterStruct* Parameters, ZELPixelStruct* pixel);

/* Evaluates the action of each filter whose condition, truncated, is not 0, in file order; ends
   after an action that skipped the pixel. */
void ZELFeatureApplyFilters(const ZELParameterStruct* Parameters, ZELPixelStruct* pixel);

/* Lists on standard output. */
void ZELFeaturePrintConditions(const ZELParameterStruct* Parameters);
void ZELFeaturePrintRequirements(const ZELParameterStruct* Parameters);
void ZELFeaturePrintOptions(const ZELParameterStruct* Parameters);
void ZELFeaturePrintFilters(const ZELParameterStruct* Parameters);
void ZELFeaturePrintComments(const ZELParameterStruct* Parameters);
void ZELFeaturePrintTitle(const ZELParameterStruct* Parameters);
void ZELFeaturePrintHeader(const ZELParameterStruct* Parameters);

#ifdef __cplusplus
}
#endif
#endif
