/* Evaluating compiled expressions, for one pixel or for a line of pixels.

   Arithmetic is single precision; library functions are computed in double precision and rounded.
   True is 1.0, false 0.0. Division by zero, logarithms and roots are not guarded. Channel
   numChannels + 1 may be named: it reads as 0.0 and a write to it is ignored.

   Run-time errors print a message on standard error and end the process (-1): a channel above
   numChannels + 1 or below 1, a register above 20 or below 1, an unknown variable or operator; and,
   on standard output, "stack processing error 1" when an operand is missing and "stack processing
   error 2" when more than 200 values are pending. */
#ifndef ZEL_EVALUATE_H
#define ZEL_EVALUATE_H

#include "zel_feature_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Where an assignment goes: a variable's index below ZEL_TARGET_CHANNEL, else a channel or
   register counted from 0 above these. */
enum { ZEL_TARGET_CHANNEL = 100, ZEL_TARGET_REGISTER = 500 };

/* The value of the expression for the pixel; 0.0 when nothing was left, and 0.0 with
   pixel->skipPixelFlag set as soon as skip_pixel is reached (the flag is cleared first).
   Assignments write to the pixel record and its channels. Variables are read and written in the
   record that the first evaluation of the process was given: give every evaluation that same
   record, refilled, or bind another one with ZELBindPixel. */
float ZELEvaluateStack(const ZELStackStruct* stack, ZELPixelStruct* pixel);

/* Binds the variable table to the fields of pixel, unless an evaluation or an earlier call did. */
void initializeVariablePointers(ZELPixelStruct* pixel);

/* Binds the variable table to the fields of pixel, whatever it was bound to; null unbinds it, so
   that the next evaluation binds its own record. */
void ZELBindPixel(ZELPixelStruct* pixel);

/* Evaluates the expression for every pixel of the line, in order, as if the record were filled
   from the rows, ZELEvaluateStack called on it (whatever record the variables are bound to), and
   the rows written back: the same values to the bit (a NaN stays a NaN, its sign and payload are
   not promised), the same assignments, the same errors. values receives float[numPixels] and may
   be a row of the line; skipFlags receives int[numPixels], 1 where the pixel was skipped, or is
   null. Registers and variables without a row carry over from pixel to pixel in *pixel; its fields
   that have a row, and its Channels and numChannels, are neither read nor changed. A channel
   without a row is 0.0 throughout, also after an assignment to it. skipPixelFlag is that of the
   last pixel.

   An expression runs on rows, many pixels at a time, when no pixel can read a register or variable
   without a row before it has written it; else pixel after pixel. How it runs on rows is worked out
   once and kept while the expression, the rows that are there and the values that it reads from the
   record stay the same. Memory is allocated for that only, up to 32 expressions and programs for
   each thread; a line goes pixel after pixel when there is no memory. */
void ZELEvaluateLine(const ZELStackStruct* stack, ZELPixelStruct* pixel, const ZELLineStruct* line,
                     float* values, int* skipFlags);

#ifdef __cplusplus
}
#endif
#endif
