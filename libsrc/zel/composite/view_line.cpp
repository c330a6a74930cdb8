// Lines of a composite view: a line of each component, brought to the view's grid.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "ground/zel_door.hpp"
#include "lines/composite_seam.hpp"
#include "lines/zel_line.hpp"
#include "records/pixels.hpp"
#include "records/slot.hpp"
#include "zel_line.h"

namespace {

// One component on its way into the view: its channels become the view's from slot first on.
struct Passage {
    ZELType& view;
    ZELType& component;
    int first;
    int scale;
};

// action(component channel, component pixels, view slot) for every present channel; returns the view
// slot behind the last.
template <class Action>
int forChannels(const Passage& p, Action action)
{
    int index = p.first;
    for (const auto [slot, channel] : zel::presentChannels(p.component))
        action(channel, p.component.PixBuf[slot], index++);
    return index;
}

bool readLineOf(ZELType& component, long long line, int scale)
{
    if (line >= component.NumLines) return false;
    component.CurrentLine = static_cast<int32_t>(line);
    return ReadLine(&component, scale) != 0;
}

int pixelsOf(const ZELType& file)
{
    return file.ZELHeader.NPixelPerLine;
}

bool copySame(const Passage& p)
{
    if (!readLineOf(p.component, p.view.CurrentLine, p.scale)) return false;
    const int pixels = std::min(pixelsOf(p.component), pixelsOf(p.view));
    forChannels(p, [&](const ZELChannelType& channel, const unsigned char* stored, int index) {
        std::copy_n(stored, pixels * channel.DataByteSize, p.view.PixBuf[index]);
        if (p.scale) std::copy_n(channel.ChannelData, pixels, p.view.Channels[index].ChannelData);
    });
    return true;
}

template <class T>
void replicateStored(const unsigned char* from, unsigned char* to, int count, int factor)
{
    for (int x = 0; x < count; ++x) zel::storePixel<T>(to, x, zel::loadPixel<T>(from, x / factor));
}

void replicateBytes(const unsigned char* from, unsigned char* to, int count, int factor, int size)
{
    if (size == 1)
        replicateStored<std::uint8_t>(from, to, count, factor);
    else if (size == 2)
        replicateStored<std::uint16_t>(from, to, count, factor);
    else
        replicateStored<std::uint32_t>(from, to, count, factor);
}

bool replicate(const Passage& p)
{
    const int factor = p.component.samplingFactor;
    if (!readLineOf(p.component, p.view.CurrentLine / factor, p.scale)) return false;
    const long long reach = static_cast<long long>(pixelsOf(p.component)) * factor;
    const int pixels = static_cast<int>(std::min<long long>(reach, pixelsOf(p.view)));
    forChannels(p, [&](const ZELChannelType& channel, const unsigned char* stored, int index) {
        replicateBytes(stored, p.view.PixBuf[index], pixels, factor, channel.DataByteSize);
        float* values = p.view.Channels[index].ChannelData;
        if (!p.scale) return;
        for (int x = 0; x < pixels; ++x) values[x] = channel.ChannelData[x / factor];
    });
    return true;
}

// sums[x] += the factor values of pixel x, one after the other. The pixels do not depend on each other,
// so that a compiler that knows the factor sums several at a time.
template <class Factor>
void addWholeBlocks(float* sums, int count, const float* values, Factor factor)
{
    for (int x = 0; x < count; ++x) {
        float sum = sums[x];
        for (int i = 0; i < factor; ++i) sum += values[static_cast<std::ptrdiff_t>(x) * factor + i];
        sums[x] = sum;
    }
}

void addWholeBlocks(float* sums, int count, const float* values, int factor)
{
    switch (factor) {
    case 2:
        return addWholeBlocks(sums, count, values, std::integral_constant<int, 2>{});
    case 3:
        return addWholeBlocks(sums, count, values, std::integral_constant<int, 3>{});
    case 4:
        return addWholeBlocks(sums, count, values, std::integral_constant<int, 4>{});
    default:
        return addWholeBlocks<int>(sums, count, values, factor);
    }
}

// The same where the last pixel may have fewer values, or none: those are left out.
void addBlocks(float* sums, int count, const float* values, int available, int factor)
{
    const int whole = std::min(count, available / factor);
    addWholeBlocks(sums, whole, values, factor);
    if (whole < count)
        addWholeBlocks<int>(sums + whole, 1, values + whole * factor, available - whole * factor);
}

// Each line of the component is read once, for all its channels.
bool average(const Passage& p)
{
    const int factor = p.component.samplingFactor;
    const int pixels = pixelsOf(p.view);
    forChannels(p, [&](const ZELChannelType&, const unsigned char*, int index) {
        std::fill_n(p.view.Channels[index].ChannelData, pixels, 0.0F);
    });
    for (int j = 0; j < factor; ++j) {
        const long long line = static_cast<long long>(p.view.CurrentLine) * factor + j;
        if (!readLineOf(p.component, line, 1)) return false;
        forChannels(p, [&](const ZELChannelType& channel, const unsigned char*, int index) {
            addBlocks(p.view.Channels[index].ChannelData, pixels, channel.ChannelData,
                      pixelsOf(p.component), factor);
        });
    }
    const auto blockSize = static_cast<float>(static_cast<std::int64_t>(factor) * factor);
    forChannels(p, [&](const ZELChannelType&, const unsigned char*, int index) {
        float* values = p.view.Channels[index].ChannelData;
        for (int x = 0; x < pixels; ++x) values[x] /= blockSize;
        zel::encodeLine(p.view.Channels[index], p.view.PixBuf[index], pixels);
    });
    return true;
}

bool pass(const Passage& p)
{
    switch (p.component.samplingFlag) {
    case ZEL_SAMPLING_SAME:
        return copySame(p);
    case ZEL_SAMPLING_AVERAGE:
        return average(p);
    case ZEL_SAMPLING_REPLICATE:
        return replicate(p);
    default:
        zel::fail("ZELReadCompositeLine: invalid subsampling \n");
    }
}

}  // namespace

int ZELReadCompositeLine(ZELType* ZELdata, int scale)
{
    if (!ZELdata->ZELComponent) zel::fail("ZELReadCompositeLine: Error NULL ZELComponent\n");
    zel::forgetDerived(*ZELdata);
    int slot = 0;
    for (int i = 0; i < ZELdata->numZELComponents; ++i) {
        ZELType& component = ZELdata->ZELComponent[i];
        if (!pass({*ZELdata, component, slot, scale})) return 0;
        slot += component.NumTotalChans;
        if (i == ZELdata->baseZELComponent) zel::copyScan(*ZELdata, component);
    }
    ZELdata->CurrentLine += 1;
    return pixelsOf(*ZELdata);
}

int zel::readCompositeLine(ZELType& view, int scale)
{
    return ZELReadCompositeLine(&view, scale);
}
