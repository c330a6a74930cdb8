#include "zel_open.h"

#include <cstdlib>
#include <cstring>

#include "blocks/zel_lut.hpp"
#include "blocks/zel_table.hpp"
#include "ground/text.hpp"
#include "ground/text_number.hpp"
#include "ground/zel_door.hpp"
#include "lines/channel_records.hpp"
#include "lines/composite_seam.hpp"
#include "records/buffers.hpp"
#include "records/file_state.hpp"
#include "records/prefix.hpp"
#include "records/release_seam.hpp"
#include "zel_ancillary.h"
#include "zel_io.h"
#include "zel_lut.h"

namespace {

using zel::RecordReader;
using zel::report;

// Length of the header up to its LUT and table blocks, without and with the prefix.
constexpr int headerLength = 2040;
constexpr int prefixedHeaderLength = compositeHeaderOffset + headerLength;

bool isReadable(int version)
{
    return version > 0 && version <= zel::currentVersion;
}

void beginReading(ZELType& file, const char* filename, int fileOffset)
{
    zel::clearRecord(file);
    file.fileOffset = fileOffset;
    file.ReadWriteFlag = ZEL_READ_ONLY;
    file.numZELComponents = 1;
    file.PreviousLine = -2;
    zel::copyText(file.ImageFilename, filename);
}

void readPrefix(RecordReader& reader, const ZELType& file)
{
    zel::Prefix prefix{};
    reader.array("magic", prefix.magic, 3);
    reader.seek(file.fileOffset);
    if (std::strcmp(prefix.magic, ZELString) != 0) return;
    zel::walkMagic(reader, prefix);
    if (zel::leadingNumber(prefix.version) > zel::leadingNumber(ZEL_LIBRARY_VERSION_TEXT))
        zel::fail("ZELOpen: Error: ZEL Library version %s or higher needed to open file\n",
                  prefix.version);
    zel::walkDirectory(reader, prefix);
}

// A version that makes no sense is read once more in the other byte order, from the very start of the
// file: files in the other order have no prefix and are no components.
bool readVersion(RecordReader& reader, ZELHeaderType& header)
{
    zel::walkVersion(reader, header);
    if (!isReadable(zel::layoutVersion(header.VersionNumber))) {
        report("OpenReadOnlyFile: Trying another byte ordering...\n");
        SwapByteOrdering = !SwapByteOrdering;
        reader.seek(0);
        zel::walkVersion(reader, header);
    }
    const int version = zel::layoutVersion(header.VersionNumber);
    if (!isReadable(version)) {
        report("OpenReadOnlyFile: unsupported data type\n");
        return false;
    }
    reader.setVersion(version);
    return true;
}

// What the headers before 1.11 leave out follows from the two sensors that they served.
void supplyOldHeader(ZELType& file)
{
    ZELHeaderType& h = file.ZELHeader;
    report("old version %2.4f\n", static_cast<double>(h.VersionNumber));
    const bool fullResolution = h.NPixelPerLine == 2048;
    h.SatelliteAltitude = h.sat_no % 2 != 0 ? 860.0F : 820.0F;
    h.NumNavPoints = 51;
    h.StartNavPoint = fullResolution ? 24 : 4;
    h.NavPointInterval = fullResolution ? 40 : 8;
    h.DataType = fullResolution ? ZEL_SENSOR_AVHRR_LAC : ZEL_SENSOR_AVHRR_GAC;
    h.SpatialResolution = fullResolution ? 1.1F : 4.0F;
    ZELAddStandardLUTs(&file);
}

// The navigation points of a header lie inside a line and go forward.
void checkNavigation(RecordReader& reader, const ZELHeaderType& h)
{
    reader.require(h.NumNavPoints >= 0 && h.NumNavPoints <= INT16_MAX, "NumNavPoints",
                   h.NumNavPoints);
    const bool startsInside = h.StartNavPoint >= 0 && h.StartNavPoint < h.NPixelPerLine;
    reader.require(h.NumNavPoints < 2 || startsInside, "StartNavPoint", h.StartNavPoint);
    reader.require(h.NumNavPoints < 2 || h.NavPointInterval >= 1, "NavPointInterval",
                   h.NavPointInterval);
}

// The LUT and table blocks; returns the length that they add to the header.
std::int64_t readBlocks(RecordReader& reader, ZELType& file)
{
    ZELHeaderType& h = file.ZELHeader;
    std::int64_t length = 0;
    if (h.NumDisplayLUTs > 0) length += zel::readLUTs(reader, file);
    if (h.TableList.NumTables > 0) length += zel::readTables(reader, h.TableList);
    return length;
}

void readHeader(RecordReader& reader, ZELType& file)
{
    ZELHeaderType& h = file.ZELHeader;
    if (!reader.since(101)) h.MaxNumChan = reader.since(100) ? 20 : 0;
    zel::walkHeader(reader, h);
    reader.require(h.MaxNumChan >= 1 && h.MaxNumChan <= ZEL_MAX_CHANNELS, "MaxNumChan",
                   h.MaxNumChan);
    reader.require(h.NPixelPerLine >= 1, "NPixelPerLine", h.NPixelPerLine);
    h.SZChannelIndex = h.VZChannelIndex = h.AZChannelIndex = -1;
    std::int64_t length = reader.since(101) ? 14 : 12;
    if (!reader.since(111)) {
        supplyOldHeader(file);
    } else {
        checkNavigation(reader, h);
        reader.require(h.NumDisplayLUTs >= 0, "NumDisplayLUTs", h.NumDisplayLUTs);
        reader.require(h.TableList.NumTables >= 0, "NumTables", h.TableList.NumTables);
        length =
            (reader.since(151) ? prefixedHeaderLength : headerLength) + readBlocks(reader, file);
    }
    reader.require(length <= INT32_MAX, "header length", static_cast<double>(length));
    zel::walkHeaderEnd(reader, h);
    file.HeaderOffset = static_cast<int32_t>(length);
    file.NavOffset = zel::navOffset(zel::layoutVersion(h.VersionNumber), h.NumNavPoints);
}

void countLines(RecordReader& reader, ZELType& file, std::int64_t size)
{
    const std::int64_t lines = (size - file.HeaderOffset) / file.LineOffset;
    reader.require(lines <= INT32_MAX, "number of lines", static_cast<double>(lines));
    file.NumLines = lines > 0 ? static_cast<int32_t>(lines) : 0;
}

// Everything up to the first line. False when the version is none that the library reads.
bool readFile(ZELType& file, std::int64_t end)
{
    RecordReader reader(file.fptr, zel::currentVersion, file.fileOffset, end);
    reader.seek(file.fileOffset);
    readPrefix(reader, file);
    if (!readVersion(reader, file.ZELHeader)) return false;
    readHeader(reader, file);
    zel::readChannels(reader, file);
    countLines(reader, file, end - file.fileOffset);
    return true;
}

void allocateBuffers(ZELType& file)
{
    static constexpr const char* function = "OpenReadOnlyFile";
    const ZELHeaderType& h = file.ZELHeader;
    zel::allocateNavigation(file, function);
    zel::allocateLineBuffers(
        file, {function, h.SZChannelIndex < 0, h.VZChannelIndex < 0, h.AZChannelIndex < 0});
}

int localByteOrder()
{
    const int order = SwapByteOrdering;
    CheckByteOrder();
    const int host = SwapByteOrdering;
    SwapByteOrdering = order;
    return host;
}

int versionAt(FILE* stream, int swap)
{
    float number = 0.0F;
    checkRead(swap, &number, sizeof number, 1, stream);
    return zel::layoutVersion(number);
}

}  // namespace

int ZELOpenReadOnlyFile(ZELType* ZELdata, const char* RawFileName)
{
    zel::Directory directory;
    if (!zel::readDirectory(RawFileName, directory)) {
        beginReading(*ZELdata, RawFileName, 0);
        return -1;
    }
    if (directory.isComposite) return zel::openComposite(ZELdata, RawFileName, directory);
    return OpenReadOnlyFile(ZELdata, RawFileName, 0, 0);
}

int OpenReadOnlyFile(ZELType* ZELdata, const char* RawFileName, int fileOffset, int numBytes)
{
    CheckByteOrder();
    beginReading(*ZELdata, RawFileName, fileOffset);
    ZELdata->fptr = std::fopen(RawFileName, "rb");
    if (!ZELdata->fptr) {
        report("OpenReadOnlyFile: cannot open file %s\n", RawFileName);
        return -1;
    }
    try {
        const std::int64_t length = zel::lengthOf(ZELdata->fptr);
        const std::int64_t end = static_cast<std::int64_t>(fileOffset) + numBytes;
        if (!readFile(*ZELdata, numBytes != 0 && end < length ? end : length)) return -2;
    } catch (const zel::Damage& damage) {
        report("OpenReadOnlyFile: corrupt file %s: %s at offset %lld\n", RawFileName, damage.what,
               static_cast<long long>(damage.offset));
        zel::closeStream(*ZELdata);
        zel::releaseData(*ZELdata);
        return -2;
    }
    allocateBuffers(*ZELdata);
    zel::stateOf(*ZELdata)->order.note();
    ZELAncillaryReadFiles();
    ZELClearBadLatLonCount();
    return 0;
}

int ZELCheckFileVersion(FILE* fptr)
{
    const int host = localByteOrder();
    zel::Prefix prefix{};
    const bool magic =
        checkRead(host, prefix.magic, 1, 3, fptr) == 3 && std::strcmp(prefix.magic, ZELString) == 0;
    if (magic) {
        checkRead(host, prefix.version, 1, 10, fptr);
        const char* point = std::strchr(prefix.version, '.');
        const int major = std::atoi(prefix.version);
        report("Major version %d Minor version %d\n", major, point ? std::atoi(point + 1) : 0);
        // A prefixed file of major version 1 is tested right behind the version text.
        if (major > 1) fseeko(fptr, compositeHeaderOffset, SEEK_SET);
    } else {
        fseeko(fptr, 0, SEEK_SET);
    }
    bool readable = isReadable(versionAt(fptr, host));
    if (!readable) {
        report("ZELCheckFileVersion: Trying another byte ordering...\n");
        fseeko(fptr, 0, SEEK_SET);
        readable = isReadable(versionAt(fptr, !host));
    }
    if (!readable) {
        report("ZELCheckFileVersion: unsupported data type\n");
        return 0;
    }
    fseeko(fptr, 0, SEEK_SET);
    return 1;
}
