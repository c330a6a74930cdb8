#include "vorn_file.hpp"

#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "messages.hpp"
#include "zel.h"

namespace zel_combine {
namespace {

constexpr int failed = -1;
constexpr int mismatched = -2;
constexpr std::int32_t byteOrderWord = 0xABCD;
constexpr off_t headerSize = 16;

struct VornHeader {
    std::int32_t pixels = 0;
    std::int32_t lines = 0;
    std::int32_t channels = 0;
};

// Rasters need seeking. Opening a pipe would wait for a writer.
bool maySeek(const char* name)
{
    struct stat status;
    return stat(name, &status) != 0 || !(S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode));
}

// The header, in the byte order of its first word; nothing, after a message, when the file cannot
// be read. A word in host order leaves the shared order as the input files have set it.
std::optional<VornHeader> readHeader(const char* name)
{
    const Stream stream(maySeek(name) ? std::fopen(name, "rb") : nullptr);
    if (!stream) {
        say("Error: cannot open Vorn file %s\n", name);
        return std::nullopt;
    }
    std::int32_t word = 0;
    const bool hasWord = std::fread(&word, sizeof word, 1, stream.get()) == 1;
    if (failedReading(stream.get(), "Vorn file", name)) return std::nullopt;
    if (!hasWord || word != byteOrderWord) SwapByteOrdering = 1;
    VornHeader header;
    for (std::int32_t* field : {&header.pixels, &header.lines, &header.channels})
        if (FileRead(field, sizeof *field, 1, stream.get()) != 1) *field = 0;
    if (failedReading(stream.get(), "Vorn file", name)) return std::nullopt;
    return header;
}

}  // namespace

int FileRead(void* Buffer, int Size, int Count, FILE* fptr)
{
    return ZELRead(Buffer, Size, Count, fptr);
}

int VornFile::open(const char* name, int pixels, int lines)
{
    const std::optional<VornHeader> header = readHeader(name);
    if (!header) return failed;
    if (header->pixels != pixels || header->lines != lines) {
        say("Error:  size mismatch:  ZEL lines %d pix %d, Vorn lines %d pix %d\n", lines, pixels,
            header->lines, header->pixels);
        return mismatched;
    }
    name_ = name;
    channels_ = header->channels;
    return openPlanes(pixels, lines);
}

// One stream per channel, each at its plane.
int VornFile::openPlanes(int pixels, int lines)
{
    if (channels_ < 0) {
        say("cannot allocate Vorn file pointers\n");
        return failed;
    }
    row_.resize(static_cast<std::size_t>(pixels));
    const off_t plane = static_cast<off_t>(pixels) * lines * static_cast<off_t>(sizeof(float));
    // A scene has no room for more channels than that.
    const int useful = std::min<int>(channels_, ZEL_MAX_CHANNELS - 1);
    for (int c = 0; c < useful; ++c) {
        Stream stream(std::fopen(name_.c_str(), "rb"));
        if (!stream || fseeko(stream.get(), headerSize + c * plane, SEEK_SET) != 0) {
            say("Error: cannot open Vorn file %s, channel %d\n", name_.c_str(), c);
            return failed;
        }
        planes_.push_back(std::move(stream));
    }
    return 0;
}

std::vector<float>* VornFile::readRow(int channel)
{
    FILE* stream = planes_[static_cast<std::size_t>(channel)].get();
    const int pixels = static_cast<int>(row_.size());
    const bool whole = FileRead(row_.data(), sizeof(float), pixels, stream) == pixels;
    if (failedReading(stream, "Vorn file", name_.c_str())) return nullptr;
    if (!whole && !cutShort_) {
        cutShort_ = true;
        sayError("warning: Vorn file %s is cut short: values read before are repeated\n",
                 name_.c_str());
    }
    return &row_;
}

}  // namespace zel_combine
