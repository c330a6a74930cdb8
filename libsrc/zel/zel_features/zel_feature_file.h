/* Feature files: samples of pixels with their class and the values of every feature. Wrong mode
   prints a message and ends the process (-2); every other failure, such as a file that is not open,
   ends it with -1. */
#ifndef ZEL_FEATURE_FILE_H
#define ZEL_FEATURE_FILE_H

#include "zel_feature_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* 1 (the default): creating a file asks on standard input before it replaces an existing one. */
extern int OverwritePrompt;
void ZELFeatureSetOverwritePromptOn(void);
void ZELFeatureSetOverwritePromptOff(void);

/* Reads the parameter file, creates the output (the name given, or the parameter file's when that
   is null) and writes its header. The record need not be initialised. An output that is the
   parameter file or one of its inputs ends the process (-1), and is not touched. */
void ZELFeatureCreateFile(const char* parameterFilename, ZELFeatureFileStruct* FeatureFile,
                          const char* outputFilename);

/* ---- Copies ---- */

/* A fresh copy of the parameters, dated now, with empty class counts and ranges. The destination's
   previous content is not freed. */
void ZELFeatureCopyParameter(ZELParameterStruct* DestParameter,
                             const ZELParameterStruct* SrcParameter);

/* The same for a file object, which is thereby prepared for ZELFeatureOpenCopiedFile. */
void ZELFeatureCopyFileParameters(ZELFeatureFileStruct* DestFile,
                                  const ZELFeatureFileStruct* SrcFile);

/* Creates the output of a prepared file object and writes its header. Null keeps the name that was
   copied. */
void ZELFeatureOpenCopiedFile(ZELFeatureFileStruct* FeatureFile, const char* outputFilename);

/* The two in turn. An output that is the source's file ends the process (-1), and is not
   touched. */
void ZELFeatureCreateCopiedFile(ZELFeatureFileStruct* DestFile, const ZELFeatureFileStruct* SrcFile,
                                const char* outputFilename);

/* ---- Reading and closing ---- */

/* Opens a file for reading; the next read returns sample 0. */
void ZELFeatureOpenFile(const char* filename, ZELFeatureFileStruct* FeatureFile);

/* Closes the stream, patches the header of a written file first, and frees the labels, ranges and
   feature values. The rest of the parameters stays readable; ZELFeatureFreeParameters frees it. */
void ZELFeatureCloseFile(ZELFeatureFileStruct* FeatureFile);

/* Evaluates every feature for Pixel into Features. */
void ZELFeatureCompute(ZELFeatureFileStruct* FeatureFile);

/* ---- Samples ---- */

/* Copies class, position, angles, date, box, priority and feature values of the current sample.
   Both files must have the same number of features. */
void ZELFeatureCopySample(ZELFeatureFileStruct* DestFile, const ZELFeatureFileStruct* SrcFile);

/* Reads the next sample into Pixel and Features. 1 for a whole sample, 0 at the end of the file. A
   read error ends the process (-1). */
int ZELFeatureReadSampleFromFile(ZELFeatureFileStruct* FeatureFile);

/* Appends Pixel and Features as a sample, and counts it in the class counts and feature ranges. A
   class outside 0..999 is written, not counted. */
void ZELFeatureWriteSampleToFile(ZELFeatureFileStruct* FeatureFile);

/* Choose the sample that the next read returns; an index outside 0..NumberOfSamples - 1 ends the
   process (-1). Only on a file opened for reading. */
void ZELFeatureSeekSample(ZELFeatureFileStruct* FeatureFile, int sample);
void ZELFeatureSkipSamples(ZELFeatureFileStruct* FeatureFile, int count);
void ZELFeatureRewindFile(ZELFeatureFileStruct* FeatureFile);

/* ---- Summaries and fields ---- */

/* Summaries on standard output: the classes with samples; the range of each feature. */
void ZELFeaturePrintClassInfo(const ZELFeatureFileStruct* FeatureFile);
void ZELFeaturePrintFeatureInfo(const ZELFeatureFileStruct* FeatureFile);

/* Accessors. Pointers stay the file object's. Class is truncated, day and year are rounded. */
int ZELFeatureFetchRandomSeed(const ZELFeatureFileStruct* FeatureFile);
float* ZELFeatureFetchFeatures(const ZELFeatureFileStruct* FeatureFile);
int ZELFeatureFetchNumberOfFeatures(const ZELFeatureFileStruct* FeatureFile);
int ZELFeatureFetchNumberOfSamples(const ZELFeatureFileStruct* FeatureFile);
char* ZELFeatureFetchOutputFilename(const ZELFeatureFileStruct* FeatureFile);
ZELPixelStruct* ZELFeatureFetchPixel(ZELFeatureFileStruct* FeatureFile);
int ZELFeatureFetchClass(const ZELFeatureFileStruct* FeatureFile);
int ZELFeatureFetchElementaryClass(const ZELFeatureFileStruct* FeatureFile);
int ZELFeatureFetchBoxIndex(const ZELFeatureFileStruct* FeatureFile);
int ZELFeatureFetchJulianDay(const ZELFeatureFileStruct* FeatureFile);
int ZELFeatureFetchYear(const ZELFeatureFileStruct* FeatureFile);
unsigned int ZELFeatureFetchPriority(const ZELFeatureFileStruct* FeatureFile);
float* ZELFeatureFetchFeatureMax(const ZELFeatureFileStruct* FeatureFile);
float* ZELFeatureFetchFeatureMin(const ZELFeatureFileStruct* FeatureFile);
char** ZELFeatureFetchClassNames(ZELFeatureFileStruct* FeatureFile); /* 1000 */
int* ZELFeatureFetchClassCount(ZELFeatureFileStruct* FeatureFile);   /* 1000 */
int ZELFeatureFetchSubsamplingMethod(const ZELFeatureFileStruct* FeatureFile);
int ZELFeatureFetchClassType(const ZELFeatureFileStruct* FeatureFile);
int ZELFeatureFetchDataType(const ZELFeatureFileStruct* FeatureFile);
char** ZELFeatureFetchLabels(const ZELFeatureFileStruct* FeatureFile);

#ifdef __cplusplus
}
#endif
#endif
