// Reading a mask from a stream, and all that is done with one.
#include "mask_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const zel_fuzz::Stream input(zel_fuzz::withClassTables(data, size));
    const zel_fuzz::OwnedMask mask = zel_fuzz::readMask(input.get());
    if (mask) zel_fuzz::useMask(mask.get());
    return 0;
}
