#include "lines/file_reader.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "blocks/zel_histogram.hpp"
#include "blocks/zel_lut.hpp"
#include "blocks/zel_table.hpp"
#include "ground/text_number.hpp"
#include "ground/zel_door.hpp"
#include "lines/channel_records.hpp"
#include "lines/zel_navigate.hpp"
#include "records/mask_seam.hpp"
#include "records/slot.hpp"
#include "zel_door.h"
#include "zel_io.h"
#include "zel_lut.h"

namespace zel {
namespace {

// What the headers before 1.11 leave out follows from the two sensors that they served.
void supplyOldHeader(ZELType& file)
{
    ZELHeaderType& h = file.ZELHeader;
    const bool fullResolution = h.NPixelPerLine == 2048;
    h.SatelliteAltitude = altitudeOfSatellite(h.sat_no);
    h.NumNavPoints = 51;
    h.StartNavPoint = fullResolution ? 24 : 4;
    h.NavPointInterval = fullResolution ? 40 : 8;
    h.DataType = fullResolution ? ZEL_SENSOR_AVHRR_LAC : ZEL_SENSOR_AVHRR_GAC;
    h.SpatialResolution = fullResolution ? 1.1F : 4.0F;
    ZELAddStandardLUTs(&file);
}

void countLines(RecordReader& reader, ZELType& file)
{
    const std::int64_t size = reader.end() - file.fileOffset;
    const std::int64_t lines = (size - file.HeaderOffset) / file.LineOffset;
    reader.require(lines <= INT32_MAX, "number of lines", static_cast<double>(lines));
    file.NumLines = lines > 0 ? static_cast<int32_t>(lines) : 0;
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

}  // namespace

FileReader::FileReader(ZELType& file, std::int64_t position, std::int64_t end)
    : RecordReader(file.fptr, currentVersion, position, end), file_(file)
{
}

// The version of the header that begins here. The reader stays there.
float FileReader::findVersion()
{
    ZELHeaderType header{};
    FieldListener* const to = listener();
    headerBegin_ = position();
    showTo(nullptr);
    walkVersion(*this, header);
    showTo(to);
    seek(headerBegin_);
    setVersion(layoutVersion(header.VersionNumber));
    return header.VersionNumber;
}

// A version that makes no sense is read once more in the other byte order, from the very start of
// the file: files in the other order have no prefix and are no components.
void FileReader::beginHeader(ZELHeaderType& header)
{
    header.VersionNumber = findVersion();
    if (!isReadableVersion(layoutVersion(header.VersionNumber))) {
        const UnsupportedVersion unsupported = {header.VersionNumber, headerBegin_};
        if (!listener()) report("OpenReadOnlyFile: Trying another byte ordering...\n");
        SwapByteOrdering = !SwapByteOrdering;
        seek(0);
        header.VersionNumber = findVersion();
        if (!isReadableVersion(layoutVersion(header.VersionNumber))) throw unsupported;
    }
    if (!since(101)) header.MaxNumChan = since(100) ? 20 : 0;
}

void FileReader::counts(ZELType& file)
{
    ZELHeaderType& h = file.ZELHeader;
    require(h.MaxNumChan >= 1 && h.MaxNumChan <= ZEL_MAX_CHANNELS, "MaxNumChan", h.MaxNumChan);
    require(h.NPixelPerLine >= 1, "NPixelPerLine", h.NPixelPerLine);
    if (since(111)) {
        checkNavigation(h,
                        [this](bool ok, const char* name, int value) { require(ok, name, value); });
        require(h.NumDisplayLUTs >= 0, "NumDisplayLUTs", h.NumDisplayLUTs);
        require(h.TableList.NumTables >= 0, "NumTables", h.TableList.NumTables);
        return;
    }
    if (!listener()) report("old version %2.4f\n", static_cast<double>(h.VersionNumber));
    supplyOldHeader(file);
}

void FileReader::luts(ZELType& file)
{
    readLUTs(*this, file.ZELHeader);
}

void FileReader::tables(TableListType& list)
{
    const bool ofHeader = &list == &file_.ZELHeader.TableList;
    if (!ofHeader) require(list.NumTables >= 0, "channel NumTables", list.NumTables);
    const std::int64_t begin = position();
    surplus_ += readTables(*this, list) - (position() - begin);
    if (ofHeader) checkHeaderLength(position() - file_.fileOffset + surplus_);
}

void FileReader::channel(const ZELChannelType& c)
{
    if (!c.ChannelPresentFlag) return;
    const int size = storedPixelSize(c.Type);
    require(size != 0, "Type", c.Type);
    require(size == c.DataByteSize, "DataByteSize", c.DataByteSize);
}

// The feature layer ends the process with words that name no file, and with the system's last
// error.
void FileReader::mask(ZELChannelType& c)
{
    const auto place = static_cast<long long>(position());
    MaskReading reading{*this, nullptr};
    int status = 0;
    errno = 0;
    if (ZELGuardedCall(readMaskBlock, &reading, &status) != 0)
        failWith(status, "OpenReadOnlyFile: file %s: cannot read classifier mask at offset %lld\n",
                 file_.ImageFilename, place);
    c.Mask = reading.mask;
}

void FileReader::histogram(const ZELType& file, ZELHistogramType*& histogram)
{
    histogram = readHistogram(*this, file.fileOffset);
}

// From 1.41 on a header is as long as what is read of it. The lengths that older ones count leave
// out a prefix, and have both histogram blocks with the bins of the channel's own.
void FileReader::slot(ZELType& file, int slot)
{
    completeChannel(file, slot);
    const ZELChannelType& c = file.Channels[slot];
    if (c.ChannelHistogram && c.ChannelStandardHistogram)
        surplus_ += histogramRecordSize(c.ChannelHistogram->NumHistogramBins) -
                    histogramRecordSize(c.ChannelStandardHistogram->NumHistogramBins);
    const std::int64_t length =
        since(141) ? position() - file_.fileOffset : position() - headerBegin_ + surplus_;
    checkHeaderLength(length);
    file.HeaderOffset = static_cast<int32_t>(length);
}

// Nearly all slots of a full header are absent, and their records are equal; from 1.32 on nothing
// of them depends on the index. The last one is always read: what is wrong with the header as a
// whole is reported at its last field.
bool FileReader::repeats(ZELType& file, int slot)
{
    const std::int64_t size = position() - std::exchange(slotBegin_, position());
    if (slot == 0 || slot + 1 == file.ZELHeader.MaxNumChan || listener()) return false;
    const ZELChannelType& before = file.Channels[slot - 1];
    if (!since(132) || before.ChannelPresentFlag || hasBlocks(before)) return false;
    if (file.HeaderOffset + size > INT32_MAX || !takeRepeated(size)) return false;
    // GCC assigns as much as this by a string instruction, which takes longer.
    std::copy_n(&before, 1, &file.Channels[slot]);
    file.HeaderOffset += static_cast<int32_t>(size);
    return true;
}

void FileReader::checkHeaderLength(std::int64_t length)
{
    require(length <= INT32_MAX, "header length", static_cast<double>(length));
}

void requireLibraryFor(const Prefix& prefix)
{
    if (leadingNumber(prefix.version) > leadingNumber(ZEL_LIBRARY_VERSION_TEXT))
        fail("ZELOpen: Error: ZEL Library version %s or higher needed to open file\n",
             prefix.version);
}

void readFile(FileReader& reader, ZELType& file)
{
    ZELHeaderType& h = file.ZELHeader;
    reader.beginHeader(h);
    h.SZChannelIndex = h.VZChannelIndex = h.AZChannelIndex = -1;
    walkFile(reader, file);
    reader.settle();
    file.NavOffset = navOffset(file);
    placeChannels(file);
    countLines(reader, file);
}

void readComponent(FileReader& reader, ZELType& file)
{
    reader.seek(file.fileOffset);
    if (hasPrefix(reader)) {
        Prefix prefix{};
        walkMagic(reader, prefix);
        requireLibraryFor(prefix);
        walkDirectory(reader, prefix);
    }
    readFile(reader, file);
}

}  // namespace zel
