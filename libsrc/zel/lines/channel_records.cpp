#include "lines/channel_records.hpp"

#include "ground/text.hpp"
#include "records/buffers.hpp"
#include "records/scaling_table.hpp"
#include "records/slot.hpp"
#include "records/walk.hpp"

namespace zel {
namespace {

// Shortwave channels were reflectances and longer ones temperatures before units were stored.
int unitsOfWavelength(float microns)
{
    if (microns >= 3.5F) return ZEL_UNITS_KELVIN;
    return microns > 0.0F ? ZEL_UNITS_REFLECTANCE : ZEL_UNITS_NONE;
}

bool isAirborneSlot(int slot)
{
    return slot >= 100 && slot <= 149;
}

// Which slots were the sensor's own before the flag was stored.
bool wasBaseSlot(int dataType, int slot)
{
    switch (dataType) {
    case ZEL_SENSOR_MAS:
        return isAirborneSlot(slot);
    case ZEL_SENSOR_VIRS:
    case ZEL_SENSOR_AVHRR_LAC:
    case ZEL_SENSOR_AVHRR_GAC:
        return slot <= 5;
    default:
        return false;
    }
}

}  // namespace

void completeChannel(ZELType& file, int slot)
{
    ZELChannelType& c = file.Channels[slot];
    const ZELHeaderType& h = file.ZELHeader;
    const int version = layoutVersion(h.VersionNumber);
    if (version < 131) c.Units = unitsOfWavelength(c.ChannelWaveLength);
    if (version < 132 && wasBaseSlot(h.DataType, slot)) c.BaseChannelFlag = 1;
    if (version >= 132 && h.DataType == ZEL_SENSOR_MAS && c.ChannelPresentFlag &&
        isAirborneSlot(slot))
        c.BaseChannelFlag = 1;
    if (c.ChannelHistogram) file.HistogramFlag = 1;
    if (c.ChannelPresentFlag) return;
    copyText(c.ChannelLabel, "");
    copyText(c.ChannelComment, "");
}

void allocateChannels(ZELType& file, Tables tables)
{
    for (const auto [slot, channel] : presentChannels(file)) {
        allocateChannel(file, slot, {"OpenReadOnlyFile", slot + 1, "pixel buffer", -1});
        if (tables == Tables::build) channel.ChannelLUT = createScalingTable(channel);
    }
}

void placeChannels(ZELType& file)
{
    int32_t place = file.NavOffset;
    file.NumTotalChans = 0;
    for (int slot = 0; slot < file.ZELHeader.MaxNumChan; ++slot) {
        ZELChannelType& c = file.Channels[slot];
        c.DataOffset = place;
        if (!c.ChannelPresentFlag) continue;
        place += c.DataByteSize * file.ZELHeader.NPixelPerLine;
        ++file.NumTotalChans;
    }
    file.LineOffset = place;
}

}  // namespace zel
