/* Creating files: initialise a record, declare channels, open it for writing. */
#ifndef ZEL_INIT_H
#define ZEL_INIT_H

#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Makes *ZELdata a write-only record with no channels; what it held before is not freed. DataType
   is a sensor code, Year of 99 or less counts from 1900, JulianDay is 1-based, SatelliteAltitude is
   in km and SpatialResolution in metres. Ends the process (-1) when NumPix is not 1..32767 or
   NumNavPts not 0..32767. */
void ZELInitNewWriteOnlyFile(ZELType* ZELdata, int DataType, const char* DataComment, int Year,
                             int JulianDay, int SatNumber, int NumPix, int NumNavPts,
                             int StartNavPoint, int NavPointInterval, float SatelliteAltitude,
                             float SpatialResolution);

/* The same for a read-only record, with LUTStartOffset, NumLines and the components left as they
   were. */
void ZELInitNewCompositeFile(ZELType* ZELdata, int DataType, const char* DataComment, int Year,
                             int JulianDay, int SatNumber, int NumPix, int NumNavPts,
                             int StartNavPoint, int NavPointInterval, float SatelliteAltitude,
                             float SpatialResolution);

/* ZELInitNewWriteOnlyFile with the grid and altitude of a sensor. */
void ZELInitNewAVHRRLACFile(ZELType* ZELdata, int Year, int JulianDay, int SatNumber,
                            const char* DataComment);
void ZELInitNewAVHRRGACFile(ZELType* ZELdata, int Year, int JulianDay, int SatNumber,
                            const char* DataComment);
void ZELInitNewMASFile(ZELType* ZELdata, int Year, int JulianDay, const char* DataComment);
void ZELInitNewVIRSFile(ZELType* ZELdata, int Year, int JulianDay, const char* DataComment);

/* Creates the file and writes its header and channel records. Where a file of that name exists and
   the prompt is on, asks on standard output and standard input first, and ends the process (0)
   unless the answer begins with "y". Returns 0, or -1 when the file cannot be created or no reader
   would take the navigation points: several must begin inside the line and go forward. Ends the
   process when memory fails (-1, -3 or -8) or the record is read-only (-1). FileOpened is set as
   soon as the open begins: after one that failed, finish or initialise the record before channels
   are declared. */
int ZELOpenWriteOnlyFile(ZELType* ZELdata, const char* RawFileName);

/* Whether ZELOpenWriteOnlyFile asks before it overwrites a file (it does, by default). */
void ZELSetOverwritePromptOff(ZELType* ZELdata);
void ZELSetOverwritePromptOn(ZELType* ZELdata);

#ifdef __cplusplus
}
#endif
#endif
