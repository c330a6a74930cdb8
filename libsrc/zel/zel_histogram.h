/* Histograms of a channel's values. */
#ifndef ZEL_HISTOGRAM_H
#define ZEL_HISTOGRAM_H

#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Bins of histograms created from now on (process-wide, 256 at start). */
extern int16_t NumHistogramBins;
extern int16_t NumStandardHistogramBins;

/* A new histogram that has seen no value: bins 0, Max the most negative float, Min the largest. The
   caller owns it. Ends the process (-1) when memory fails or the number is not 0..32767. */
ZELHistogramType* ZELCreateHistogram(int NumBins);

/* Frees a histogram when it and its bins are not null. */
void ZELFreeHistogram(ZELHistogramType* histogram);

/* Gives every present channel without a histogram one of NumHistogramBins bins, to be updated. */
void ZELCreateChannelHistograms(ZELType* ZELdata);

/* Frees both histograms of every present channel. */
void ZELFreeChannelHistograms(ZELType* ZELdata);

/* Moves the counts to a new range, each by the lower edge of its bin; a range that would lose a
   count changes nothing. Ends the process (-1) when memory fails. */
void ZELRescaleHistogram(ZELHistogramType* histogram, float newMax, float newMin);

/* Counts the current line of one channel, or of every present channel. Counted are the pixels from
   LeftPixel to RightPixel, never the last of the line, that are not 3.4028235e+38, lie in the scale
   range (storage codes 1 and 2), are above 0 (kelvin, albedo, reflectance), have a valid position
   and, for albedo, reflectance and daytime channels, a solar zenith angle of at most 85 degrees. */
void ZELIncrementHistogram(ZELType* ZELdata, int channel);
void ZELIncrementChannelHistograms(ZELType* ZELdata);

/* Set NumHistogramBins and NumStandardHistogramBins. */
void ZELSetHistogramBins(int NumBins);
void ZELSetStandardHistogramBins(int NumBins);

/* Gives a channel a standard histogram of a fixed range with these NumBins counts. */
void ZELLoadStandardHistogram(ZELType* ZELdata, int channel, int NumBins, float max, float min,
                              const int* counts);

/* Copies bin count, range, BinIncrement, NumPixels and the bins; dest must have room for them. */
void ZELCopyHistogram(ZELHistogramType* dest, ZELHistogramType* src);

/* Reads the histogram record at the stream's position, with its statistics. The caller owns it. A
   damaged record ends the process (-1). */
ZELHistogramType* ZELReadHistogram(ZELType* ZELdata);

/* Writes the record at the stream's position. */
void ZELWriteHistogram(ZELType* ZELdata, ZELHistogramType* histogram);

/* Rewrites the record in its own place and returns to the stream's position, when the file keeps
   histograms; the second for both histograms of every present channel. */
void ZELUpdateHistogram(ZELType* ZELdata, ZELHistogramType* histogram);
void ZELUpdateAllHistograms(ZELType* ZELdata);

/* Lists the histograms of every present channel on standard output. */
void ZELPrintHistograms(ZELType* ZELdata);

/* Whether the file keeps histograms of its channels. */
void ZELSetHistogramFlag(ZELType* ZELdata, int flag);

/* A channel's histogram or standard histogram, or null. */
ZELHistogramType* ZELFetchChannelHistogram(ZELType* ZELdata, int channel);
ZELHistogramType* ZELFetchStandardHistogram(ZELType* ZELdata, int channel);

#ifdef __cplusplus
}
#endif
#endif
