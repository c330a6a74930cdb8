#include "zel_open.h"

#include <cstdlib>
#include <cstring>

#include "ground/memory.hpp"
#include "ground/text.hpp"
#include "ground/zel_door.hpp"
#include "ground/zel_io.hpp"
#include "lines/channel_records.hpp"
#include "lines/composite_seam.hpp"
#include "lines/file_reader.hpp"
#include "lines/open.hpp"
#include "records/buffers.hpp"
#include "records/file_state.hpp"
#include "records/name_keeper.hpp"
#include "records/prefix.hpp"
#include "records/release_seam.hpp"
#include "zel_ancillary.h"
#include "zel_io.h"

namespace {

using zel::report;
using zel::Tables;

// Results of an open.
constexpr int done = 0;
constexpr int unreadable = -1;
constexpr int damaged = -2;

void beginReading(ZELType& file, const char* filename, int fileOffset)
{
    zel::clearRecord(file);
    file.fileOffset = fileOffset;
    file.ReadWriteFlag = ZEL_READ_ONLY;
    file.numZELComponents = 1;
    file.PreviousLine = -2;
    zel::copyText(file.ImageFilename, filename);
}

void allocateBuffers(ZELType& file)
{
    static constexpr const char* function = "OpenReadOnlyFile";
    const ZELHeaderType& h = file.ZELHeader;
    zel::allocateNavigation(file, function);
    zel::allocateLineBuffers(
        file, {function, h.SZChannelIndex < 0, h.VZChannelIndex < 0, h.AZChannelIndex < 0});
}

// What an open does when the header has been read.
void finishOpening(ZELType& file, Tables tables)
{
    zel::allocateChannels(file, tables);
    allocateBuffers(file);
    zel::stateOf(file)->order.note();
    ZELAncillaryReadFiles();
    ZELClearBadLatLonCount();
}

enum class Outcome { whole, otherVersion, broken };

// read() reads the header of a file whose stream is open. Nothing is left of one that is damaged.
template <class Read>
Outcome readHeader(ZELType& file, Read read)
{
    try {
        read();
        return Outcome::whole;
    } catch (const zel::UnsupportedVersion&) {
        report("OpenReadOnlyFile: unsupported data type\n");
        return Outcome::otherVersion;
    } catch (const zel::Damage& damage) {
        report("OpenReadOnlyFile: corrupt file %s: %s at offset %lld\n", file.ImageFilename,
               damage.what, static_cast<long long>(damage.offset));
        zel::releaseData(file);
        return Outcome::broken;
    }
}

// Reads a plain file, or a component of numBytes, from the file's stream.
void readPart(ZELType& file, int fileOffset, int numBytes)
{
    const std::int64_t length = zel::lengthOf(file.fptr);
    const std::int64_t end = static_cast<std::int64_t>(fileOffset) + numBytes;
    zel::ReadAhead ahead;
    zel::FileReader reader(file, fileOffset, numBytes != 0 && end < length ? end : length);
    reader.readAhead(ahead);
    zel::readComponent(reader, file);
}

template <class Read>
int open(ZELType& file, Tables tables, Read read)
{
    const Outcome outcome = readHeader(file, read);
    if (outcome == Outcome::broken) zel::closeStream(file);
    if (outcome != Outcome::whole) return damaged;
    finishOpening(file, tables);
    return done;
}

// Whoever reads a header alone may ask for the byte order, and has no stream to close.
int finishHeader(ZELType& file, Outcome outcome)
{
    file.fptr = nullptr;
    if (outcome != Outcome::whole) return damaged;
    zel::FileState* state = zel::makeState(file);
    if (!state) zel::fail("ZELReadStreamHeader: cannot allocate memory\n");
    state->order.note();
    return done;
}

int localByteOrder()
{
    const int order = SwapByteOrdering;
    CheckByteOrder();
    const int host = SwapByteOrdering;
    SwapByteOrdering = order;
    return host;
}

bool isReadableAt(FILE* stream, int swap)
{
    float number = 0.0F;
    checkRead(swap, &number, sizeof number, 1, stream);
    return zel::isReadableVersion(zel::layoutVersion(number));
}

}  // namespace

int zel::openWhole(ZELType& file, const char* filename, Tables tables)
{
    const NameKeeper kept(file);
    Directory directory;
    OpenedFile stream = openDirectory("ZELReadCompositeInfo", filename, directory);
    if (stream && directory.isComposite) {
        stream.reset();
        return openComposite(&file, kept(filename), directory, tables);
    }
    beginReading(file, kept(filename), 0);
    if (!stream) return unreadable;
    file.fptr = stream.release();
    return open(file, tables, [&] {
        requireLibraryFor(directory.prefix);
        if (directory.isDamaged) throw directory.damage;
        ReadAhead ahead;
        FileReader reader(file, directory.headerOffset, directory.fileSize);
        reader.readAhead(ahead);
        readFile(reader, file);
    });
}

int zel::openPart(ZELType& file, const char* filename, int fileOffset, int numBytes, Tables tables)
{
    const NameKeeper kept(file);
    const char* name = kept(filename);
    CheckByteOrder();
    beginReading(file, name, fileOffset);
    file.fptr = zel::openToRead(name);
    if (!file.fptr) {
        report("OpenReadOnlyFile: cannot open file %s\n", name);
        return unreadable;
    }
    return open(file, tables, [&] { readPart(file, fileOffset, numBytes); });
}

int ZELOpenReadOnlyFile(ZELType* ZELdata, const char* RawFileName)
{
    return zel::openWhole(*ZELdata, RawFileName, Tables::build);
}

int ZELOpenReadOnlyFileNoTables(ZELType* ZELdata, const char* RawFileName)
{
    return zel::openWhole(*ZELdata, RawFileName, Tables::leaveOut);
}

int OpenReadOnlyFile(ZELType* ZELdata, const char* RawFileName, int fileOffset, int numBytes)
{
    return zel::openPart(*ZELdata, RawFileName, fileOffset, numBytes, Tables::build);
}

int ZELReadStreamHeader(ZELType* ZELdata, FILE* stream, const char* name, int fileOffset,
                        int numBytes)
{
    CheckByteOrder();
    beginReading(*ZELdata, name, fileOffset);
    ZELdata->fptr = stream;
    const Outcome outcome = readHeader(*ZELdata, [&] { readPart(*ZELdata, fileOffset, numBytes); });
    return finishHeader(*ZELdata, outcome);
}

int ZELIsByteSwapped(ZELType* ZELdata)
{
    return zel::isByteSwapped(*ZELdata) ? 1 : 0;
}

int64_t ZELFetchPlaceInLine(ZELType* ZELdata, const char* field)
{
    zel::LayoutSize layout(zel::layoutVersion(ZELdata->ZELHeader.VersionNumber), field);
    zel::walkLineStart(layout, *ZELdata);
    return layout.place();
}

int ZELCheckFileVersion(FILE* fptr)
{
    const int host = localByteOrder();
    zel::Prefix prefix{};
    const bool magic = checkRead(host, prefix.magic, 1, zel::magicSize, fptr) == zel::magicSize &&
                       std::strcmp(prefix.magic, ZELString) == 0;
    if (magic) {
        checkRead(host, prefix.version, 1, zel::versionTextSize, fptr);
        const char* point = std::strchr(prefix.version, '.');
        const int major = std::atoi(prefix.version);
        report("Major version %d Minor version %d\n", major, point ? std::atoi(point + 1) : 0);
        // A prefixed file of major version 1 is tested right after the version text.
        if (major > 1) fseeko(fptr, compositeHeaderOffset, SEEK_SET);
    } else {
        fseeko(fptr, 0, SEEK_SET);
    }
    bool readable = isReadableAt(fptr, host);
    if (!readable) {
        report("ZELCheckFileVersion: Trying another byte ordering...\n");
        fseeko(fptr, 0, SEEK_SET);
        readable = isReadableAt(fptr, !host);
    }
    if (!readable) {
        report("ZELCheckFileVersion: unsupported data type\n");
        return 0;
    }
    fseeko(fptr, 0, SEEK_SET);
    return 1;
}
