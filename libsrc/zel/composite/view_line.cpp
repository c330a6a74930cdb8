// Lines of a composite view: a line of each component, resampled to the view's grid.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "ground/width.hpp"
#include "ground/zel_door.hpp"
#include "lines/composite_seam.hpp"
#include "lines/zel_line.hpp"
#include "records/pixels.hpp"
#include "records/slot.hpp"
#include "zel_line.h"

namespace {

// A component of which a line is resampled into the view: its channels become those of the view
// from slot first on.
struct Resampling {
    ZELType& view;
    ZELType& component;
    int line;  // of the view
    int first;
    int scale;
};

// action(component channel, component pixels, view slot) for every present channel; returns the
// view slot after the last.
template <class Action>
int forChannels(const Resampling& r, Action action)
{
    int index = r.first;
    for (const auto [slot, channel] : zel::presentChannels(r.component))
        action(channel, r.component.PixBuf[slot], index++);
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

bool copySame(const Resampling& r)
{
    if (!readLineOf(r.component, r.line, r.scale)) return false;
    const int pixels = std::min(pixelsOf(r.component), pixelsOf(r.view));
    forChannels(r, [&](const ZELChannelType& channel, const unsigned char* stored, int index) {
        std::copy_n(stored, pixels * channel.DataByteSize, r.view.PixBuf[index]);
        if (r.scale) std::copy_n(channel.ChannelData, pixels, r.view.Channels[index].ChannelData);
    });
    return true;
}

// Repeats each pixel factor times, until there are count. Stored pixels lie unaligned.
template <class T>
void replicateStored(const unsigned char* from, unsigned char* to, int count, int factor)
{
    int x = 0;
    for (int pixel = 0; x < count; ++pixel) {
        const T value = zel::loadPixel<T>(from, pixel);
        const int end = std::min<int>(count - x, factor) + x;
        for (; x < end; ++x) zel::storePixel<T>(to, x, value);
    }
}

void replicateValues(const float* from, float* to, int count, int factor)
{
    replicateStored<float>(reinterpret_cast<const unsigned char*>(from),
                           reinterpret_cast<unsigned char*>(to), count, factor);
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

bool replicate(const Resampling& r)
{
    const int factor = r.component.samplingFactor;
    if (!readLineOf(r.component, r.line / factor, r.scale)) return false;
    const long long reach = static_cast<long long>(pixelsOf(r.component)) * factor;
    const int pixels = static_cast<int>(std::min<long long>(reach, pixelsOf(r.view)));
    forChannels(r, [&](const ZELChannelType& channel, const unsigned char* stored, int index) {
        replicateBytes(stored, r.view.PixBuf[index], pixels, factor, channel.DataByteSize);
        if (r.scale)
            replicateValues(channel.ChannelData, r.view.Channels[index].ChannelData, pixels,
                            factor);
    });
    return true;
}

// sums[x] += the factor values of pixel x, one after the other. The pixels do not depend on each
// other, so that a compiler that knows the factor sums several at a time.
template <class Factor>
void addWholeBlocks(float* sums, int count, const float* values, Factor factor)
{
    zel::runLoop([=] {
        for (int x = 0; x < count; ++x) {
            float sum = sums[x];
            for (int i = 0; i < factor; ++i)
                sum += values[static_cast<std::ptrdiff_t>(x) * factor + i];
            sums[x] = sum;
        }
    });
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
bool average(const Resampling& r)
{
    const int factor = r.component.samplingFactor;
    const int pixels = pixelsOf(r.view);
    forChannels(r, [&](const ZELChannelType&, const unsigned char*, int index) {
        std::fill_n(r.view.Channels[index].ChannelData, pixels, 0.0f);
    });
    for (int j = 0; j < factor; ++j) {
        const long long line = static_cast<long long>(r.line) * factor + j;
        if (!readLineOf(r.component, line, 1)) return false;
        forChannels(r, [&](const ZELChannelType& channel, const unsigned char*, int index) {
            addBlocks(r.view.Channels[index].ChannelData, pixels, channel.ChannelData,
                      pixelsOf(r.component), factor);
        });
    }
    const auto blockSize = static_cast<float>(static_cast<std::int64_t>(factor) * factor);
    forChannels(r, [&](const ZELChannelType&, const unsigned char*, int index) {
        float* values = r.view.Channels[index].ChannelData;
        zel::runLoop([=] {
            for (int x = 0; x < pixels; ++x) values[x] /= blockSize;
        });
        zel::encodeLine(r.view.Channels[index], r.view.PixBuf[index], pixels);
    });
    return true;
}

bool resample(const Resampling& r)
{
    switch (r.component.samplingFlag) {
    case ZEL_SAMPLING_SAME:
        return copySame(r);
    case ZEL_SAMPLING_AVERAGE:
        return average(r);
    case ZEL_SAMPLING_REPLICATE:
        return replicate(r);
    default:
        zel::fail("ZELReadCompositeLine: invalid subsampling \n");
    }
}

void requireComponent(const ZELType& view, int component, const char* function)
{
    if (!view.ZELComponent || component < 0 || component >= view.numZELComponents)
        zel::fail("%s: no component %d\n", function, component);
}

}  // namespace

int ZELReadCompositeLine(ZELType* ZELdata, int scale)
{
    if (!ZELdata->ZELComponent) zel::fail("ZELReadCompositeLine: Error NULL ZELComponent\n");
    zel::forgetDerived(*ZELdata);
    int slot = 0;
    for (int i = 0; i < ZELdata->numZELComponents; ++i) {
        ZELType& component = ZELdata->ZELComponent[i];
        if (!resample({*ZELdata, component, ZELdata->CurrentLine, slot, scale})) return 0;
        slot += component.NumTotalChans;
        if (i == ZELdata->baseZELComponent) zel::copyScan(*ZELdata, component);
    }
    ZELdata->CurrentLine += 1;
    return pixelsOf(*ZELdata);
}

int ZELReadCompositeShare(ZELType* ZELdata, int component, int line)
{
    requireComponent(*ZELdata, component, "ZELReadCompositeShare");
    int slot = 0;
    for (int i = 0; i < component; ++i) slot += ZELdata->ZELComponent[i].NumTotalChans;
    const bool isRead = resample({*ZELdata, ZELdata->ZELComponent[component], line, slot, 1});
    return isRead ? pixelsOf(*ZELdata) : 0;
}

void ZELCompleteCompositeLine(ZELType* ZELdata)
{
    const int base = ZELdata->baseZELComponent;
    requireComponent(*ZELdata, base, "ZELCompleteCompositeLine");
    zel::forgetDerived(*ZELdata);
    zel::copyScan(*ZELdata, ZELdata->ZELComponent[base]);
    ZELdata->CurrentLine += 1;
}

int zel::readCompositeLine(ZELType& view, int scale)
{
    return ZELReadCompositeLine(&view, scale);
}
