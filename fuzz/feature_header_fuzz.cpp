// Reading the header of a feature file; what was read is listed, applied, written and read again.
#include "feature_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const zel_fuzz::Stream input(zel_fuzz::withClassTables(data, size));
    const auto p = std::make_unique<zel_fuzz::Parameters>();
    if (!zel_fuzz::readHeader(input.get(), *p)) return 0;
    zel_fuzz::guarded([&] { zel_fuzz::list(*p); });
    zel_fuzz::apply(*p);
    zel_fuzz::writeAndReadAgain(*p);
    return 0;
}
