#include "zel_channel.h"

#include <algorithm>
#include <cstring>

#include "blocks/zel_histogram.hpp"
#include "ground/memory.hpp"
#include "ground/text.hpp"
#include "ground/zel_door.hpp"
#include "life/zel_channel.hpp"
#include "lines/channel_records.hpp"
#include "records/mask_seam.hpp"
#include "records/records.hpp"
#include "records/scaling_table.hpp"
#include "records/slot.hpp"
#include "zel_histogram.h"
#include "zel_init.h"
#include "zel_lut.h"
#include "zel_table.h"

namespace {

using zel::fail;

// A file in the wrong mode is reported before a wrong slot.
void requireSlot(const ZELType& file, int slot, const char* function)
{
    zel::requireWriteOnly(file, "ZELAddChannel can only be used on a write only ZEL file\n");
    if (slot < 0 || slot >= file.ZELHeader.MaxNumChan)
        fail("%s: channel index %d out of range\n", function, slot);
}

// The first slot whose label matches.
template <class Matches>
int findSlot(ZELType* file, Matches matches)
{
    for (int i = 0; i < file->ZELHeader.MaxNumChan; ++i)
        if (matches(file->Channels[i].ChannelLabel)) return i;
    return -1;
}

// One of the standard channels of a sensor.
struct StandardChannel {
    const char* label;
    float max, min;
    float wavelength;
    int units;
};

constexpr StandardChannel avhrrChannels[] = {{"1", 100.0f, 0.0f, 0.62f, ZEL_UNITS_PERCENT_ALBEDO},
                                             {"2", 100.0f, 0.0f, 0.83f, ZEL_UNITS_PERCENT_ALBEDO},
                                             {"3T", 330.0f, 180.0f, 3.73f, ZEL_UNITS_KELVIN},
                                             {"4", 330.0f, 180.0f, 11.0f, ZEL_UNITS_KELVIN},
                                             {"5", 330.0f, 180.0f, 12.0f, ZEL_UNITS_KELVIN},
                                             {"3R", 100.0f, 0.0f, 3.73f, ZEL_UNITS_PERCENT_ALBEDO}};

constexpr StandardChannel virsChannels[] = {{"1", 1.0f, 0.0f, 0.63f, ZEL_UNITS_REFLECTANCE},
                                            {"2", 1.0f, 0.0f, 1.6f, ZEL_UNITS_REFLECTANCE},
                                            {"3T", 330.0f, 180.0f, 3.75f, ZEL_UNITS_KELVIN},
                                            {"4", 330.0f, 180.0f, 10.8f, ZEL_UNITS_KELVIN},
                                            {"5", 330.0f, 180.0f, 12.0f, ZEL_UNITS_KELVIN},
                                            {"3R", 1.0f, 0.0f, 3.75f, ZEL_UNITS_REFLECTANCE}};

template <std::size_t N>
void addStandardChannels(ZELType* file, const StandardChannel (&channels)[N], int storageCode)
{
    const int bits = storageCode == ZEL_STORED_BYTE_SCALED     ? 8
                     : storageCode == ZEL_STORED_UINT16_SCALED ? 10
                                                               : 0;
    for (std::size_t i = 0; i < N; ++i) {
        const StandardChannel& c = channels[i];
        ZELAddSensorBaseChannel(file, static_cast<int>(i), c.max, c.min, storageCode, bits, c.label,
                                "Calibration version 1.0", c.wavelength, c.units);
    }
}

}  // namespace

void zel::copyDescription(ZELChannelType& dest, ZELChannelType& src)
{
    dest.ChannelPresentFlag = src.ChannelPresentFlag;
    dest.ChannelWaveLength = src.ChannelWaveLength;
    dest.MaxValue = src.MaxValue;
    dest.MinValue = src.MinValue;
    dest.Type = src.Type;
    dest.DataByteSize = src.DataByteSize;
    dest.DataBitResolution = src.DataBitResolution;
    dest.Units = src.Units;
    dest.BaseChannelFlag = src.BaseChannelFlag;
    copyText(dest.ChannelLabel, src.ChannelLabel);
    copyText(dest.ChannelComment, src.ChannelComment);
    dest.Mask = duplicateMask(src.Mask);
    ZELCopyTableList(&dest.TableList, &src.TableList);
    dest.ChannelStandardHistogram = duplicateHistogram(src.ChannelStandardHistogram);
}

void ZELAddChannel(ZELType* ZELdata, int Channel, float MaxVal, float MinVal, int ArchiveType,
                   int BitResolution, const char* ChanLabel, const char* ChanComm)
{
    requireSlot(*ZELdata, Channel, "ZELAddChannel");
    if (ZELdata->FileOpened)
        fail("ZELAddChannel: Cannot add a channel to a Write Only file after the file is "
             "opened...exiting...\n");
    const int pixelSize = zel::storedPixelSize(ArchiveType);
    if (pixelSize == 0) fail("ZELAddChannel: invalid storage code %d\n", ArchiveType);
    ZELChannelType& channel = ZELdata->Channels[Channel];
    channel.ChannelPresentFlag = 1;
    channel.BaseChannelFlag = 0;
    zel::copyText(channel.ChannelLabel, ChanLabel);
    zel::copyText(channel.ChannelComment, ChanComm);
    channel.Type = ArchiveType;
    channel.MaxValue = MaxVal;
    channel.MinValue = MinVal;
    channel.DataBitResolution = BitResolution;
    channel.DataByteSize = pixelSize;
    zel::releaseScalingTable(channel);
    channel.ChannelLUT = zel::createScalingTable(channel);
    if (ZELdata->HistogramFlag) channel.UpdateChannelHistogramFlag = 1;
}

void ZELAddLUTChannel(ZELType* ZELdata, int Channel, float MaxVal, float MinVal, int ArchiveType,
                      int BitResolution, const char* ChanLabel, const char* ChanComm)
{
    ZELAddSensorChannel(ZELdata, Channel, MaxVal, MinVal, ArchiveType, BitResolution, ChanLabel,
                        ChanComm, 0.0f, ZEL_UNITS_LUT);
}

void ZELAddMaskChannel(ZELType* ZELdata, ZELFeatureMaskType* FeatureMask, int Channel, float MaxVal,
                       float MinVal, int ArchiveType, int BitResolution, const char* ChanLabel,
                       const char* ChanComm)
{
    requireSlot(*ZELdata, Channel, "ZELAddMaskChannel");
    ZELChannelType& channel = ZELdata->Channels[Channel];
    if (channel.Mask != FeatureMask) zel::freeMask(channel.Mask);
    channel.Mask = FeatureMask;
    ZELAddLUTChannel(ZELdata, Channel, MaxVal, MinVal, ArchiveType, BitResolution, ChanLabel,
                     ChanComm);
}

void ZELAddSensorChannel(ZELType* ZELdata, int Channel, float MaxVal, float MinVal, int ArchiveType,
                         int BitResolution, const char* ChanLabel, const char* ChanComm,
                         float WaveLength, int Units)
{
    requireSlot(*ZELdata, Channel, "ZELAddChannel");
    ZELdata->Channels[Channel].ChannelWaveLength = WaveLength;
    ZELdata->Channels[Channel].Units = Units;
    ZELAddChannel(ZELdata, Channel, MaxVal, MinVal, ArchiveType, BitResolution, ChanLabel,
                  ChanComm);
}

void ZELAddSensorBaseChannel(ZELType* ZELdata, int Channel, float MaxVal, float MinVal,
                             int ArchiveType, int BitResolution, const char* ChanLabel,
                             const char* ChanComm, float WaveLength, int Units)
{
    ZELAddSensorChannel(ZELdata, Channel, MaxVal, MinVal, ArchiveType, BitResolution, ChanLabel,
                        ChanComm, WaveLength, Units);
    ZELdata->Channels[Channel].BaseChannelFlag = 1;
}

void ZELAddSpecialChannel(ZELType* ZELdata, int Channel, float MaxVal, float MinVal,
                          int ArchiveType, int BitResolution, const char* ChanLabel,
                          const char* ChanComm)
{
    ZELAddSensorChannel(ZELdata, Channel, MaxVal, MinVal, ArchiveType, BitResolution, ChanLabel,
                        ChanComm, -99.0f, ZEL_UNITS_NONE);
}

void ZELAddStandardAVHRRChannels(ZELType* ZELdata, int ByteSize)
{
    zel::requireWriteOnly(
        *ZELdata, "ZELAddStandardAVHRRChannels can only be used on a write only ZEL file\n");
    addStandardChannels(ZELdata, avhrrChannels, ByteSize);
}

void ZELAddStandardVIRSChannels(ZELType* ZELdata, int ByteSize)
{
    zel::requireWriteOnly(*ZELdata,
                          "ZELAddStandardVIRSChannels can only be used on a write only ZEL file\n");
    addStandardChannels(ZELdata, virsChannels, ByteSize);
}

void ZELLoadChannel(ZELType* ZELdata, int Channel, const float* Data)
{
    zel::requireWriteOnly(*ZELdata, "ZELLoadChannel can only be used on a write only ZEL file\n");
    const bool present =
        Channel >= 0 && Channel < ZEL_MAX_CHANNELS && ZELdata->Channels[Channel].ChannelPresentFlag;
    if (!present) fail("Attempted to load undefined channel index %d.. Exiting...\n", Channel);
    ZELChannelType& channel = ZELdata->Channels[Channel];
    if (!channel.ChannelData) fail("ZELLoadChannel: the file is not open for writing\n");
    std::copy_n(Data, ZELdata->ZELHeader.NPixelPerLine, channel.ChannelData);
    channel.LoadChannelFlag = 1;
}

void ZELDeleteChannel(ZELType* ZELdata, int Channel)
{
    ZELChannelType& channel = zel::slotOf(ZELdata, Channel, "ZELDeleteChannel");
    if (ZELdata->ReadWriteFlag == ZEL_WRITE_ONLY && ZELdata->FileOpened &&
        channel.ChannelPresentFlag)
        zel::reportTo(stderr,
                      "ZELDeleteChannel: warning: the header of file %s says that its lines have "
                      "channel %d: lines without it are not read as they are written\n",
                      ZELdata->ImageFilename, Channel);
    zel::releaseScalingTable(channel);
    zel::freeHistograms(channel);
    channel.ChannelPresentFlag = 0;
}

void ZELCopyFileHeaders(ZELType* ZELdataNew, ZELType* ZELdataOrig)
{
    ZELHeaderType& from = ZELdataOrig->ZELHeader;
    ZELInitNewWriteOnlyFile(ZELdataNew, from.DataType, from.DataComment, from.year, from.julian,
                            from.sat_no, from.NPixelPerLine, from.NumNavPoints, from.StartNavPoint,
                            from.NavPointInterval, from.SatelliteAltitude, from.SpatialResolution);
    ZELHeaderType& to = ZELdataNew->ZELHeader;
    to.MetaDataType = from.MetaDataType;
    to.MetaDataSize = from.MetaDataSize;
    std::memcpy(to.MetaDataText, from.MetaDataText, ZEL_METADATA_SIZE);
    to.SZChannelIndex = from.SZChannelIndex;
    to.VZChannelIndex = from.VZChannelIndex;
    to.AZChannelIndex = from.AZChannelIndex;
    to.MaxNumChan = from.MaxNumChan;
    ZELdataNew->NavOffset = ZELdataOrig->NavOffset;
    ZELdataNew->NumLines = ZELdataOrig->NumLines;
    if (from.NumDisplayLUTs > 0) ZELCopyFileLUTs(ZELdataNew, ZELdataOrig);
    if (from.TableList.NumTables > 0) ZELCopyFileTables(ZELdataNew, ZELdataOrig);
    ZELdataNew->HistogramFlag = ZELdataOrig->HistogramFlag;
    for (int i = 0; i < ZEL_MAX_CHANNELS; ++i) {
        zel::copyDescription(ZELdataNew->Channels[i], ZELdataOrig->Channels[i]);
        ZELdataNew->Channels[i].LoadChannelFlag = ZELdataOrig->Channels[i].LoadChannelFlag;
    }
    zel::placeChannels(*ZELdataNew);
}

void ZELSetChannelWavelength(ZELType* ZELdata, int Channel, float WaveLength)
{
    zel::slotOf(ZELdata, Channel, "ZELSetChannelWavelength").ChannelWaveLength = WaveLength;
}

void ZELSetBaseChannelFlag(ZELType* ZELdata, int Channel, int flag)
{
    zel::slotOf(ZELdata, Channel, "ZELSetBaseChannelFlag").BaseChannelFlag = flag;
}

int ZELGetBaseChannelFlag(ZELType* ZELdata, int Channel)
{
    return zel::slotOf(ZELdata, Channel, "ZELGetBaseChannelFlag").BaseChannelFlag;
}

void ZELSetUnits(ZELType* ZELdata, int Channel, int Units)
{
    zel::slotOf(ZELdata, Channel, "ZELSetUnits").Units = Units;
}

int ZELFetchUnits(ZELType* ZELdata, int Channel)
{
    return zel::slotOf(ZELdata, Channel, "ZELFetchUnits").Units;
}

int ZELIsChannelPresent(ZELType* ZELdata, int Channel)
{
    const bool slot = Channel >= 0 && Channel < ZEL_MAX_CHANNELS;
    return slot && ZELdata->Channels[Channel].ChannelPresentFlag ? 1 : 0;
}

int ZELFindChannelIndexByLabel(ZELType* ZELdata, const char* label)
{
    return findSlot(ZELdata, [&](const char* text) { return std::strcmp(text, label) == 0; });
}

int ZELFindChannelIndexByStartOfLabel(ZELType* ZELdata, const char* label)
{
    const std::size_t length = std::strlen(label);
    return findSlot(ZELdata,
                    [&](const char* text) { return std::strncmp(text, label, length) == 0; });
}

int ZELFindChannelIndexBySubstringOfLabel(ZELType* ZELdata, const char* label)
{
    return findSlot(ZELdata, [&](const char* text) { return std::strstr(text, label) != nullptr; });
}
