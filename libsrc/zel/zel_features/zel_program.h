/* Pixel programs: lists of statements with if, else and endif, run for each pixel. */
#ifndef ZEL_PROGRAM_H
#define ZEL_PROGRAM_H

#include "zel_feature_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Statement kinds. */
enum {
    OTHER_STATEMENT = 0, /* an expression */
    IF_STATEMENT = 1,
    ELSE_STATEMENT = 2,
    ENDIF_STATEMENT = 3,
    WEIGHT_STATEMENT = 4,
    THEN_STATEMENT = 5,
    ELSE_THEN_STATEMENT = 6, /* the implied "then" of a bare else */
    BEGIN_STATEMENT = 7,
    END_STATEMENT = 8,
    IF_END_STATEMENT = 9,       /* in place of a single-line statement that was dropped */
    ELSE_IF_END_STATEMENT = 10, /* the last statement of a branch before an else if; by linking */
    END_ELSE_STATEMENT = 11,    /* the same after an else */
    IMPLIED_ENDIF_STATEMENT = 12,
    RETURN_STATEMENT = 13,
    ZEL_NUM_STATEMENT_TYPES
};

/* Results of a program. */
enum { ZEL_PROGRAM_ERROR = -1, ZEL_PROGRAM_DONE = 0, ZEL_PROGRAM_SKIPPED = 1 };

/* If and else statements that may be open at once. */
enum { ZEL_PROGRAM_MAX_OPEN = 100 };

/* Compiles and links the text. Returns the first statement, which the caller owns, or null after a
   compile error, which was printed (an empty text gives null as well). processFlag 1 marks a
   post-processing program, in which weightclasses is dropped. definedConditions is the first of a
   list of named definitions, or null. A linking error ends the process (-1). */
ProgramStruct* compileProgramText(const ProgramLines* ProgramText, int processFlag,
                                  const CommandListStruct* definedConditions);

/* Appends a zeroed statement after PreviousStatement (null for the first) and makes it both flow
   successors of that one. Returns it. Ends the process (-1) when memory fails. */
ProgramStruct* addProgamStatement(ProgramStruct* PreviousStatement, int Type, int lineNum);

/* Sets the flow successors of the whole list. A broken if/else/endif structure prints its message
   and ends the process (-1). Linking a linked program changes nothing. */
void setupProgramLogic(ProgramStruct* Program);

/* Runs the program on the pixel: 0 when it came to its end or to return, 1 when a skip_pixel was
   evaluated (the pixel's Class is then 0), -1 on a run-time error, which was printed. */
int executeProgram(const ProgramStruct* Program, ZELPixelStruct* Pixel);

/* Runs the program on every pixel of the line, in order, as if the record were filled from the
   rows, executeProgram called on it, and the rows written back: the same values to the bit, the
   same results, the same errors (zel_evaluate.h: ZELEvaluateLine, which also says what becomes of
   the record). Registers and class weights without a row carry over from pixel to pixel in *pixel;
   only weights that the program names are touched. Pixels where passedOver, int[numPixels] or null,
   is not 0 are left alone and have that for their result. results receives int[numPixels]; it must
   not be passedOver. A program runs on rows, many pixels at a time, when no pixel can read a
   register or variable without a row before it has written it, and when no statement can fail; else
   pixel after pixel. */
void ZELExecuteProgramLine(const ProgramStruct* Program, ZELPixelStruct* pixel,
                           const ZELLineStruct* line, const int* passedOver, int* results);

/* Run the mask's pre- or post-processing program; 0 when it has none, else the program's result. A
   negative result of the first, and any but 0 of the second, is reported. */
int ZELPreProcessPixel(const ZELMaskParameterType* Parameters, ZELPixelStruct* Pixel);
int ZELPostProcessPixel(const ZELMaskParameterType* Parameters, ZELPixelStruct* Pixel);

/* The same for every pixel of a line, with the same reports: ZELExecuteProgramLine. */
void ZELPreProcessLine(const ZELMaskParameterType* Parameters, ZELPixelStruct* pixel,
                       const ZELLineStruct* line, const int* passedOver, int* results);
void ZELPostProcessLine(const ZELMaskParameterType* Parameters, ZELPixelStruct* pixel,
                        const ZELLineStruct* line, const int* passedOver, int* results);

/* Sets all class weights of the pixel, or one; a class outside 0..999 is ignored. */
void ZELFeatureClearClassWeights(ZELPixelStruct* Pixel, float value);
void ZELFeatureSetClassWeight(ZELPixelStruct* Pixel, int classIndex, float value);

/* A copy of the text, the caller's. (Storing a text: zel_program_file.h.) */
ProgramLines* ZELFeatureDuplicateProgramText(const ProgramLines* ProgramText);

/* Frees a whole list, given its head. Null is allowed. */
void ZELFeatureFreeProgramText(ProgramLines* ProgramText);
void ZELFeatureFreeProgram(ProgramStruct* Program);

/* Listings on standard output: the text; the statements with their kinds, expressions and
   successors; one statement. */
void printProgramText(const ProgramLines* ProgramText);
void printProgram(const ProgramStruct* Program);
void printProgramLine(const ProgramStruct* Program);

#ifdef __cplusplus
}
#endif
#endif
