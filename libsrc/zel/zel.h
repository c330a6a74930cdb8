/* ZEL: single-scene, multi-channel satellite image files.

   Conventions that hold everywhere:
    1. A caller owns a file record (ZELType) from open or init to finish; the library owns all that
       it points to and frees it in the finish functions. A record given to an open or an init need
       not be initialised; it is nearly 400 kB large: keep it off small stacks.
    2. Slots, lines, pixels and components are counted from 0, days of the year from 1.
    3. Angles and positions are degrees (north and east positive), times hours of the day in UT,
       altitudes km, resolutions metres, wavelengths microns.
    4. Failures print a message that begins with the function's name. Where a function returns int,
       -1 means that a file cannot be opened or created and -2 that it is damaged or of an
       unsupported version; misuse of a record in the wrong mode, failed allocations, and read or
       write errors end the process with exit(-1) unless the function says otherwise. zel_door.h
       redirects messages and lets a program survive a process exit.
    5. Strings that are only read are const char*. Text longer than its field is cut, never overrun.
    6. Arrays of a line have NPixelPerLine elements and hold one line at a time: the one last read,
       or the one to be written next.
    7. The library is single-threaded. Process-wide are the byte order (zel_io.h), the bin counts of
       new histograms, the ancillary grids, the count of invalid positions, and the rule that only
       the first file written by a process gets its display LUTs (ZELRearmLUTWriter). */
#ifndef ZEL_H
#define ZEL_H

#include "zel_ancillary.h"
#include "zel_channel.h"
#include "zel_composite.h"
#include "zel_door.h"
#include "zel_dump.h"
#include "zel_fetch.h"
#include "zel_finish.h"
#include "zel_histogram.h"
#include "zel_init.h"
#include "zel_io.h"
#include "zel_line.h"
#include "zel_lut.h"
#include "zel_navigate.h"
#include "zel_open.h"
#include "zel_table.h"
#include "zel_types.h"
#include "zel_util.h"

#endif
