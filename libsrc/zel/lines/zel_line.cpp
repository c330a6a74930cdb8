#include "zel_line.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "ground/zel_door.hpp"
#include "lines/composite_seam.hpp"
#include "lines/count.hpp"
#include "lines/zel_line.hpp"
#include "lines/zel_navigate.hpp"
#include "records/file_state.hpp"
#include "records/pixels.hpp"
#include "records/records.hpp"
#include "records/slot.hpp"

namespace {

using zel::fail;

std::size_t storedLineSize(const ZELType& file, const ZELChannelType& channel)
{
    return static_cast<std::size_t>(file.ZELHeader.NPixelPerLine) *
           static_cast<std::size_t>(channel.DataByteSize);
}

// The defaults of a line.
void resetLine(ZELType& file)
{
    file.ScanAltitude = 0.0f;
    file.LeftPixel = 0;
    file.RightPixel = file.ZELHeader.NPixelPerLine - 1;
    file.NadirPixel = file.ZELHeader.NPixelPerLine / 2 - 1;
}

off_t placeOfLine(const ZELType& file, int line)
{
    return static_cast<off_t>(file.fileOffset) + file.HeaderOffset +
           static_cast<off_t>(line) * file.LineOffset;
}

[[noreturn]] void failReading(const ZELType& file, const char* reason)
{
    fail("ZELReadLine: read error on file %s, line %d: %s\n", file.ImageFilename, file.CurrentLine,
         reason);
}

[[noreturn]] void failReading(const ZELType& file)
{
    failReading(file, std::ferror(file.fptr) ? std::strerror(errno) : "unexpected end of file");
}

void goTo(const ZELType& file, off_t place)
{
    if (fseeko(file.fptr, place, SEEK_SET) != 0) failReading(file, std::strerror(errno));
}

void checkWritten(const ZELType& file, bool isWhole)
{
    if (!isWhole || std::ferror(file.fptr))
        fail("ZELWriteLine: write error on file %s: %s\n", file.ImageFilename,
             std::strerror(errno));
}

// Whether a line that was in the file when it was opened is now missing. That is an end of file
// like any other, but it is reported.
bool endsHere(const ZELType& file)
{
    const int next = std::getc(file.fptr);
    if (next != EOF) {
        std::ungetc(next, file.fptr);
        return false;
    }
    if (std::ferror(file.fptr)) failReading(file);
    zel::reportTo(stderr, "ZELReadLine: warning: file %s ends before line %d of %d\n",
                  file.ImageFilename, file.CurrentLine, file.NumLines);
    return true;
}

// Another open has since set the order for all files.
void warnOfByteOrder(const ZELType& file, zel::ByteOrderWatch& order)
{
    if (order.losesOrder())
        zel::reportTo(
            stderr,
            "ZELReadLine: warning: file %s is of the other byte order, which the opening of "
            "another file has reset: its numbers are read with their bytes reversed\n",
            file.ImageFilename);
}

void warnOfMissingValues(const ZELType& file, zel::ScalingWatch& scaling)
{
    if (scaling.missesValues())
        zel::reportTo(stderr,
                      "ZELReadLine: warning: line %d of file %s is held as it was read without "
                      "scaling: its values are not filled\n",
                      file.CurrentLine, file.ImageFilename);
}

// Reads a line record into the line's fields and PixBuf.
class LineReader : public zel::RecordReader {
public:
    LineReader(const ZELType& file, off_t place)
        : RecordReader(file.fptr, zel::layoutVersion(file.ZELHeader.VersionNumber), place,
                       place + file.LineOffset),
          place_(place),
          ahead_(file.LineOffset)
    {
        readAhead(ahead_);
    }
    // A channel that was deleted since the open still has its place in the file.
    void pixels(ZELType& file, int slot)
    {
        const ZELChannelType& channel = file.Channels[slot];
        const int pixels = file.ZELHeader.NPixelPerLine;
        reach(file, channel.DataOffset);
        if (read(file.PixBuf[slot], static_cast<std::size_t>(channel.DataByteSize), pixels) !=
            pixels)
            failReading(file);
    }
    // Goes to an offset of the record, if it is not there.
    void reach(const ZELType& file, int32_t offset)
    {
        if (position() == place_ + offset) return;
        goTo(file, place_ + offset);
        ahead_.drop(file.LineOffset - offset);
        moveTo(place_ + offset);
    }

private:
    off_t place_;
    zel::ReadAhead ahead_;
};

// The record of the line at which the stream is.
void readRecord(ZELType& file)
{
    LineReader reader(file, placeOfLine(file, file.CurrentLine));
    resetLine(file);
    try {
        zel::walkLine(reader, file);
    } catch (const zel::Damage&) {
        failReading(file);
    }
    reader.reach(file, file.LineOffset);
}

void decodeChannels(ZELType& file)
{
    for (const auto [slot, channel] : zel::presentChannels(file))
        zel::decodeLine(channel, file.PixBuf[slot], file.ZELHeader.NPixelPerLine);
}

// The current line, from the file. False at the end of the file.
bool readCurrent(ZELType& file, zel::FileState& state, bool scale)
{
    zel::forgetDerived(file);
    if (file.CurrentLine - file.PreviousLine != 1) goTo(file, placeOfLine(file, file.CurrentLine));
    // No line is held until this one is complete.
    file.PreviousLine = -2;
    if (endsHere(file)) return false;
    warnOfByteOrder(file, state.order);
    readRecord(file);
    if (scale) decodeChannels(file);
    file.PreviousLine = file.CurrentLine;
    state.scaling.note(scale);
    return true;
}

// Writes a line record; channels that were loaded are encoded, and all are counted.
class LineWriter : public zel::RecordWriter {
public:
    explicit LineWriter(ZELType& file) : RecordWriter(file.fptr), counter_(file)
    {
        writeBehind(behind_);
    }

    void pixels(ZELType& file, int slot)
    {
        ZELChannelType& channel = file.Channels[slot];
        const int pixels = file.ZELHeader.NPixelPerLine;
        if (channel.LoadChannelFlag) {
            zel::clampLine(channel, pixels);
            zel::encodeLine(channel, file.PixBuf[slot], pixels);
        }
        counter_.count(slot);
        channel.LoadChannelFlag = 0;
        write(file.PixBuf[slot], channel.DataByteSize, pixels);
    }

private:
    zel::LineCounter counter_;
    zel::WriteBehind behind_;
};

// Sets the current line, at most to the end of the file.
int moveTo(ZELType& file, long long line, const char* function)
{
    if (line < 0) {
        zel::report("%s: invalid line number %lld\n", function, line);
        return -1;
    }
    if (line >= file.NumLines) {
        file.CurrentLine = file.NumLines;
        return -1;
    }
    file.CurrentLine = static_cast<int32_t>(line);
    return file.CurrentLine;
}

// Whether every channel of a view has its buffer, as it has between open and finish. The channels
// are in the first slots.
bool hasPixels(const ZELType& view)
{
    for (int i = 0; i < view.NumTotalChans; ++i)
        if (!view.PixBuf[i]) return false;
    return true;
}

int readCurrentLine(ZELType* file, int scale, const char* function)
{
    if (file->numZELComponents < 2) return ReadLine(file, scale);
    if (!file->ZELComponent) fail("%s: Error NULL ZELComponent\n", function);
    if (!hasPixels(*file)) fail("%s: the file is not open\n", function);
    return zel::readCompositeLine(*file, scale);
}

// copy(dest channel, src channel, slot) for every slot that both files have.
template <class Copy>
void forSharedChannels(ZELType& dest, ZELType& src, const char* function, Copy copy)
{
    if (dest.ZELHeader.NPixelPerLine != src.ZELHeader.NPixelPerLine)
        fail("%s: the files have %d and %d pixels per line\n", function,
             src.ZELHeader.NPixelPerLine, dest.ZELHeader.NPixelPerLine);
    for (const auto [slot, from] : zel::presentChannels(src)) {
        ZELChannelType& to = dest.Channels[slot];
        if (!to.ChannelPresentFlag) continue;
        if (!from.ChannelData || !to.ChannelData)
            fail("%s: channel %d has no line\n", function, slot);
        copy(to, from, slot);
    }
}

}  // namespace

void zel::copyScan(ZELType& dest, const ZELType& src)
{
    dest.ScanAltitude = src.ScanAltitude;
    dest.ScanTime = src.ScanTime;
    dest.LeftPixel = src.LeftPixel;
    dest.RightPixel = src.RightPixel;
    dest.NadirPixel = src.NadirPixel;
    dest.NadirLat = src.NadirLat;
    dest.NadirLon = src.NadirLon;
}

void zel::forgetDerived(ZELType& file)
{
    file.LatLonInterpolated = 0;
    file.SolarAnglesCalculated = 0;
}

int ZELReadLine(ZELType* ZELdata)
{
    return readCurrentLine(ZELdata, 1, "ZELReadLine");
}

int ZELReadLineNoScale(ZELType* ZELdata)
{
    return readCurrentLine(ZELdata, 0, "ZELReadLineNoScale");
}

int ReadLine(ZELType* ZELdata, int scale)
{
    zel::requireReadOnly(*ZELdata, "ZELReadLine can only be used on a read only ZEL file\n");
    zel::FileState* state = zel::stateOf(*ZELdata);
    if (!ZELdata->fptr || !state || state->memory.isEmpty())
        fail("ZELReadLine: the file is not open\n");
    // After the last whole line comes the end of the file, or another component.
    if (ZELdata->CurrentLine >= ZELdata->NumLines) return 0;
    const bool isHeld = ZELdata->CurrentLine == ZELdata->PreviousLine;
    if (isHeld && scale) warnOfMissingValues(*ZELdata, state->scaling);
    if (!isHeld && !readCurrent(*ZELdata, *state, scale != 0)) return 0;
    ZELdata->CurrentLine += 1;
    return ZELdata->ZELHeader.NPixelPerLine;
}

void ZELWriteLine(ZELType* ZELdata)
{
    zel::requireWriteOnly(*ZELdata, "ZELWriteLine can only be used on a write only ZEL file\n");
    if (!ZELdata->fptr || !ZELdata->FileOpened)
        fail("ZELWriteLine: the file is not open for writing\n");
    zel::warnOfWrittenOrder(*ZELdata, "ZELWriteLine");
    zel::forgetDerived(*ZELdata);
    if (ZELdata->ZELHeader.NumNavPoints > 0 && (!ZELdata->LatBuffer || !ZELdata->LonBuffer))
        fail("ZELWriteLine: no navigation points loaded for line %d\n", ZELdata->CurrentLine);
    LineWriter writer(*ZELdata);
    zel::walkLine(writer, *ZELdata);
    writer.finish();
    checkWritten(*ZELdata, writer.isWhole());
    ZELdata->CurrentLine += 1;
    ZELdata->NumLines = ZELdata->CurrentLine;
    resetLine(*ZELdata);
}

void ZELCopyLine(ZELType* ZELdataDest, ZELType* ZELdataSrc)
{
    static constexpr const char* function = "ZELCopyLine";
    zel::copyScan(*ZELdataDest, *ZELdataSrc);
    zel::copyNavigationPoints(*ZELdataDest, *ZELdataSrc, function);
    const auto copyStored = [&](ZELChannelType& dest, const ZELChannelType& src, int slot) {
        if (dest.DataByteSize != src.DataByteSize)
            fail("%s: channel %d is stored in %d and %d bytes\n", function, slot, src.DataByteSize,
                 dest.DataByteSize);
        std::copy_n(src.ChannelData, ZELdataSrc->ZELHeader.NPixelPerLine, dest.ChannelData);
        std::copy_n(ZELdataSrc->PixBuf[slot], storedLineSize(*ZELdataSrc, src),
                    ZELdataDest->PixBuf[slot]);
    };
    forSharedChannels(*ZELdataDest, *ZELdataSrc, function, copyStored);
}

void ZELCopyLineWithLoad(ZELType* ZELdataDest, ZELType* ZELdataSrc)
{
    static constexpr const char* function = "ZELCopyLineWithLoad";
    zel::copyScan(*ZELdataDest, *ZELdataSrc);
    zel::copyNavigationPoints(*ZELdataDest, *ZELdataSrc, function);
    const auto load = [&](ZELChannelType& dest, const ZELChannelType& src, int) {
        std::copy_n(src.ChannelData, ZELdataSrc->ZELHeader.NPixelPerLine, dest.ChannelData);
        dest.LoadChannelFlag = 1;
    };
    forSharedChannels(*ZELdataDest, *ZELdataSrc, function, load);
}

int ZELSkipLines(ZELType* ZELdata, int n)
{
    zel::requireReadOnly(*ZELdata, "CSkipLines can only be used on a read only ZEL file\n");
    return moveTo(*ZELdata, static_cast<long long>(ZELdata->CurrentLine) + n, "ZELSkipLines");
}

int ZELSetCurrentLine(ZELType* ZELdata, int line)
{
    zel::requireReadOnly(*ZELdata, "ZELSetCurrentLine can only be used on a read only ZEL file\n");
    return moveTo(*ZELdata, line, "ZELSetCurrentLine");
}

void ZELSetPadding(ZELType* ZELdata, int left, int right)
{
    ZELdata->LeftPixel = left;
    ZELdata->RightPixel = right;
}

void ZELGetPadding(ZELType* ZELdata, int* left, int* right)
{
    *left = ZELdata->LeftPixel;
    *right = ZELdata->RightPixel;
}

void ZELSetNadirPixel(ZELType* ZELdata, int pixel)
{
    ZELdata->NadirPixel = pixel;
}

int ZELGetNadirPixel(ZELType* ZELdata)
{
    return ZELdata->NadirPixel;
}

void ZELSetNadirLatLon(ZELType* ZELdata, float lat, float lon)
{
    ZELdata->NadirLat = lat;
    ZELdata->NadirLon = lon;
}

float ZELGetNadirLat(ZELType* ZELdata)
{
    return ZELdata->NadirLat;
}

float ZELGetNadirLon(ZELType* ZELdata)
{
    return ZELdata->NadirLon;
}
