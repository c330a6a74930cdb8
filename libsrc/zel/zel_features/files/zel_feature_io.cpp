#include "zel_features/zel_feature_io.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "ground/byte_order.hpp"
#include "ground/memory.hpp"
#include "zel_features/files/zel_feature_io.hpp"
#include "zel_features/language/zel_feature_report.hpp"

int HostOS = 0;
int OSInitialized = 0;

namespace {

// Grows to the largest reversed write and is kept for the next.
struct Scratch {
    zel::Owned<unsigned char> bytes;
    std::size_t size = 0;
};
Scratch scratch;

void reverseElements(unsigned char* element, std::size_t size, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i, element += size) std::reverse(element, element + size);
}

bool isReversed(int size)
{
    if (size == 1) return false;
    if (!OSInitialized) InitializeFileRead();
    return HostOS == 1;
}

const void* reversedCopy(const void* buffer, std::size_t size, std::size_t count)
{
    const std::size_t bytes = size * count;
    if (bytes > scratch.size) {
        scratch.bytes.reset(zel::allocate<unsigned char>(bytes));
        scratch.size = scratch.bytes ? bytes : 0;
        if (!scratch.bytes) zel::failWithError("FileWrite: cannot allocate memory\n");
    }
    std::memcpy(scratch.bytes.get(), buffer, bytes);
    reverseElements(scratch.bytes.get(), size, count);
    return scratch.bytes.get();
}

[[noreturn]] void failWriting()
{
    zel::failWithError("FileWrite error:");
}

}  // namespace

void zel::setHostOS(int hostOrder)
{
    if (hostOrder < 0) failWithError("InitializeFileRead: cannot determine byte ordering\n");
    HostOS = hostOrder == 0 ? 1 : 0;
    OSInitialized = 1;
}

void InitializeFileRead(void)
{
    zel::setHostOS(zel::hostByteOrder());
}

int FileRead(void* buffer, int size, int count, FILE* fptr)
{
    if (size < 1 || count < 1) return 0;
    const auto elementSize = static_cast<std::size_t>(size);
    const std::size_t got = std::fread(buffer, elementSize, static_cast<std::size_t>(count), fptr);
    if (got > 0 && isReversed(size))
        reverseElements(static_cast<unsigned char*>(buffer), elementSize, got);
    return static_cast<int>(got);
}

void FileWrite(const void* buffer, int size, int count, FILE* fptr)
{
    if (count < 1) {
        errno = 0;  // nothing that the system refused
        failWriting();
    }
    const auto elementSize = static_cast<std::size_t>(size);
    const auto wanted = static_cast<std::size_t>(count);
    if (isReversed(size)) buffer = reversedCopy(buffer, elementSize, wanted);
    if (std::fwrite(buffer, elementSize, wanted, fptr) < wanted) failWriting();
}
