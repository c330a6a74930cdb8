#include "composite/container.hpp"

#include <cerrno>
#include <cstring>

#include "ground/same_file.hpp"
#include "ground/system_copy.hpp"
#include "ground/zel_door.hpp"

namespace zel {
namespace {

constexpr int blockSize = 128 * 1024;
constexpr std::int64_t systemBlockSize = 16 * 1024 * 1024;

[[noreturn]] void failWriting(const char* name)
{
    reportTo(stderr, "ZELCreateCompositeFile: write error on file %s: %s\n", name,
             std::strerror(errno));
    fail("ZELCreateCompositeFile: Error:  write error copying files\n");
}

[[noreturn]] void failSeeking(const char* name)
{
    reportTo(stderr, "ZELCreateCompositeFile: write error on file %s: %s\n", name,
             std::strerror(errno));
    fail("ZELCreateCompositeFile: Error:  seek error\n");
}

[[noreturn]] void failReading(const char* name, const char* reason)
{
    reportTo(stderr, "ZELCreateCompositeFile: read error on file %s: %s\n", name, reason);
    fail("ZELCreateCompositeFile: Error: cannot read file %s\n", name);
}

// Seeks to the place of the input to copy from.
void begin(FILE* input, const char* name, off_t place)
{
    if (fseeko(input, place, SEEK_SET) != 0) failReading(name, std::strerror(errno));
}

}  // namespace

Container::Container(std::int64_t expected)
    : expected_(expected), block_(allocate<unsigned char>(blockSize))
{
    if (!block_) fail("ZELCreateCompositeFile: Error: cannot allocate ZELdata\n");
}

Container::~Container()
{
    if (stream_) std::fclose(stream_);
}

bool Container::create(const char* name, int overwritePrompt)
{
    constexpr int answerSize = 9;
    if (overwritePrompt && isReadable(name)) confirmOverwrite(name, answerSize);
    name_ = name;
    stream_ = std::fopen(name, "w+b");
    if (!stream_) report("ZELCreateCompositeFile: cannot create file %s\n", name);
    // The directory is written last, at the start: a pipe cannot seek back to it.
    if (stream_ && ftello(stream_) < 0) failSeeking(name);
    if (stream_) reserveSpace(stream_, expected_);
    return stream_ != nullptr;
}

// Clears the magic in the first bytes of the container until its directory is written: half a
// container would look like a plain file.
void Container::hideMagic(void* firstBytes)
{
    if (!begun_) std::memset(firstBytes, 0, magicSize);
    begun_ = true;
}

void Container::writePrefix(float resolution)
{
    RecordWriter writer(stream_);
    Prefix prefix = plainPrefix(resolution);
    hideMagic(prefix.magic);
    walkPrefix(writer, prefix);
    prefixSize_ = compositeHeaderOffset;
}

void Container::addCopied(std::int64_t bytes)
{
    copied_ += bytes;
    progress("bytes", static_cast<double>(copied_), static_cast<double>(expected_));
}

// Copies a block of the input; returns its bytes, 0 at the end. The blocks are larger than the
// output's buffer, which is empty then, and bypass it.
std::int64_t Container::copyBlock(FILE* input)
{
    unsigned char* block = block_.get();
    const std::size_t got = std::fread(block, 1, blockSize, input);
    if (got > 0) hideMagic(block);
    if (std::fwrite(block, 1, got, stream_) != got) failWriting(name_);
    return static_cast<std::int64_t>(got);
}

// Lets the system copy what it can of the input, once the first bytes are written; returns how
// many.
std::int64_t Container::copyInSystem(FILE* input)
{
    if (!begun_) return 0;
    if (std::fflush(stream_) != 0) failWriting(name_);
    std::int64_t total = 0;
    while (const std::int64_t got = zel::copyInSystem(input, stream_, systemBlockSize)) {
        if (got < 0) failSeeking(name_);
        total += got;
        addCopied(got);
    }
    return total;
}

// Copies the rest of the input, at least minSize bytes; returns how many.
std::int64_t Container::copyRest(FILE* input, const char* name, std::int64_t minSize)
{
    std::int64_t total = copyInSystem(input);
    while (const std::int64_t got = copyBlock(input)) {
        total += got;
        addCopied(got);
        if (total == got && got == blockSize) total += copyInSystem(input);
    }
    if (std::ferror(input)) failReading(name, std::strerror(errno));
    if (total < minSize) failReading(name, "unexpected end of file");
    return total;
}

void Container::addEntry(std::int64_t offset, float resolution, std::int64_t size)
{
    directory_.offsets[components_] = static_cast<int32_t>(offset);
    directory_.resolutions[components_] = resolution;
    directory_.sizes[components_] = static_cast<int32_t>(size);
    ++components_;
}

void Container::appendPlain(FILE* input, const char* name, std::int64_t fileSize, float resolution)
{
    begin(input, name, 0);
    const std::int64_t size = prefixSize_ + copyRest(input, name, fileSize);
    prefixSize_ = 0;
    addEntry(start_, resolution, size);
    start_ = ftello(stream_);
    if (start_ < 0) failSeeking(name_);
}

void Container::appendComposite(const char* name, const Directory& directory)
{
    const OpenedFile opened(std::fopen(name, "rb"));
    FILE* const input = opened.get();
    if (!input) failReading(name, std::strerror(errno));
    RecordWriter writer(stream_);
    unsigned char magicAndVersion[compositeVersionOffset];
    const bool whole =
        std::fread(magicAndVersion, 1, sizeof magicAndVersion, input) == sizeof magicAndVersion;
    hideMagic(magicAndVersion);
    writer.array("magic and version text", magicAndVersion, sizeof magicAndVersion);
    Prefix single = plainPrefix(directory.prefix.resolutions[0]);
    walkDirectory(writer, single);
    if (!whole)
        failReading(name, std::ferror(input) ? std::strerror(errno) : "unexpected end of file");
    begin(input, name, compositeHeaderOffset);
    copyRest(input, name, directory.fileSize - compositeHeaderOffset);
    prefixSize_ = 0;
    for (int k = 0; k < directory.prefix.numComponents; ++k) {
        const std::int64_t size = directory.prefix.sizes[k];
        addEntry(start_, directory.prefix.resolutions[k], size);
        start_ += size;
    }
}

void Container::finish(int baseIndex)
{
    directory_.baseIndex = baseIndex;
    directory_.numComponents = components_;
    if (baseIndex >= components_)
        reportTo(stderr,
                 "ZELCreateCompositeFile: warning: file %s names component %d as its base and has "
                 "%d, counted from 0: it cannot be opened\n",
                 name_, baseIndex, components_);
    if (fseeko(stream_, compositeVersionOffset, SEEK_SET) != 0) failSeeking(name_);
    RecordWriter writer(stream_);
    walkDirectory(writer, directory_);
    if (fseeko(stream_, 0, SEEK_SET) != 0) failSeeking(name_);
    writer.array("magic", ZELString, magicSize);
    close();
}

// A file that was removed meanwhile is lost when its last stream is closed.
void Container::close()
{
    FILE* stream = stream_;
    stream_ = nullptr;
    const bool gone = isGone(stream, name_);
    errno = EIO;
    const bool failed = std::ferror(stream) != 0;
    if (std::fclose(stream) != 0 || failed) failWriting(name_);
    errno = ENOENT;
    if (gone) failWriting(name_);
}

}  // namespace zel
