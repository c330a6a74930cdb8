#include "zel_io.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "ground/byte_order.hpp"
#include "ground/memory.hpp"
#include "ground/zel_door.hpp"

int SwapByteOrdering = 0;

namespace {

// Grows to the largest swapped write and is kept for the next.
struct Scratch {
    unsigned char* bytes = nullptr;
    std::size_t size = 0;
};
Scratch scratch;

void reverseElements(void* buffer, int size, int count)
{
    auto* element = static_cast<unsigned char*>(buffer);
    for (int i = 0; i < count; ++i, element += size) std::reverse(element, element + size);
}

}  // namespace

namespace zel {

int hostByteOrder()
{
    const int number = 254;
    unsigned char bytes[4];
    std::memcpy(bytes, &number, sizeof bytes);
    if (bytes[0] == 254) return 0;
    if (bytes[3] == 254) return 1;
    return -1;
}

void setByteOrder(int hostOrder)
{
    SwapByteOrdering = hostOrder >= 0 ? hostOrder : 0;
    if (hostOrder >= 0) return;
    report("CheckByteOrder: cannot determine byte ordering\n");
    fail("using machine native format...\n");
}

}  // namespace zel

void CheckByteOrder(void)
{
    zel::setByteOrder(zel::hostByteOrder());
}

int checkRead(int swap, void* Buffer, int Size, int Count, FILE* fptr)
{
    if (Size < 1 || Count < 1) return 0;
    const std::size_t got =
        std::fread(Buffer, static_cast<std::size_t>(Size), static_cast<std::size_t>(Count), fptr);
    if (swap && Size != 1) reverseElements(Buffer, Size, Count);
    return static_cast<int>(got);
}

int ZELRead(void* Buffer, int Size, int Count, FILE* fptr)
{
    return checkRead(SwapByteOrdering, Buffer, Size, Count, fptr);
}

int ZELWrite(const void* Buffer, int Size, int Count, FILE* fptr)
{
    if (Size < 1 || Count < 1) return 0;
    const auto size = static_cast<std::size_t>(Size);
    const auto count = static_cast<std::size_t>(Count);
    if (Size == 1 || !SwapByteOrdering)
        return static_cast<int>(std::fwrite(Buffer, size, count, fptr));
    if (size * count > scratch.size) {
        zel::release(scratch.bytes);
        scratch.bytes = zel::allocate<unsigned char>(size * count);
        scratch.size = scratch.bytes ? size * count : 0;
        if (!scratch.bytes) return 0;
    }
    std::memcpy(scratch.bytes, Buffer, size * count);
    reverseElements(scratch.bytes, Size, Count);
    return static_cast<int>(std::fwrite(scratch.bytes, size, count, fptr));
}
