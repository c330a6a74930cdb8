// The bytes of numbers on their way between memory and a file.
#ifndef ZEL_GROUND_BYTE_ORDER_HPP
#define ZEL_GROUND_BYTE_ORDER_HPP

#include <bit>
#include <cstddef>
#include <cstdio>

namespace zel {

// 0 on a little-endian host, 1 on a big-endian one, -1 on neither.
constexpr int hostByteOrder()
{
    if (std::endian::native == std::endian::little) return 0;
    return std::endian::native == std::endian::big ? 1 : -1;
}

// Reverses the bytes of each element.
void reverseElements(void* values, std::size_t size, std::size_t count);

// fread of count elements of size bytes; those that were read are reversed when asked to.
inline std::size_t readElements(FILE* stream, void* values, std::size_t size, std::size_t count,
                                bool reversed)
{
    const std::size_t got = std::fread(values, size, count, stream);
    if (reversed) reverseElements(values, size, got);
    return got;
}

// A copy with each element reversed, valid until the next one; null when memory fails.
const void* reversedCopy(const void* values, std::size_t size, std::size_t count);

}  // namespace zel

#endif
