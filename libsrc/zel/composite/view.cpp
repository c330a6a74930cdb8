// Opening several files, or the components of one, as a single read-only record.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "blocks/zel_histogram.hpp"
#include "composite/view_components.hpp"
#include "ground/memory.hpp"
#include "ground/text.hpp"
#include "ground/zel_door.hpp"
#include "life/zel_channel.hpp"
#include "lines/channel_records.hpp"
#include "lines/composite_seam.hpp"
#include "records/buffers.hpp"
#include "records/release_seam.hpp"
#include "records/scaling_table.hpp"
#include "records/slot.hpp"
#include "zel_composite.h"
#include "zel_finish.h"
#include "zel_init.h"
#include "zel_io.h"
#include "zel_lut.h"
#include "zel_table.h"

namespace {

using zel::Inputs;
using zel::report;
using zel::Tables;

constexpr const char* noMemory = "cannot allocate memory for ZELComponents\n";

void warnOfMissingBase(const ZELType& view, const char* baseName)
{
    const int base = view.baseZELComponent;
    if (base >= 0 && base < view.numZELComponents) return;
    zel::reportTo(stderr,
                  "ZELOpenCompositeReadOnlyFile: warning: file %s names a base component that the "
                  "view does not have: its lines have no scan times\n",
                  baseName);
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

// Relates a component's grid to that of the reference. False when the ratio is not a number of
// pixels.
bool setSampling(ZELType& component, const ZELType& reference)
{
    constexpr float negligible = 1.0e-5f;  // of the ratio
    const float own = component.ZELHeader.SpatialResolution;
    const float wanted = reference.ZELHeader.SpatialResolution;
    component.samplingFlag = ZEL_SAMPLING_SAME;
    component.samplingFactor = 0;
    if (!(own < wanted) && !(own > wanted)) return true;
    const float ratio = own < wanted ? wanted / own : own / wanted;
    component.samplingFlag = own < wanted ? ZEL_SAMPLING_AVERAGE : ZEL_SAMPLING_REPLICATE;
    if (!(ratio >= 1.0f && ratio < 0x1p31f)) return false;
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

bool setSamplings(ZELType& view, const ZELType& reference)
{
    for (int i = 0; i < view.numZELComponents; ++i) {
        ZELType& component = view.ZELComponent[i];
        if (setSampling(component, reference)) continue;
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
    zel::copyDescription(to, from);
    to.ChannelHistogram = zel::duplicateHistogram(from.ChannelHistogram);
    if (to.ChannelHistogram) to.UpdateChannelHistogramFlag = 0;
}

// The view has the angle channels of the reference component, under their new numbers.
void renumberAngles(ZELHeaderType& view, const ZELHeaderType& reference, int slot, int index)
{
    if (slot == reference.SZChannelIndex) view.SZChannelIndex = static_cast<int16_t>(index);
    if (slot == reference.VZChannelIndex) view.VZChannelIndex = static_cast<int16_t>(index);
    if (slot == reference.AZChannelIndex) view.AZChannelIndex = static_cast<int16_t>(index);
}

void gatherChannels(ZELType& view, const ZELType& reference, Tables tables)
{
    int index = 0;
    for (int i = 0; i < view.numZELComponents; ++i) {
        ZELType& component = view.ZELComponent[i];
        for (const auto [slot, source] : zel::presentChannels(component)) {
            if (&component == &reference)
                renumberAngles(view.ZELHeader, reference.ZELHeader, slot, index);
            ZELChannelType& channel = view.Channels[index];
            copyChannel(channel, source);
            zel::allocateChannel(view, index,
                                 {"ZELOpenCompositeReadOnlyFile", i + 1, "pixel buffer", -1});
            if (tables == Tables::build) channel.ChannelLUT = zel::createScalingTable(channel);
            ++index;
        }
    }
    zel::placeChannels(view);
}

// The view shares the line buffers of the reference component.
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

// Fills the view from its components. False after a message.
bool assemble(ZELType& view, int referenceIndex, const char* name, Tables tables)
{
    const ZELType& reference = view.ZELComponent[referenceIndex];
    const int base = view.baseZELComponent;
    initView(view, reference, name);
    view.baseZELComponent = base;
    if (!setSamplings(view, reference)) return false;
    gatherBlocks(view);
    gatherChannels(view, reference, tables);
    shareLine(view, reference);
    return true;
}

void beginView(ZELType& view)
{
    CheckByteOrder();
    zel::clearRecord(view);
    view.ReadWriteFlag = ZEL_READ_ONLY;
}

int openView(ZELType& view, Inputs& inputs, int baseFile, Tables tables)
{
    int result = zel::openComponents(view, inputs, baseFile, tables);
    if (result == zel::viewOpened && !assemble(view, baseFile, inputs.name(0), tables))
        result = zel::viewUnreadable;
    if (result == zel::viewOpened && baseFile < inputs.count())
        warnOfMissingBase(view, inputs.name(baseFile));
    if (result != zel::viewOpened && view.ZELComponent) ZELFinishReadingFile(&view);
    return result;
}

int openFiles(ZELType& view, const char* const* names, int count, int baseFile, Tables tables)
{
    const zel::NameKeeper kept(view);
    beginView(view);
    if (count < 1) {
        report("ZELOpenCompositeReadOnlyFile: Error: no input files\n");
        return zel::viewUnreadable;
    }
    Inputs inputs(names, count, noMemory, &kept);
    return openView(view, inputs, baseFile, tables);
}

}  // namespace

int zel::openComposite(ZELType* file, const char* filename, const Directory& directory,
                       Tables tables)
{
    beginView(*file);
    Inputs inputs(&filename, 1, noMemory);
    inputs.setDirectory(0, directory);
    return openView(*file, inputs, directory.prefix.baseIndex, tables);
}

int ZELOpenCompositeReadOnlyFile(ZELType* ZELdata, const char* const* InputFileNames,
                                 int numInputFiles, int BaseFileIndex)
{
    return openFiles(*ZELdata, InputFileNames, numInputFiles, BaseFileIndex, Tables::build);
}

int ZELOpenCompositeReadOnlyFileNoTables(ZELType* ZELdata, const char* const* InputFileNames,
                                         int numInputFiles, int BaseFileIndex)
{
    return openFiles(*ZELdata, InputFileNames, numInputFiles, BaseFileIndex, Tables::leaveOut);
}
