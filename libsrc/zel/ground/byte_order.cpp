#include "ground/byte_order.hpp"

#include <algorithm>
#include <cstring>

#include "ground/memory.hpp"

namespace {

// Grows to the largest reversed write and is kept for the next.
struct Scratch {
    zel::Owned<unsigned char> bytes;
    std::size_t size = 0;
};
Scratch scratch;

bool reserve(std::size_t size)
{
    if (size <= scratch.size) return true;
    scratch.bytes.reset(zel::allocate<unsigned char>(size));
    scratch.size = scratch.bytes ? size : 0;
    return scratch.bytes != nullptr;
}

}  // namespace

namespace zel {

void reverseElements(void* values, std::size_t size, std::size_t count)
{
    if (size == 1) return;
    auto* element = static_cast<unsigned char*>(values);
    for (std::size_t i = 0; i < count; ++i, element += size) std::reverse(element, element + size);
}

const void* reversedCopy(const void* values, std::size_t size, std::size_t count)
{
    if (!reserve(size * count)) return nullptr;
    std::memcpy(scratch.bytes.get(), values, size * count);
    reverseElements(scratch.bytes.get(), size, count);
    return scratch.bytes.get();
}

}  // namespace zel
