#include "zel_composite.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "ground/memory.hpp"
#include "ground/same_file.hpp"
#include "ground/zel_door.hpp"
#include "records/buffers.hpp"
#include "records/prefix.hpp"
#include "zel_finish.h"
#include "zel_io.h"
#include "zel_line.h"
#include "zel_open.h"

namespace {

using zel::Directory;
using zel::fail;
using zel::Owned;
using zel::report;

// Files whose layout is older than this get the prefix that they lack.
constexpr int firstPrefixedVersion = 200;
constexpr std::int64_t largestContainer = INT32_MAX;
constexpr std::size_t blockSize = 256 * 1024;

// The inputs of one container: their directories and, once opened, their records.
class Inputs {
public:
    Inputs(const char* const* names, int count)
        : names_(names),
          count_(count),
          directories_(zel::allocate<Directory>(static_cast<std::size_t>(count))),
          records_(zel::allocate<ZELType>(static_cast<std::size_t>(count)))
    {
        if (!directories_ || !records_)
            fail("ZELCreateCompositeFile: Error: cannot allocate ZELdata\n");
    }
    ~Inputs()
    {
        for (int i = 0; i < count_; ++i) finish(i);
    }
    Inputs(const Inputs&) = delete;
    Inputs& operator=(const Inputs&) = delete;

    int count() const { return count_; }
    const char* name(int i) const { return names_[i]; }
    Directory& directory(int i) { return directories_.get()[i]; }
    ZELType& record(int i) { return records_.get()[i]; }
    int components(int i)
    {
        return directory(i).isComposite ? directory(i).prefix.numComponents : 1;
    }

    // False when one is not known; its open has more to say.
    bool readDirectories()
    {
        bool known = true;
        for (int i = 0; i < count_; ++i)
            if (!zel::readDirectory(names_[i], directory(i))) known = false;
        return known;
    }

    // Opens every input and reads its first line, which has the scene's start time.
    bool open()
    {
        for (int i = 0; i < count_; ++i) {
            if (ZELOpenReadOnlyFile(&record(i), names_[i]) < 0) return false;
            if (record(i).numZELComponents != components(i)) {
                report("ZELCreateCompositeFile: Error: file %s changes while it is read\n",
                       names_[i]);
                return false;
            }
            ZELReadLine(&record(i));
        }
        return true;
    }

    void finish(int i)
    {
        if (record(i).ReadWriteFlag != ZEL_READ_ONLY) return;
        ZELFinishReadingFile(&record(i));
        record(i).ReadWriteFlag = 0;
    }

private:
    const char* const* names_;
    int count_;
    Owned<Directory> directories_;
    Owned<ZELType> records_;
};

// The container that is being written.
struct Container {
    const char* name = "";
    FILE* stream = nullptr;
    zel::Prefix directory{};
    int components = 0;
    std::int64_t start = 0;  // where the next component begins
    std::int64_t copied = 0;
    std::int64_t expected = 0;
    bool begun = false;
    Owned<unsigned char> block;

    Container() : block(zel::allocate<unsigned char>(blockSize))
    {
        if (!block) fail("ZELCreateCompositeFile: Error: cannot allocate ZELdata\n");
    }
    ~Container()
    {
        if (stream) std::fclose(stream);
    }
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    // Takes the magic from the bytes that the container begins with, until its directory is written:
    // half a container would pass for a plain file.
    void hideMagic(void* firstBytes)
    {
        if (!begun) std::memset(firstBytes, 0, zel::magicSize);
        begun = true;
    }

    void addEntry(std::int64_t offset, float resolution, std::int64_t size)
    {
        directory.offsets[components] = static_cast<int32_t>(offset);
        directory.resolutions[components] = resolution;
        directory.sizes[components] = static_cast<int32_t>(size);
        ++components;
    }
};

// A tenth of an hour is as closely as the components of a scene need to agree.
double tenths(double scanTime)
{
    return std::trunc(scanTime * 10.0);
}

// What differs between two files that should show one scene, or null.
const char* mismatch(const ZELType& a, const ZELType& b)
{
    if (a.ZELHeader.DataType != b.ZELHeader.DataType) return "DataType mismatch";
    if (a.ZELHeader.year != b.ZELHeader.year) return "year mismatch";
    if (a.ZELHeader.julian != b.ZELHeader.julian) return "julian mismatch";
    if (a.ZELHeader.sat_no != b.ZELHeader.sat_no) return "Satellite number mismatch";
    if (tenths(a.ScanTime) != tenths(b.ScanTime)) return "start time mismatch";
    return nullptr;
}

bool showOneScene(Inputs& inputs)
{
    for (int i = 0; i < inputs.count(); ++i) {
        for (int j = i + 1; j < inputs.count(); ++j) {
            const char* what = mismatch(inputs.record(i), inputs.record(j));
            if (!what) continue;
            report("ZELCreateCompositeFile: %s\n", what);
            report("ZELCreateCompositeFile: Error:  ZEL file headers do not match\n");
            report("The files are from different images (date/time) or are incompatible data "
                   "types\n");
            return false;
        }
    }
    return true;
}

bool needsPrefix(const ZELType& first)
{
    return zel::layoutVersion(first.ZELHeader.VersionNumber) < firstPrefixedVersion;
}

// Counted before anything is opened: each component takes a record and a stream.
bool componentsFit(Inputs& inputs)
{
    std::int64_t components = 0;
    for (int i = 0; i < inputs.count(); ++i) components += inputs.components(i);
    if (components <= ZEL_MAX_COMPONENTS) return true;
    report("ZELCreateCompositeFile: Error: %lld components, a file holds at most %d\n",
           static_cast<long long>(components), ZEL_MAX_COMPONENTS);
    return false;
}

// A view has no slots for more, but copying needs none.
void warnOfChannels(Inputs& inputs, const char* outputName)
{
    int channels = 0;
    for (int i = 0; i < inputs.count(); ++i) channels += inputs.record(i).NumTotalChans;
    if (channels <= ZEL_MAX_CHANNELS) return;
    zel::reportTo(stderr,
                  "ZELCreateCompositeFile: warning: file %s has %d channels, a view holds at most "
                  "%d: it cannot be opened as a whole\n",
                  outputName, channels, ZEL_MAX_CHANNELS);
}

bool sparesInputs(Inputs& inputs, const char* outputName)
{
    for (int i = 0; i < inputs.count(); ++i) {
        if (!zel::isSameFile(inputs.name(i), outputName)) continue;
        report("ZELCreateCompositeFile: Error: output file %s is one of the input files\n",
               outputName);
        return false;
    }
    return true;
}

bool sizeFits(const char* outputName, std::int64_t size)
{
    if (size <= largestContainer) return true;
    report("ZELCreateCompositeFile: Error: file %s would hold %lld bytes, at most %lld fit\n",
           outputName, static_cast<long long>(size), static_cast<long long>(largestContainer));
    return false;
}

std::int64_t containerSize(Inputs& inputs)
{
    std::int64_t size = needsPrefix(inputs.record(0)) ? compositeHeaderOffset : 0;
    for (int i = 0; i < inputs.count(); ++i) size += inputs.directory(i).fileSize;
    return size;
}

// Components that overlap can have sizes whose sum no offset in a directory reaches.
bool entriesFit(Inputs& inputs)
{
    std::int64_t copied = needsPrefix(inputs.record(0)) ? compositeHeaderOffset : 0;
    std::int64_t start = 0;
    for (int i = 0; i < inputs.count(); ++i) {
        const Directory& directory = inputs.directory(i);
        copied += directory.fileSize;
        if (!directory.isComposite) start = copied;
        for (int k = 0; directory.isComposite && k < directory.prefix.numComponents; ++k)
            start += directory.prefix.sizes[k];
        if (start <= largestContainer) continue;
        report("ZELCreateCompositeFile: Error: the sizes of the components of file %s add up to "
               "more than a directory holds\n",
               inputs.name(i));
        return false;
    }
    return true;
}

[[noreturn]] void failWriting(const char* name)
{
    zel::reportTo(stderr, "ZELCreateCompositeFile: write error on file %s: %s\n", name,
                  std::strerror(errno));
    fail("ZELCreateCompositeFile: Error:  write error copying files\n");
}

[[noreturn]] void failSeeking(const char* name)
{
    zel::reportTo(stderr, "ZELCreateCompositeFile: write error on file %s: %s\n", name,
                  std::strerror(errno));
    fail("ZELCreateCompositeFile: Error:  seek error\n");
}

void openOutput(Container& container, const char* name, int overwritePrompt)
{
    constexpr int answerSize = 9;
    if (overwritePrompt && zel::isReadable(name)) zel::confirmOverwrite(name, answerSize);
    container.name = name;
    container.stream = std::fopen(name, "w+b");
    if (!container.stream) report("ZELCreateCompositeFile: cannot create file %s\n", name);
    // The directory is written last, at the start: a pipe has no way back to it.
    if (container.stream && ftello(container.stream) < 0) failSeeking(name);
}

[[noreturn]] void failReading(const char* name, const char* reason)
{
    zel::reportTo(stderr, "ZELCreateCompositeFile: read error on file %s: %s\n", name, reason);
    fail("ZELCreateCompositeFile: Error: cannot read file %s\n", name);
}

// Goes to a place of the input, to be copied from there.
void begin(FILE* input, const char* name, off_t place)
{
    if (fseeko(input, place, SEEK_SET) != 0) failReading(name, std::strerror(errno));
}

// Copies what is left of the input, as many bytes at least as it had before; returns how many. Blocks
// are large and go past the output's buffer, which holds nothing else at that time.
std::int64_t copyRest(Container& container, FILE* input, const char* name, std::int64_t atLeast)
{
    std::int64_t total = 0;
    unsigned char* block = container.block.get();
    while (const std::size_t got = std::fread(block, 1, blockSize, input)) {
        container.hideMagic(block);
        if (std::fwrite(block, 1, got, container.stream) != got) failWriting(container.name);
        total += static_cast<std::int64_t>(got);
        container.copied += static_cast<std::int64_t>(got);
        zel::progress("bytes", static_cast<double>(container.copied),
                      static_cast<double>(container.expected));
    }
    if (std::ferror(input)) failReading(name, std::strerror(errno));
    if (total < atLeast) failReading(name, "unexpected end of file");
    return total;
}

void appendPlain(Container& container, const ZELType& input, const char* name,
                 std::int64_t fileSize, std::int64_t prefixSize)
{
    begin(input.fptr, name, 0);
    const std::int64_t size = prefixSize + copyRest(container, input.fptr, name, fileSize);
    container.addEntry(container.start, input.ZELHeader.SpatialResolution, size);
    container.start = ftello(container.stream);
    if (container.start < 0) failSeeking(container.name);
}

// A composite goes in with its own directory reduced to one component, and its entries follow each
// other from where it begins.
void appendComposite(Container& container, const char* name, const Directory& directory)
{
    const zel::OpenedFile opened(std::fopen(name, "rb"));
    FILE* const input = opened.get();
    if (!input) failReading(name, std::strerror(errno));
    zel::RecordWriter writer(container.stream);
    unsigned char magicAndVersion[compositeVersionOffset];
    const bool whole =
        std::fread(magicAndVersion, 1, sizeof magicAndVersion, input) == sizeof magicAndVersion;
    container.hideMagic(magicAndVersion);
    writer.array("magic and version text", magicAndVersion, sizeof magicAndVersion);
    zel::Prefix single = zel::plainPrefix(directory.prefix.resolutions[0]);
    zel::walkDirectory(writer, single);
    if (!whole)
        failReading(name, std::ferror(input) ? std::strerror(errno) : "unexpected end of file");
    begin(input, name, compositeHeaderOffset);
    copyRest(container, input, name, directory.fileSize - compositeHeaderOffset);
    for (int k = 0; k < directory.prefix.numComponents; ++k) {
        const std::int64_t size = directory.prefix.sizes[k];
        container.addEntry(container.start, directory.prefix.resolutions[k], size);
        container.start += size;
    }
}

std::int64_t writePrefixForOldFile(Container& container, const ZELType& first)
{
    if (!needsPrefix(first)) return 0;
    report("ZEL file version < 2.0  updating...\n");
    zel::RecordWriter writer(container.stream);
    zel::Prefix prefix = zel::plainPrefix(first.ZELHeader.SpatialResolution);
    container.hideMagic(prefix.magic);
    zel::walkPrefix(writer, prefix);
    return compositeHeaderOffset;
}

// A component is read with the prefix's length before its header, and from its own place in one byte
// order only. What was written otherwise is copied all the same, but not without a word.
void warnOfUnreadable(Inputs& inputs)
{
    for (int i = 0; i < inputs.count(); ++i) {
        const int version = zel::layoutVersion(inputs.record(i).ZELHeader.VersionNumber);
        const bool misplaced =
            i == 0 && needsPrefix(inputs.record(i)) && (version < 141 || version >= 151);
        if (zel::isByteSwapped(inputs.record(i)))
            zel::reportTo(stderr,
                          "ZELCreateCompositeFile: warning: file %s is of the other byte order and "
                          "cannot be read again in a container\n",
                          inputs.name(i));
        else if (misplaced)
            zel::reportTo(
                stderr,
                "ZELCreateCompositeFile: warning: file %s is of an old version and cannot be "
                "read again behind a prefix: write it with -same_res first\n",
                inputs.name(i));
    }
}

void appendInputs(Container& container, Inputs& inputs, int baseFile, int baseComponent)
{
    // A plain base file is written as its place among the inputs, whatever comes before it.
    container.directory.baseIndex = baseFile;
    std::int64_t prefixSize = writePrefixForOldFile(container, inputs.record(0));
    for (int i = 0; i < inputs.count(); ++i) {
        const Directory& directory = inputs.directory(i);
        if (!directory.isComposite) {
            appendPlain(container, inputs.record(i), inputs.name(i), directory.fileSize,
                        prefixSize);
        } else {
            if (i == baseFile)
                container.directory.baseIndex =
                    container.components +
                    (baseComponent < 0 ? directory.prefix.baseIndex : baseComponent);
            appendComposite(container, inputs.name(i), directory);
        }
        prefixSize = 0;
        inputs.finish(i);
    }
}

void patchDirectory(Container& container, const char* name)
{
    container.directory.numComponents = container.components;
    if (container.directory.baseIndex >= container.components)
        zel::reportTo(stderr,
                      "ZELCreateCompositeFile: warning: file %s names component %d as its base and "
                      "has %d, counted from 0: it cannot be opened\n",
                      name, container.directory.baseIndex, container.components);
    if (fseeko(container.stream, compositeVersionOffset, SEEK_SET) != 0) failSeeking(name);
    zel::RecordWriter writer(container.stream);
    zel::walkDirectory(writer, container.directory);
    if (fseeko(container.stream, 0, SEEK_SET) != 0) failSeeking(name);
    writer.array("magic", ZELString, zel::magicSize);
    FILE* stream = container.stream;
    container.stream = nullptr;
    const bool gone = zel::isGone(stream, name);
    errno = EIO;
    const bool failed = std::ferror(stream) != 0;
    if (std::fclose(stream) != 0 || failed) failWriting(name);
    errno = ENOENT;
    if (gone) failWriting(name);
}

// Which input and which of its components is the base; what was asked for and cannot be is replaced.
struct Base {
    int file;
    int component;
};

Base chooseFile(Base asked, int numInputFiles)
{
    // An index equal to the number of files passes, as it always has.
    if (asked.file >= 0 && asked.file <= numInputFiles) return asked;
    report("Warning: specified BaseFileIndex %d invalid... using first file\n", asked.file);
    return {0, -1};
}

Base chooseComponent(Base asked, Inputs& inputs)
{
    const bool composite = asked.file < inputs.count() && inputs.directory(asked.file).isComposite;
    if (!composite) return asked;
    const int count = inputs.directory(asked.file).prefix.numComponents;
    if (asked.component >= 0 && asked.component <= count) return asked;
    report("Warning: specified UserBaseComponentIndex %d invalid... using first component\n",
           asked.component);
    return {asked.file, 0};
}

}  // namespace

int ZELCreateCompositeFile(const char* const* InputFileNames, int numInputFiles, int BaseFileIndex,
                           int UserBaseComponentIndex, const char* OutputFilename,
                           int overwritePrompt)
{
    if (numInputFiles < 2) {
        report("ZELCreateCompositeFile: Error: insufficient number of input files\n");
        return -1;
    }
    Inputs inputs(InputFileNames, numInputFiles);
    CheckByteOrder();
    Base base = chooseFile({BaseFileIndex, UserBaseComponentIndex}, numInputFiles);
    const bool known = inputs.readDirectories();
    base = chooseComponent(base, inputs);
    if (!componentsFit(inputs) || !inputs.open() || !known || !showOneScene(inputs)) return -1;
    const std::int64_t size = containerSize(inputs);
    if (!sparesInputs(inputs, OutputFilename) || !sizeFits(OutputFilename, size)) return -1;
    if (!entriesFit(inputs)) return -1;
    Container container;
    container.expected = size;
    openOutput(container, OutputFilename, overwritePrompt);
    if (!container.stream) return -1;
    // The directory is in the library's order, whatever the order of the input that was opened last.
    CheckByteOrder();
    warnOfUnreadable(inputs);
    warnOfChannels(inputs, OutputFilename);
    appendInputs(container, inputs, base.file, base.component);
    patchDirectory(container, OutputFilename);
    return 0;
}
