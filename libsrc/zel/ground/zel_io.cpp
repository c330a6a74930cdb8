#include "zel_io.h"

#include <cstddef>

#include "ground/byte_order.hpp"
#include "ground/zel_door.hpp"
#include "ground/zel_io.hpp"

int SwapByteOrdering = 0;

namespace {

ZELFileOpener fileOpener = nullptr;
void* fileOpenerData = nullptr;

}  // namespace

void ZELSetFileOpener(ZELFileOpener opener, void* userData)
{
    fileOpener = opener;
    fileOpenerData = userData;
}

FILE* zel::openToRead(const char* name)
{
    return fileOpener ? fileOpener(fileOpenerData, name) : std::fopen(name, "rb");
}

void zel::setByteOrder(int hostOrder)
{
    SwapByteOrdering = hostOrder >= 0 ? hostOrder : 0;
    if (hostOrder >= 0) return;
    report("CheckByteOrder: cannot determine byte ordering\n");
    fail("using machine native format...\n");
}

void CheckByteOrder(void)
{
    zel::setByteOrder(zel::hostByteOrder());
}

// The whole span is reversed, even when less of it was read: callers depend on it.
int checkRead(int swap, void* Buffer, int Size, int Count, FILE* fptr)
{
    if (Size < 1 || Count < 1) return 0;
    const auto size = static_cast<std::size_t>(Size);
    const auto count = static_cast<std::size_t>(Count);
    const std::size_t got = zel::readElements(fptr, Buffer, size, count, false);
    if (swap) zel::reverseElements(Buffer, size, count);
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
    const bool reversed = SwapByteOrdering && Size != 1;
    const void* bytes = reversed ? zel::reversedCopy(Buffer, size, count) : Buffer;
    return bytes ? static_cast<int>(std::fwrite(bytes, size, count, fptr)) : 0;
}
