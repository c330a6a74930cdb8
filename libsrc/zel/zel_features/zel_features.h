/* The feature layer of ZEL: expressions over pixels, feature parameters, pixel programs, classifier
   masks, and feature files of samples.

   Conventions that hold everywhere:
    1. A caller owns the records that it passes in; what the library attaches to them it frees in
       the operation named for that. A record that is filled, opened or created need not be
       initialised, and its previous content is not freed. Memory that a function returns to the
       caller comes from malloc.
    2. Channels and registers are numbered from 1 in expressions and from 0 in C arrays; classes
       run from 0 to 999, samples count from 0, days of the year from 1.
    3. Angles and positions are degrees. Pixel values are 32-bit floats throughout.
    4. Errors print a message and end the process, with status -1, or -2 for a feature file used in
       the wrong mode. Errors go to standard error, reports to standard output; both, and the
       process exit, through zel_door.h. Messages are cut at 240 characters.
    5. Strings that are only read are const char*.
    6. Lists are appended at the tail and keep head, tail and count together.
    7. The layer is single-threaded. Process-wide are the variable table with its binding to the
       pixel record of the first evaluation, the message buffer, the ancillary grids, the output
       name set for parameter files and the overwrite prompt. */
#ifndef ZEL_FEATURES_H
#define ZEL_FEATURES_H

#include "zel_evaluate.h"
#include "zel_expression.h"
#include "zel_feature_ancillary.h"
#include "zel_feature_file.h"
#include "zel_feature_header.h"
#include "zel_feature_io.h"
#include "zel_feature_mask.h"
#include "zel_feature_report.h"
#include "zel_feature_types.h"
#include "zel_parameter.h"
#include "zel_pixel.h"
#include "zel_program.h"
#include "zel_program_file.h"

#endif
