// Opening several files, or the components of one, as a single read-only record.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "blocks/zel_histogram.hpp"
#include "ground/memory.hpp"
#include "ground/text.hpp"
#include "ground/zel_door.hpp"
#include "lines/composite_seam.hpp"
#include "records/mask_seam.hpp"
#include "records/pixels.hpp"
#include "records/prefix.hpp"
#include "records/release_seam.hpp"
#include "zel_composite.h"
#include "zel_finish.h"
#include "zel_init.h"
#include "zel_io.h"
#include "zel_lut.h"
#include "zel_open.h"
#include "zel_table.h"

namespace {

using zel::Directory;
using zel::fail;
using zel::report;

// Results of an open.
constexpr int done = 0;
constexpr int unreadable = -1;
constexpr int damaged = -2;

// The inputs of a view and where the components of each are.
struct Inputs {
    const char* const* names;
    int count;
    zel::Owned<Directory> directories;

    const Directory& directory(int i) const { return directories.get()[i]; }
    int components(int i) const
    {
        return directory(i).isComposite ? directory(i).prefix.numComponents : 1;
    }
};

// The place of a base component in the view, whose header report counts it from 1.
int32_t placeInView(int before, int stored)
{
    return static_cast<int32_t>(
        std::min(static_cast<std::int64_t>(before) + stored, std::int64_t{INT32_MAX} - 1));
}

// Reads the directories and counts the components into the view. The base index that an input stores
// matters only where it names the component to be opened.
int countComponents(ZELType& view, Inputs& inputs, int baseFile)
{
    for (int i = 0; i < inputs.count; ++i) {
        Directory& directory = inputs.directories.get()[i];
        if (!zel::readDirectory(inputs.names[i], directory)) return unreadable;
        if (inputs.count == 1 && !directory.isComposite) {
            report("OpenCompositeReadOnlyFile: Error: file %s is not a composite ZEL file\n",
                   inputs.names[i]);
            return unreadable;
        }
        const int stored = directory.isComposite ? directory.prefix.baseIndex : 0;
        const bool opensBase = inputs.count == 1 && stored == baseFile;
        if (directory.isComposite && !zel::checkDirectory(inputs.names[i], directory, opensBase))
            return damaged;
        if (i == baseFile) view.baseZELComponent = placeInView(view.numZELComponents, stored);
        view.numZELComponents += inputs.components(i);
    }
    if (inputs.count == 1) view.baseZELComponent = baseFile;
    if (baseFile >= 0 && baseFile < view.numZELComponents) return done;
    report("ZELOpenCompositeReadOnlyFile: Error: invalid base file index %d\n", baseFile);
    return unreadable;
}

void warnOfMissingBase(const ZELType& view, const char* baseName)
{
    const int base = view.baseZELComponent;
    if (base >= 0 && base < view.numZELComponents) return;
    zel::reportTo(stderr,
                  "ZELOpenCompositeReadOnlyFile: warning: file %s names a base component that the "
                  "view does not have: its lines have no scan times\n",
                  baseName);
}

int refuseChannels(int channels)
{
    report("ZELOpenCompositeReadOnlyFile: Error: the components have %d channels, at most %d fit\n",
           channels, ZEL_MAX_CHANNELS);
    return unreadable;
}

// Components that overlap can name one large header a hundred times, each time with its memory. The
// headers of others are no more than the files hold.
constexpr std::int64_t maxSharedHeaders = 64 * 1024 * 1024;

int refuseHeaders(const char* name, std::int64_t headers)
{
    report("OpenReadOnlyFile: corrupt file %s: its components overlap, and their headers take more "
           "than %lld bytes\n",
           name, static_cast<long long>(headers));
    return damaged;
}

// Opens the components of one input, from component on. Channels and headers are counted as they come:
// their memory is that of a file each.
int openInput(ZELType* component, const Inputs& inputs, int i, int& channels)
{
    const Directory& directory = inputs.directory(i);
    const std::int64_t room = std::max(directory.fileSize, maxSharedHeaders);
    std::int64_t headers = 0;
    for (int k = 0; k < inputs.components(i); ++k, ++component) {
        const int offset = directory.isComposite ? directory.prefix.offsets[k] : 0;
        const int size = directory.isComposite ? directory.prefix.sizes[k] : 0;
        if (OpenReadOnlyFile(component, inputs.names[i], offset, size) != 0)
            fail("Error opening file %s\n", inputs.names[i]);
        component->isComponent = 1;
        channels += component->NumTotalChans;
        if (channels > ZEL_MAX_CHANNELS) return refuseChannels(channels);
        headers += component->HeaderOffset;
        if (headers > room) return refuseHeaders(inputs.names[i], room);
    }
    return done;
}

int openComponents(ZELType& view, const Inputs& inputs)
{
    const int count = view.numZELComponents;
    view.ZELComponent = zel::allocate<ZELType>(static_cast<std::size_t>(count));
    if (!view.ZELComponent) fail("cannot allocate memory for ZELComponents\n");
    ZELType* component = view.ZELComponent;
    int channels = 0;
    for (int i = 0; i < inputs.count; ++i) {
        const int opened = openInput(component, inputs, i, channels);
        if (opened != done) return opened;
        component += inputs.components(i);
    }
    return done;
}

void initView(ZELType& view, const ZELType& reference, const char* name)
{
    const ZELHeaderType& h = reference.ZELHeader;
    ZELInitNewCompositeFile(&view, h.DataType, h.DataComment, h.year, h.julian, h.sat_no,
                            h.NPixelPerLine, h.NumNavPoints, h.StartNavPoint, h.NavPointInterval,
                            h.SatelliteAltitude, h.SpatialResolution);
    zel::copyText(view.ImageFilename, name);
    view.ZELHeader.MetaDataType = h.MetaDataType;
    view.ZELHeader.MetaDataSize = h.MetaDataSize;
    std::memcpy(view.ZELHeader.MetaDataText, h.MetaDataText, ZEL_METADATA_SIZE);
    view.NumLines = reference.NumLines;
}

void gatherBlocks(ZELType& view)
{
    for (int i = 0; i < view.numZELComponents; ++i) {
        ZELType& component = view.ZELComponent[i];
        if (component.ZELHeader.NumDisplayLUTs > 0) ZELAppendFileLUTs(&view, &component);
        if (component.ZELHeader.TableList.NumTables > 0) ZELAppendFileTables(&view, &component);
    }
}

// How a component's grid relates to the reference's. False when the ratio is no number of pixels.
bool relate(ZELType& component, const ZELType& reference)
{
    constexpr float negligible = 1.0e-5F;  // of the ratio
    const float own = component.ZELHeader.SpatialResolution;
    const float wanted = reference.ZELHeader.SpatialResolution;
    component.samplingFlag = ZEL_SAMPLING_SAME;
    component.samplingFactor = 0;
    if (!(own < wanted) && !(own > wanted)) return true;
    const float ratio = own < wanted ? wanted / own : own / wanted;
    component.samplingFlag = own < wanted ? ZEL_SAMPLING_AVERAGE : ZEL_SAMPLING_REPLICATE;
    if (!(ratio >= 1.0F && ratio < 0x1p31F)) return false;
    component.samplingFactor = static_cast<int32_t>(ratio);
    const auto whole = static_cast<float>(component.samplingFactor);
    if (ratio - whole > negligible * whole)
        zel::reportTo(
            stderr,
            "ZELOpenCompositeReadOnlyFile: warning: the resolutions of file %s and of the "
            "base have the ratio %f: %d is used, and pixels drift apart\n",
            component.ImageFilename, static_cast<double>(ratio), component.samplingFactor);
    return true;
}

bool relateComponents(ZELType& view, const ZELType& reference)
{
    for (int i = 0; i < view.numZELComponents; ++i) {
        ZELType& component = view.ZELComponent[i];
        if (relate(component, reference)) continue;
        report(
            "ZELOpenCompositeReadOnlyFile: Error: resolutions %f of file %s and %f of the base do "
            "not belong to one scene\n",
            static_cast<double>(component.ZELHeader.SpatialResolution), component.ImageFilename,
            static_cast<double>(reference.ZELHeader.SpatialResolution));
        return false;
    }
    return true;
}

void copyChannel(ZELChannelType& to, ZELChannelType& from)
{
    to.ChannelPresentFlag = from.ChannelPresentFlag;
    to.ChannelWaveLength = from.ChannelWaveLength;
    to.MaxValue = from.MaxValue;
    to.MinValue = from.MinValue;
    to.Type = from.Type;
    to.DataByteSize = from.DataByteSize;
    to.DataBitResolution = from.DataBitResolution;
    to.Units = from.Units;
    to.BaseChannelFlag = from.BaseChannelFlag;
    zel::copyText(to.ChannelLabel, from.ChannelLabel);
    zel::copyText(to.ChannelComment, from.ChannelComment);
    to.Mask = zel::duplicateMask(from.Mask);
    ZELCopyTableList(&to.TableList, &from.TableList);
    to.ChannelHistogram = zel::duplicateHistogram(from.ChannelHistogram);
    if (to.ChannelHistogram) to.UpdateChannelHistogramFlag = 0;
    to.ChannelStandardHistogram = zel::duplicateHistogram(from.ChannelStandardHistogram);
}

void allocateChannel(ZELType& view, int index, int component)
{
    ZELChannelType& channel = view.Channels[index];
    const auto pixels = static_cast<std::size_t>(view.ZELHeader.NPixelPerLine);
    channel.ChannelData = zel::allocate<float>(pixels);
    if (!channel.ChannelData)
        zel::failWith(-3, "ZELOpenCompositeReadOnlyFile: cannot allocate memory for channel %d\n",
                      component + 1);
    view.PixBuf[index] =
        zel::allocate<unsigned char>(pixels * static_cast<std::size_t>(channel.DataByteSize));
    if (!view.PixBuf[index]) fail("ZELOpenCompositeReadOnlyFile: cannot allocate pixel buffer\n");
    channel.ChannelLUT = zel::createScalingTable(channel);
}

// An angle channel of the reference component is one of the view's, under its new number.
void renumberAngles(ZELHeaderType& view, const ZELHeaderType& reference, int slot, int index)
{
    if (slot == reference.SZChannelIndex) view.SZChannelIndex = static_cast<int16_t>(index);
    if (slot == reference.VZChannelIndex) view.VZChannelIndex = static_cast<int16_t>(index);
    if (slot == reference.AZChannelIndex) view.AZChannelIndex = static_cast<int16_t>(index);
}

void gatherChannels(ZELType& view, const ZELType& reference)
{
    int index = 0;
    view.LineOffset = view.NavOffset;
    for (int i = 0; i < view.numZELComponents; ++i) {
        ZELType& component = view.ZELComponent[i];
        for (int slot = 0; slot < component.ZELHeader.MaxNumChan; ++slot) {
            if (!component.Channels[slot].ChannelPresentFlag) continue;
            if (&component == &reference)
                renumberAngles(view.ZELHeader, reference.ZELHeader, slot, index);
            ZELChannelType& channel = view.Channels[index];
            copyChannel(channel, component.Channels[slot]);
            channel.DataOffset = view.LineOffset;
            view.LineOffset += channel.DataByteSize * view.ZELHeader.NPixelPerLine;
            allocateChannel(view, index, i);
            ++index;
        }
    }
    view.NumTotalChans = index;
}

// The view looks at the reference component's own line.
void shareLine(ZELType& view, const ZELType& reference)
{
    if (view.ZELHeader.SZChannelIndex < 0) view.SolarZenith = reference.SolarZenith;
    if (view.ZELHeader.VZChannelIndex < 0) view.ViewZenith = reference.ViewZenith;
    if (view.ZELHeader.AZChannelIndex < 0) view.Azimuth = reference.Azimuth;
    view.LatBuffer = reference.LatBuffer;
    view.LonBuffer = reference.LonBuffer;
    view.Lat = reference.Lat;
    view.Lon = reference.Lon;
    view.Sunglint = reference.Sunglint;
    view.OlsonEcosystem = reference.OlsonEcosystem;
    view.PercentWater = reference.PercentWater;
    view.IGBPEcosystem = reference.IGBPEcosystem;
    view.Terrain = reference.Terrain;
    view.ReadWriteFlag = ZEL_READ_ONLY;
}

// Everything of an open view that its components decide. False after a message.
bool assemble(ZELType& view, int referenceIndex, const char* name)
{
    const ZELType& reference = view.ZELComponent[referenceIndex];
    const int base = view.baseZELComponent;
    initView(view, reference, name);
    view.baseZELComponent = base;
    if (!relateComponents(view, reference)) return false;
    gatherBlocks(view);
    gatherChannels(view, reference);
    shareLine(view, reference);
    return true;
}

}  // namespace

int zel::openComposite(ZELType* file, const char* filename, int baseIndex)
{
    return ZELOpenCompositeReadOnlyFile(file, &filename, 1, baseIndex);
}

int ZELOpenCompositeReadOnlyFile(ZELType* ZELdata, const char* const* InputFileNames,
                                 int numInputFiles, int BaseFileIndex)
{
    CheckByteOrder();
    zel::clearRecord(*ZELdata);
    ZELdata->ReadWriteFlag = ZEL_READ_ONLY;
    if (numInputFiles < 1) {
        report("ZELOpenCompositeReadOnlyFile: Error: no input files\n");
        return unreadable;
    }
    Inputs inputs{
        InputFileNames, numInputFiles,
        zel::Owned<Directory>(zel::allocate<Directory>(static_cast<std::size_t>(numInputFiles)))};
    if (!inputs.directories) fail("cannot allocate memory for ZELComponents\n");
    const int counted = countComponents(*ZELdata, inputs, BaseFileIndex);
    if (counted != done) {
        ZELdata->numZELComponents = 0;
        return counted;
    }
    int opened = openComponents(*ZELdata, inputs);
    if (opened == done && !assemble(*ZELdata, BaseFileIndex, InputFileNames[0]))
        opened = unreadable;
    if (opened != done)
        ZELFinishReadingFile(ZELdata);
    else if (BaseFileIndex < numInputFiles)
        warnOfMissingBase(*ZELdata, InputFileNames[BaseFileIndex]);
    return opened;
}
