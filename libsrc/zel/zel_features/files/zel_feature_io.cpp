#include "zel_features/zel_feature_io.h"

#include <cerrno>
#include <cstddef>

#include "ground/byte_order.hpp"
#include "zel_features/files/zel_feature_io.hpp"
#include "zel_features/language/zel_feature_report.hpp"

int HostOS = 0;
int OSInitialized = 0;

namespace {

bool isReversed(int size)
{
    if (size == 1) return false;
    if (!OSInitialized) InitializeFileRead();
    return HostOS == 1;
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
    return static_cast<int>(zel::readElements(fptr, buffer, static_cast<std::size_t>(size),
                                              static_cast<std::size_t>(count), isReversed(size)));
}

void FileWrite(const void* buffer, int size, int count, FILE* fptr)
{
    if (count < 1) {
        errno = 0;  // nothing that the system refused
        failWriting();
    }
    const auto elementSize = static_cast<std::size_t>(size);
    const auto wanted = static_cast<std::size_t>(count);
    if (isReversed(size)) {
        buffer = zel::reversedCopy(buffer, elementSize, wanted);
        if (!buffer) zel::failWithError("FileWrite: cannot allocate memory\n");
    }
    if (std::fwrite(buffer, elementSize, wanted, fptr) < wanted) failWriting();
}
