// Stored pixels and their values: decoding, encoding.
#ifndef ZEL_RECORDS_PIXELS_HPP
#define ZEL_RECORDS_PIXELS_HPP

#include <cstdint>
#include <cstring>

#include "zel_types.h"

namespace zel {

// Whether a storage code is one of steps in the channel's scale range.
bool isScaled(int storageCode);

// ChannelData of the first count pixels from their stored form. A scaled channel may be without its
// table.
void decodeLine(ZELChannelType& channel, const unsigned char* pixels, int count);

// The stored form of the first count values of ChannelData, truncated toward zero.
void encodeLine(const ZELChannelType& channel, unsigned char* pixels, int count);

// Brings ChannelData into the scale range, where the storage code has one.
void clampLine(ZELChannelType& channel, int count);

// The integer part of a value, modulo the range of T; 0 for one that no int can hold.
template <class T>
T truncateTo(double value)
{
    const bool fits = value > -2147483649.0 && value < 2147483648.0;
    return static_cast<T>(fits ? static_cast<std::int32_t>(value) : 0);
}

// Stored pixels lie unaligned in their buffer as far as the compiler knows.
template <class T>
T loadPixel(const unsigned char* pixels, int index)
{
    T value;
    std::memcpy(&value, pixels + static_cast<std::size_t>(index) * sizeof(T), sizeof(T));
    return value;
}

template <class T>
void storePixel(unsigned char* pixels, int index, T value)
{
    std::memcpy(pixels + static_cast<std::size_t>(index) * sizeof(T), &value, sizeof(T));
}

}  // namespace zel

#endif
