#include "losses.hpp"

#include <strings.h>

#include <algorithm>
#include <cstdio>

namespace zel_combine {
namespace {

bool namesLUT(ZELType& file, const char* comment)
{
    if (!*comment) return false;
    for (ZELDisplayLUTType* lut = ZELFetchFirstLut(&file); lut; lut = ZELFetchNextLut(lut))
        if (strcasecmp(lut->DisplayLUTLabel, comment) == 0) return true;
    return false;
}

// Classes are numbers without a mean: between water and forest is no third class.
bool holdsClasses(ZELType& file, const ZELChannelType& channel)
{
    return channel.Units == ZEL_UNITS_LUT || namesLUT(file, channel.ChannelComment);
}

// A block of one pixel is its own mean.
bool isAveraged(const ZELType& component)
{
    return component.samplingFlag == ZEL_SAMPLING_AVERAGE && component.samplingFactor > 1;
}

// The channels of a component are those of the view from first on; returns the first of the next.
int warnOfClasses(ZELType& component, int first)
{
    int index = first;
    for (int slot = 0; slot < component.ZELHeader.MaxNumChan; ++slot) {
        const ZELChannelType& channel = component.Channels[slot];
        if (!channel.ChannelPresentFlag) continue;
        if (isAveraged(component) && holdsClasses(component, channel))
            std::fprintf(stderr,
                         "zel_combine: warning: channel %d, from file %s, holds classes and was "
                         "averaged\n",
                         index, component.ImageFilename);
        ++index;
    }
    return index;
}

// The lines of the view that a component has pixels for.
long long linesFor(const ZELType& component)
{
    const long long lines = component.NumLines;
    if (component.samplingFlag == ZEL_SAMPLING_AVERAGE) return lines / component.samplingFactor;
    if (component.samplingFlag == ZEL_SAMPLING_REPLICATE) return lines * component.samplingFactor;
    return lines;
}

// Grids that cover one scene may differ by a line. More is missing from a file that was cut.
void warnOfEarlyEnd(const ZELType& component, long long longest)
{
    const long long missing = longest - linesFor(component);
    if (missing <= 1) return;
    std::fprintf(stderr,
                 "zel_combine: warning: file %s (resolution %g) ended early: %lld lines are "
                 "missing\n",
                 component.ImageFilename,
                 static_cast<double>(component.ZELHeader.SpatialResolution), missing);
}

}  // namespace

void warnOfLosses(ZELType& view)
{
    if (!view.ZELComponent) return;
    int channel = 0;
    long long longest = 0;
    for (int i = 0; i < view.numZELComponents; ++i) {
        ZELType& component = view.ZELComponent[i];
        if (view.CurrentLine > 0) channel = warnOfClasses(component, channel);
        longest = std::max(longest, linesFor(component));
    }
    for (int i = 0; i < view.numZELComponents; ++i) warnOfEarlyEnd(view.ZELComponent[i], longest);
}

}  // namespace zel_combine
