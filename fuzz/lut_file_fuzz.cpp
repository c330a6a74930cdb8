// Reading a LUT definition file into a record.
#include <memory>

#include <zel_combine/lut_file.hpp>

#include "fuzz_support.hpp"
#include "tool_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zel_fuzz::silenceStreams();
    const zel_fuzz::File input("luts", data, size);
    const auto record = std::make_unique<ZELType>();
    zel_fuzz::guarded([&] {
        ZELAddLUT(record.get(), 7, 1, "before");
        if (zel_combine::ReadLUT(input.path(), record.get())) ZELPrintLUTs(record.get());
    });
    ZELFreeLUTs(record.get());
    return 0;
}
