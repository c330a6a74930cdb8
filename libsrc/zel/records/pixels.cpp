#include "records/pixels.hpp"

#include "ground/width.hpp"
#include "records/scaling_table.hpp"

namespace zel {
namespace {

template <class T>
void decodeScaled(ZELChannelType& channel, const unsigned char* pixels, int count)
{
    float* values = channel.ChannelData;
    if (const float* table = channel.ChannelLUT) {
        for (int i = 0; i < count; ++i) values[i] = table[loadPixel<T>(pixels, i)];
        return;
    }
    const Scale scale(channel);
    runLoop([=] {
        for (int i = 0; i < count; ++i) values[i] = scale.value(loadPixel<T>(pixels, i));
    });
}

template <class T>
void decodeUnscaled(ZELChannelType& channel, const unsigned char* pixels, int count)
{
    for (int i = 0; i < count; ++i)
        channel.ChannelData[i] = static_cast<float>(loadPixel<T>(pixels, i));
}

// The ratio is rounded to float before it is multiplied by the steps.
template <class T>
void encodeScaled(const ZELChannelType& channel, unsigned char* pixels, int count)
{
    const float range = channel.MaxValue - channel.MinValue;
    const double steps = stepsOf(channel.Type);
    const float* values = channel.ChannelData;
    const float min = channel.MinValue;
    runLoop([=] {
        for (int i = 0; i < count; ++i) {
            const float ratio = (values[i] - min) / range;
            storePixel<T>(pixels, i, truncateTo<T>(static_cast<double>(ratio) * steps));
        }
    });
}

template <class T>
void encodeUnscaled(const ZELChannelType& channel, unsigned char* pixels, int count)
{
    for (int i = 0; i < count; ++i)
        storePixel<T>(pixels, i, truncateTo<T>(static_cast<double>(channel.ChannelData[i])));
}

}  // namespace

bool isScaled(int storageCode)
{
    return storageCode == ZEL_STORED_BYTE_SCALED || storageCode == ZEL_STORED_UINT16_SCALED;
}

void decodeLine(ZELChannelType& channel, const unsigned char* pixels, int count)
{
    switch (channel.Type) {
    case ZEL_STORED_BYTE_SCALED:
        return decodeScaled<std::uint8_t>(channel, pixels, count);
    case ZEL_STORED_UINT16_SCALED:
        return decodeScaled<std::uint16_t>(channel, pixels, count);
    case ZEL_STORED_BYTE:
        return decodeUnscaled<std::uint8_t>(channel, pixels, count);
    case ZEL_STORED_FLOAT:
        return decodeUnscaled<float>(channel, pixels, count);
    case ZEL_STORED_UINT16:
        return decodeUnscaled<std::uint16_t>(channel, pixels, count);
    default:
        return;
    }
}

void encodeLine(const ZELChannelType& channel, unsigned char* pixels, int count)
{
    switch (channel.Type) {
    case ZEL_STORED_BYTE_SCALED:
        return encodeScaled<std::uint8_t>(channel, pixels, count);
    case ZEL_STORED_UINT16_SCALED:
        return encodeScaled<std::uint16_t>(channel, pixels, count);
    case ZEL_STORED_BYTE:
        return encodeUnscaled<std::uint8_t>(channel, pixels, count);
    case ZEL_STORED_FLOAT:
        std::memcpy(pixels, channel.ChannelData, static_cast<std::size_t>(count) * sizeof(float));
        return;
    case ZEL_STORED_UINT16:
        return encodeUnscaled<std::uint16_t>(channel, pixels, count);
    default:
        return;
    }
}

void clampLine(ZELChannelType& channel, int count)
{
    const bool rangedFloat =
        channel.Type == ZEL_STORED_FLOAT && channel.MaxValue > channel.MinValue;
    if (!isScaled(channel.Type) && !rangedFloat) return;
    for (int i = 0; i < count; ++i) {
        float& value = channel.ChannelData[i];
        if (value < channel.MinValue) value = channel.MinValue;
        if (value > channel.MaxValue) value = channel.MaxValue;
    }
}

}  // namespace zel
