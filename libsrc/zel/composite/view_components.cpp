#include "composite/view_components.hpp"

#include <algorithm>
#include <cstdint>

#include "ground/zel_door.hpp"
#include "lines/open.hpp"

namespace zel {
namespace {

// The place of a base component in the view, whose header report counts it from 1.
int32_t placeInView(int before, int stored)
{
    return static_cast<int32_t>(
        std::min(static_cast<std::int64_t>(before) + stored, std::int64_t{INT32_MAX} - 1));
}

// Reads the directories and counts the components into the view. The base index that an input
// stores matters only where it names the component to be opened.
int countComponents(ZELType& view, Inputs& inputs, int baseFile)
{
    for (int i = 0; i < inputs.count(); ++i) {
        if (!inputs.readDirectory(i)) return viewUnreadable;
        const Directory& directory = inputs.directory(i);
        if (inputs.count() == 1 && !directory.isComposite) {
            report("OpenCompositeReadOnlyFile: Error: file %s is not a composite ZEL file\n",
                   inputs.name(i));
            return viewUnreadable;
        }
        const int stored = directory.isComposite ? directory.prefix.baseIndex : 0;
        const bool opensBase = inputs.count() == 1 && stored == baseFile;
        if (directory.isComposite && !checkDirectory(inputs.name(i), directory, opensBase))
            return viewDamaged;
        if (i == baseFile) view.baseZELComponent = placeInView(view.numZELComponents, stored);
        view.numZELComponents += inputs.components(i);
    }
    if (inputs.count() == 1) view.baseZELComponent = baseFile;
    if (baseFile >= 0 && baseFile < view.numZELComponents) return viewOpened;
    report("ZELOpenCompositeReadOnlyFile: Error: invalid base file index %d\n", baseFile);
    return viewUnreadable;
}

int refuseChannels(int channels)
{
    report("ZELOpenCompositeReadOnlyFile: Error: the components have %d channels, at most %d fit\n",
           channels, ZEL_MAX_CHANNELS);
    return viewUnreadable;
}

// Components that overlap can name one large header a hundred times, each time with its memory. The
// headers of others are no more than the files hold.
constexpr std::int64_t maxSharedHeaders = 64 * 1024 * 1024;

int refuseHeaders(const char* name, std::int64_t headers)
{
    report("OpenReadOnlyFile: corrupt file %s: its components overlap, and their headers take more "
           "than %lld bytes\n",
           name, static_cast<long long>(headers));
    return viewDamaged;
}

// Opens the components of one input, from component on. Channels and headers are counted as they
// come: their memory is that of a file each.
int openInput(ZELType* component, const Inputs& inputs, int i, Tables tables, int& channels)
{
    const Directory& directory = inputs.directory(i);
    const std::int64_t room = std::max(directory.fileSize, maxSharedHeaders);
    std::int64_t headers = 0;
    for (int k = 0; k < inputs.components(i); ++k, ++component) {
        const int offset = directory.isComposite ? directory.prefix.offsets[k] : 0;
        const int size = directory.isComposite ? directory.prefix.sizes[k] : 0;
        if (openPart(*component, inputs.name(i), offset, size, tables) != 0)
            fail("Error opening file %s\n", inputs.name(i));
        component->isComponent = 1;
        channels += component->NumTotalChans;
        if (channels > ZEL_MAX_CHANNELS) return refuseChannels(channels);
        headers += component->HeaderOffset;
        if (headers > room) return refuseHeaders(inputs.name(i), room);
    }
    return viewOpened;
}

int openInputs(ZELType& view, const Inputs& inputs, Tables tables)
{
    const int count = view.numZELComponents;
    view.ZELComponent = allocate<ZELType>(static_cast<std::size_t>(count));
    if (!view.ZELComponent) fail("cannot allocate memory for ZELComponents\n");
    ZELType* component = view.ZELComponent;
    int channels = 0;
    for (int i = 0; i < inputs.count(); ++i) {
        const int opened = openInput(component, inputs, i, tables, channels);
        if (opened != viewOpened) return opened;
        component += inputs.components(i);
    }
    return viewOpened;
}

}  // namespace

int openComponents(ZELType& view, Inputs& inputs, int baseFile, Tables tables)
{
    const int counted = countComponents(view, inputs, baseFile);
    if (counted == viewOpened) return openInputs(view, inputs, tables);
    view.numZELComponents = 0;
    return counted;
}

}  // namespace zel
