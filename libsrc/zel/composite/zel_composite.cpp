#include "zel_composite.h"

#include <cstdint>
#include <cstdio>

#include "composite/container.hpp"
#include "composite/scene_inputs.hpp"
#include "ground/same_file.hpp"
#include "ground/zel_door.hpp"
#include "records/file_state.hpp"
#include "zel_io.h"

namespace {

using zel::Container;
using zel::Directory;
using zel::report;
using zel::SceneInputs;

constexpr std::int64_t maxContainerSize = INT32_MAX;

// Counted before anything is opened: each component needs a record and a stream.
bool componentsFit(SceneInputs& inputs)
{
    std::int64_t components = 0;
    for (int i = 0; i < inputs.count(); ++i) components += inputs.components(i);
    if (components <= ZEL_MAX_COMPONENTS) return true;
    report("ZELCreateCompositeFile: Error: %lld components, a file holds at most %d\n",
           static_cast<long long>(components), ZEL_MAX_COMPONENTS);
    return false;
}

// A view has no slots for more, but copying needs none.
void warnOfChannels(SceneInputs& inputs, const char* outputName)
{
    int channels = 0;
    for (int i = 0; i < inputs.count(); ++i) channels += inputs.record(i).NumTotalChans;
    if (channels <= ZEL_MAX_CHANNELS) return;
    zel::reportTo(stderr,
                  "ZELCreateCompositeFile: warning: file %s has %d channels, a view holds at most "
                  "%d: it cannot be opened as a whole\n",
                  outputName, channels, ZEL_MAX_CHANNELS);
}

bool sparesInputs(SceneInputs& inputs, const char* outputName)
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
    if (size <= maxContainerSize) return true;
    report("ZELCreateCompositeFile: Error: file %s would hold %lld bytes, at most %lld fit\n",
           outputName, static_cast<long long>(size), static_cast<long long>(maxContainerSize));
    return false;
}

std::int64_t containerSize(SceneInputs& inputs)
{
    std::int64_t size = inputs.needPrefix() ? compositeHeaderOffset : 0;
    for (int i = 0; i < inputs.count(); ++i) size += inputs.directory(i).fileSize;
    return size;
}

// Components that overlap can have sizes whose sum no offset in a directory reaches.
bool entriesFit(SceneInputs& inputs)
{
    std::int64_t copied = inputs.needPrefix() ? compositeHeaderOffset : 0;
    std::int64_t start = 0;
    for (int i = 0; i < inputs.count(); ++i) {
        const Directory& directory = inputs.directory(i);
        copied += directory.fileSize;
        if (!directory.isComposite) start = copied;
        for (int k = 0; directory.isComposite && k < directory.prefix.numComponents; ++k)
            start += directory.prefix.sizes[k];
        if (start <= maxContainerSize) continue;
        report("ZELCreateCompositeFile: Error: the sizes of the components of file %s add up to "
               "more than a directory holds\n",
               inputs.name(i));
        return false;
    }
    return true;
}

// A component is read with the prefix's length before its header, and in one byte order only. Other
// files are copied with a warning.
void warnOfUnreadable(SceneInputs& inputs)
{
    for (int i = 0; i < inputs.count(); ++i) {
        const int version = zel::layoutVersion(inputs.record(i).ZELHeader.VersionNumber);
        const bool misplaced = i == 0 && inputs.needPrefix() && (version < 141 || version >= 151);
        if (zel::isByteSwapped(inputs.record(i)))
            zel::reportTo(stderr,
                          "ZELCreateCompositeFile: warning: file %s is of the other byte order and "
                          "cannot be read again in a container\n",
                          inputs.name(i));
        else if (misplaced)
            zel::reportTo(
                stderr,
                "ZELCreateCompositeFile: warning: file %s is of an old version and cannot be "
                "read again after a prefix: write it with -same_res first\n",
                inputs.name(i));
    }
}

// Which input is the base, and which of its components. An invalid choice is replaced.
struct Base {
    int file;
    int component;
};

Base chooseFile(Base asked, int numInputFiles)
{
    // An index equal to the number of files passes: existing scripts depend on it.
    if (asked.file >= 0 && asked.file <= numInputFiles) return asked;
    report("Warning: specified BaseFileIndex %d invalid... using first file\n", asked.file);
    return {0, -1};
}

Base chooseComponent(Base asked, SceneInputs& inputs)
{
    const bool composite = asked.file < inputs.count() && inputs.directory(asked.file).isComposite;
    if (!composite) return asked;
    const int count = inputs.directory(asked.file).prefix.numComponents;
    if (asked.component >= 0 && asked.component <= count) return asked;
    report("Warning: specified UserBaseComponentIndex %d invalid... using first component\n",
           asked.component);
    return {asked.file, 0};
}

// Copies the inputs; returns the base index of the container.
int appendInputs(Container& container, SceneInputs& inputs, const Base& base)
{
    // The index of a plain base file is its position among the inputs, even after a composite.
    int baseIndex = base.file;
    if (inputs.needPrefix()) {
        report("ZEL file version < 2.0  updating...\n");
        container.writePrefix(inputs.record(0).ZELHeader.SpatialResolution);
    }
    for (int i = 0; i < inputs.count(); ++i) {
        const Directory& directory = inputs.directory(i);
        const ZELType& record = inputs.record(i);
        if (!directory.isComposite) {
            container.appendPlain(record.fptr, inputs.name(i), directory.fileSize,
                                  record.ZELHeader.SpatialResolution);
        } else {
            if (i == base.file) baseIndex = container.components() + base.component;
            container.appendComposite(inputs.name(i), directory);
        }
        inputs.finish(i);
    }
    return baseIndex;
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
    SceneInputs inputs(InputFileNames, numInputFiles);
    CheckByteOrder();
    Base base = chooseFile({BaseFileIndex, UserBaseComponentIndex}, numInputFiles);
    const bool known = inputs.readDirectories();
    base = chooseComponent(base, inputs);
    if (!componentsFit(inputs) || !inputs.open() || !known || !inputs.showOneScene()) return -1;
    const std::int64_t size = containerSize(inputs);
    if (!sparesInputs(inputs, OutputFilename) || !sizeFits(OutputFilename, size)) return -1;
    if (!entriesFit(inputs)) return -1;
    Container container(size);
    if (!container.create(OutputFilename, overwritePrompt)) return -1;
    // The directory is written in the library's order, not in that of the input that was opened
    // last.
    CheckByteOrder();
    warnOfUnreadable(inputs);
    warnOfChannels(inputs, OutputFilename);
    container.finish(appendInputs(container, inputs, base));
    return 0;
}
