#include "zel_fetch.h"

#include "ground/zel_door.hpp"
#include "lines/angles.hpp"
#include "lines/zel_navigate.hpp"
#include "records/scaling_table.hpp"
#include "records/slot.hpp"

namespace {

// The slot's channel, when it is present. An index equal to MaxNumChan passes, and programs depend
// on that; the slots after the file's own are empty.
ZELChannelType* presentChannel(ZELType* file, int index)
{
    if (index < 0 || index > file->ZELHeader.MaxNumChan || index >= ZEL_MAX_CHANNELS)
        return nullptr;
    return file->Channels[index].ChannelPresentFlag ? &file->Channels[index] : nullptr;
}

}  // namespace

int ZELFetchDataType(ZELType* ZELdata)
{
    return ZELdata->ZELHeader.DataType;
}

float ZELFetchChannelWavelength(ZELType* ZELdata, int Channel)
{
    return zel::slotOf(ZELdata, Channel, "ZELFetchChannelWavelength").ChannelWaveLength;
}

char* ZELFetchChannelLabel(ZELType* ZELdata, int Channel)
{
    ZELChannelType* channel = presentChannel(ZELdata, Channel);
    return channel ? channel->ChannelLabel : nullptr;
}

char* ZELFetchChannelComment(ZELType* ZELdata, int Channel)
{
    ZELChannelType* channel = presentChannel(ZELdata, Channel);
    return channel ? channel->ChannelComment : nullptr;
}

float ZELFetchChannelMax(ZELType* ZELdata, int Channel)
{
    const ZELChannelType* channel = presentChannel(ZELdata, Channel);
    return channel ? channel->MaxValue : 0.0f;
}

float ZELFetchChannelMin(ZELType* ZELdata, int Channel)
{
    const ZELChannelType* channel = presentChannel(ZELdata, Channel);
    return channel ? channel->MinValue : 0.0f;
}

int ZELFetchChannelByteSize(ZELType* ZELdata, int Channel)
{
    const ZELChannelType* channel = presentChannel(ZELdata, Channel);
    return channel ? channel->DataByteSize : 0;
}

int ZELFetchChannelType(ZELType* ZELdata, int Channel)
{
    const ZELChannelType* channel = presentChannel(ZELdata, Channel);
    return channel ? channel->Type : 0;
}

unsigned char* ZELFetchRawChannelPixels(ZELType* ZELdata, int Channel)
{
    return presentChannel(ZELdata, Channel) ? ZELdata->PixBuf[Channel] : nullptr;
}

int ZELFetchScalingTable(ZELType* ZELdata, int Channel, float* values)
{
    const ZELChannelType* channel = presentChannel(ZELdata, Channel);
    if (!channel || !values) return 0;
    return zel::fillScalingTable(*channel, values);
}

int ZELFetchNumberOfChannels(ZELType* ZELdata)
{
    return ZELdata->NumTotalChans;
}

int ZELFetchNumberOfLines(ZELType* ZELdata)
{
    return ZELdata->NumLines;
}

int ZELFetchNumberOfPixels(ZELType* ZELdata)
{
    return ZELdata->ZELHeader.NPixelPerLine;
}

int ZELFetchCurrentLineNumber(ZELType* ZELdata)
{
    return ZELdata->CurrentLine;
}

double ZELFetchCurrentScanTime(ZELType* ZELdata)
{
    return ZELdata->ScanTime;
}

float* ZELFetchChannel(ZELType* ZELdata, int Channel)
{
    zel::requireReadOnly(*ZELdata, "ZELFetchChannel can only be used on a read only ZEL file\n");
    const ZELChannelType* channel = presentChannel(ZELdata, Channel);
    if (!channel) zel::report("channel %d out of range\n", Channel);
    return channel ? channel->ChannelData : nullptr;
}

void ZELFetchSolar(ZELType* ZELdata, float** sz, float** vz, float** az)
{
    zel::requireAngles(*ZELdata);
    *sz = ZELdata->SolarZenith;
    *vz = ZELdata->ViewZenith;
    *az = ZELdata->Azimuth;
}

void ZELFetchNavigation(ZELType* ZELdata, float** lat, float** lon)
{
    zel::requireReadOnly(*ZELdata, "ZELFetchNavigation can only be used on a read only ZEL file\n");
    zel::positionsOf(*ZELdata);
    *lat = ZELdata->Lat;
    *lon = ZELdata->Lon;
}

void ZELFetchNonInterpolatedNavigation(ZELType* ZELdata, float** lat, float** lon)
{
    *lat = ZELdata->LatBuffer;
    *lon = ZELdata->LonBuffer;
}

ZELHistogramType* ZELFetchChannelHistogam(ZELType* ZELdata, int Channel)
{
    return zel::slotOf(ZELdata, Channel, "ZELFetchChannelHistogam").ChannelHistogram;
}
