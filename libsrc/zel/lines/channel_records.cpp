#include "lines/channel_records.hpp"

#include <cerrno>
#include <cstring>

#include "blocks/zel_histogram.hpp"
#include "blocks/zel_table.hpp"
#include "ground/memory.hpp"
#include "ground/zel_door.hpp"
#include "records/mask_seam.hpp"
#include "records/pixels.hpp"
#include "records/records.hpp"
#include "zel_door.h"
#include "zel_histogram.h"
#include "zel_table.h"

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

void supplyOldFields(const RecordReader& reader, const ZELHeaderType& h, ZELChannelType& c,
                     int slot)
{
    if (!reader.since(131)) c.Units = unitsOfWavelength(c.ChannelWaveLength);
    if (!reader.since(132) && wasBaseSlot(h.DataType, slot)) c.BaseChannelFlag = 1;
    if (reader.since(132) && h.DataType == ZEL_SENSOR_MAS && c.ChannelPresentFlag &&
        isAirborneSlot(slot))
        c.BaseChannelFlag = 1;
}

void readChannelTables(RecordReader& reader, ZELChannelType& c)
{
    int16_t count = 0;
    reader.field("channel NumTables", count);
    reader.require(count >= 0, "channel NumTables", count);
    c.TableList.NumTables = count;
    if (count > 0) readTables(reader, c.TableList);
}

ZELHistogramType* readOptionalHistogram(RecordReader& reader, const ZELType& file, const char* name)
{
    unsigned char present = 0;
    reader.field(name, present);
    return present ? readHistogram(reader, file.fileOffset) : nullptr;
}

// Both histogram blocks. Returns their length as old headers count it: both blocks with the bins of
// the channel's own histogram.
std::int64_t readHistograms(RecordReader& reader, ZELType& file, ZELChannelType& c)
{
    c.ChannelHistogram = readOptionalHistogram(reader, file, "histogram presence");
    if (c.ChannelHistogram) file.HistogramFlag = 1;
    c.ChannelStandardHistogram = readOptionalHistogram(reader, file, "standard histogram presence");
    const ZELHistogramType* counted =
        c.ChannelHistogram ? c.ChannelHistogram : c.ChannelStandardHistogram;
    if (!counted) return 2;
    const int blocks = (c.ChannelHistogram ? 1 : 0) + (c.ChannelStandardHistogram ? 1 : 0);
    return 2 + blocks * histogramRecordSize(counted->NumHistogramBins);
}

void checkStorage(RecordReader& reader, const ZELChannelType& c)
{
    const int size = storedPixelSize(c.Type);
    reader.require(size != 0, "Type", c.Type);
    reader.require(size == c.DataByteSize, "DataByteSize", c.DataByteSize);
}

void allocateChannel(ZELType& file, int slot)
{
    ZELChannelType& c = file.Channels[slot];
    const auto pixels = static_cast<std::size_t>(file.ZELHeader.NPixelPerLine);
    c.ChannelData = allocate<float>(pixels);
    if (!c.ChannelData)
        failWith(-3, "OpenReadOnlyFile: cannot allocate memory for channel %d\n", slot + 1);
    file.PixBuf[slot] = allocate<unsigned char>(pixels * static_cast<std::size_t>(c.DataByteSize));
    if (!file.PixBuf[slot]) fail("OpenReadOnlyFile: cannot allocate pixel buffer\n");
    c.ChannelLUT = createScalingTable(c);
}

struct MaskReading {
    RecordReader& reader;
    ZELFeatureMaskType* mask;
};

void readMaskBlock(void* data)
{
    auto& reading = *static_cast<MaskReading*>(data);
    reading.mask = readMask(reading.reader);
}

// The feature layer ends the process with words that name no file, and with the system's last error.
ZELFeatureMaskType* readMaskOf(RecordReader& reader, const ZELType& file)
{
    const auto place = static_cast<long long>(reader.position());
    MaskReading reading{reader, nullptr};
    int status = 0;
    errno = 0;
    if (ZELGuardedCall(readMaskBlock, &reading, &status) != 0)
        failWith(status, "OpenReadOnlyFile: file %s: cannot read classifier mask at offset %lld\n",
                 file.ImageFilename, place);
    return reading.mask;
}

void clearTexts(ZELChannelType& c)
{
    std::memset(c.ChannelLabel, 0, sizeof c.ChannelLabel);
    std::memset(c.ChannelComment, 0, sizeof c.ChannelComment);
}

// One slot; returns the length that headers before 1.41 count for it.
std::int64_t readSlot(RecordReader& reader, ZELType& file, int slot)
{
    ZELChannelType& c = file.Channels[slot];
    walkChannel(reader, c);
    if (c.ChannelPresentFlag) checkStorage(reader, c);
    supplyOldFields(reader, file.ZELHeader, c, slot);
    if (reader.since(141)) c.Mask = readMaskOf(reader, file);
    if (reader.since(211)) readChannelTables(reader, c);
    std::int64_t length = channelRecordSize(layoutVersion(file.ZELHeader.VersionNumber));
    if (reader.since(121)) length += readHistograms(reader, file, c);
    if (c.ChannelPresentFlag)
        allocateChannel(file, slot);
    else
        clearTexts(c);
    return length;
}

void writeOptionalHistogram(ZELType& file, ZELHistogramType* histogram)
{
    RecordWriter writer(file.fptr);
    const unsigned char present = histogram ? 1 : 0;
    writer.field("histogram presence", present);
    if (histogram) ZELWriteHistogram(&file, histogram);
}

}  // namespace

void readChannels(RecordReader& reader, ZELType& file)
{
    std::int64_t headerEnd = file.HeaderOffset;
    for (int slot = 0; slot < file.ZELHeader.MaxNumChan; ++slot) {
        headerEnd += readSlot(reader, file, slot);
        if (reader.since(141)) headerEnd = reader.position() - file.fileOffset;
        reader.require(headerEnd <= INT32_MAX, "header length", static_cast<double>(headerEnd));
    }
    file.HeaderOffset = static_cast<int32_t>(headerEnd);
    placeChannels(file);
}

void placeChannels(ZELType& file)
{
    file.NumTotalChans = 0;
    file.LineOffset = file.NavOffset;
    for (int slot = 0; slot < file.ZELHeader.MaxNumChan; ++slot) {
        ZELChannelType& c = file.Channels[slot];
        c.DataOffset = file.LineOffset;
        if (!c.ChannelPresentFlag) continue;
        ++file.NumTotalChans;
        file.LineOffset += c.DataByteSize * file.ZELHeader.NPixelPerLine;
    }
}

void writeChannels(ZELType& file)
{
    RecordWriter writer(file.fptr);
    for (int slot = 0; slot < file.ZELHeader.MaxNumChan; ++slot) {
        ZELChannelType& c = file.Channels[slot];
        walkChannel(writer, c);
        if (!writeMask(file.fptr, c.Mask))
            fail("ZELOpenWriteOnlyFile: write error on file %s: %s\n", file.ImageFilename,
                 std::strerror(errno));
        writer.field("channel NumTables", c.TableList.NumTables);
        if (c.TableList.NumTables > 0) ZELWriteTables(file.fptr, &c.TableList);
        writeOptionalHistogram(file, file.HistogramFlag ? c.ChannelHistogram : nullptr);
        writeOptionalHistogram(file, c.ChannelStandardHistogram);
    }
}

}  // namespace zel
