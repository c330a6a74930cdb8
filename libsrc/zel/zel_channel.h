/* Declaring, loading and finding channels. Slot indices are 0-based. */
#ifndef ZEL_CHANNEL_H
#define ZEL_CHANNEL_H

#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Declares a channel of a file that is to be written: its slot, scale range, storage code (1..5),
   bit resolution, label and comment (119 characters at most, longer ones are cut). Ends the process
   (-1) on a read-only record, after the header is written, or when slot or code is out of range. */
void ZELAddChannel(ZELType* ZELdata, int Channel, float MaxVal, float MinVal, int ArchiveType,
                   int BitResolution, const char* ChanLabel, const char* ChanComm);

/* ZELAddChannel for a class channel that is painted with a LUT. */
void ZELAddLUTChannel(ZELType* ZELdata, int Channel, float MaxVal, float MinVal, int ArchiveType,
                      int BitResolution, const char* ChanLabel, const char* ChanComm);

/* ZELAddLUTChannel with a classifier mask, which the file owns from then on; a mask that the slot
   had is freed. */
void ZELAddMaskChannel(ZELType* ZELdata, ZELFeatureMaskType* FeatureMask, int Channel, float MaxVal,
                       float MinVal, int ArchiveType, int BitResolution, const char* ChanLabel,
                       const char* ChanComm);

/* ZELAddChannel with a wavelength (microns) and units code; the second marks a base channel. */
void ZELAddSensorChannel(ZELType* ZELdata, int Channel, float MaxVal, float MinVal, int ArchiveType,
                         int BitResolution, const char* ChanLabel, const char* ChanComm,
                         float WaveLength, int Units);
void ZELAddSensorBaseChannel(ZELType* ZELdata, int Channel, float MaxVal, float MinVal,
                             int ArchiveType, int BitResolution, const char* ChanLabel,
                             const char* ChanComm, float WaveLength, int Units);

/* ZELAddChannel for a derived channel: wavelength -99, no units. */
void ZELAddSpecialChannel(ZELType* ZELdata, int Channel, float MaxVal, float MinVal,
                          int ArchiveType, int BitResolution, const char* ChanLabel,
                          const char* ChanComm);

/* Declare slots 0 to 5 with the channels of the sensor; ByteSize is the storage code of all. */
void ZELAddStandardAVHRRChannels(ZELType* ZELdata, int ByteSize);
void ZELAddStandardVIRSChannels(ZELType* ZELdata, int ByteSize);

/* Hands over a channel's next line, NPixelPerLine values in the channel's units. Ends the process
   (-1) on a read-only record or an absent slot. */
void ZELLoadChannel(ZELType* ZELdata, int Channel, const float* Data);

/* Marks a slot absent and frees its scaling table and histograms. Do so before the file is opened
   for writing, or after its last line; in between there is a warning. */
void ZELDeleteChannel(ZELType* ZELdata, int Channel);

/* Makes *ZELdataNew a write-only record with the header and channels of ZELdataOrig. */
void ZELCopyFileHeaders(ZELType* ZELdataNew, ZELType* ZELdataOrig);

/* Plain access to a slot's fields. */
void ZELSetChannelWavelength(ZELType* ZELdata, int Channel, float WaveLength);
void ZELSetBaseChannelFlag(ZELType* ZELdata, int Channel, int flag);
int ZELGetBaseChannelFlag(ZELType* ZELdata, int Channel);
void ZELSetUnits(ZELType* ZELdata, int Channel, int Units);
int ZELFetchUnits(ZELType* ZELdata, int Channel);

/* 1 when the slot holds a channel, else 0. */
int ZELIsChannelPresent(ZELType* ZELdata, int Channel);

/* First slot, present or not, whose label is the text, begins with it or contains it; else -1. */
int ZELFindChannelIndexByLabel(ZELType* ZELdata, const char* label);
int ZELFindChannelIndexByStartOfLabel(ZELType* ZELdata, const char* label);
int ZELFindChannelIndexBySubstringOfLabel(ZELType* ZELdata, const char* label);

#ifdef __cplusplus
}
#endif
#endif
