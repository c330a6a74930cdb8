/* Questions to an open file. Those about a slot answer 0 or null when it is absent or its index is
   negative or above MaxNumChan. Buffers and strings belong to the file. */
#ifndef ZEL_FETCH_H
#define ZEL_FETCH_H

#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

int ZELFetchDataType(ZELType* ZELdata);
float ZELFetchChannelWavelength(ZELType* ZELdata, int Channel); /* microns; not guarded */
char* ZELFetchChannelLabel(ZELType* ZELdata, int Channel);
char* ZELFetchChannelComment(ZELType* ZELdata, int Channel);
float ZELFetchChannelMax(ZELType* ZELdata, int Channel);
float ZELFetchChannelMin(ZELType* ZELdata, int Channel);
int ZELFetchChannelByteSize(ZELType* ZELdata, int Channel);
int ZELFetchChannelType(ZELType* ZELdata, int Channel);

/* Stored form of the current line: NPixelPerLine x DataByteSize bytes, in the host's byte order. */
unsigned char* ZELFetchRawChannelPixels(ZELType* ZELdata, int Channel);

/* The values that the raw numbers of a scaled channel stand for, 256 or 65536 of them. Returns how
   many; 0, with nothing set, when the channel is not scaled or values is null. */
int ZELFetchScalingTable(ZELType* ZELdata, int Channel, float* values);

int ZELFetchNumberOfChannels(ZELType* ZELdata);
int ZELFetchNumberOfLines(ZELType* ZELdata);
int ZELFetchNumberOfPixels(ZELType* ZELdata); /* per line */
int ZELFetchCurrentLineNumber(ZELType* ZELdata);
double ZELFetchCurrentScanTime(ZELType* ZELdata); /* hours UT */

/* Values of the current line, float[NPixelPerLine]; null, with a message, for an absent slot. Ends
   the process (-1) on a write-only record. */
float* ZELFetchChannel(ZELType* ZELdata, int Channel);

/* Solar zenith, view zenith and relative azimuth of the current line, float[NPixelPerLine] each,
   degrees; computed at the first request of a line. */
void ZELFetchSolar(ZELType* ZELdata, float** sz, float** vz, float** az);

/* Latitude and longitude of the current line, float[NPixelPerLine] each, degrees. Ends the process
   (-1) on a write-only record. */
void ZELFetchNavigation(ZELType* ZELdata, float** lat, float** lon);

/* The line's navigation points, float[NumNavPoints] each; null without points. */
void ZELFetchNonInterpolatedNavigation(ZELType* ZELdata, float** lat, float** lon);

/* The slot's histogram, or null. Programs depend on the spelling of this name. */
ZELHistogramType* ZELFetchChannelHistogam(ZELType* ZELdata, int Channel);

#ifdef __cplusplus
}
#endif
#endif
