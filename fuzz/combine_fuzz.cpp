// Combining two files both ways. The first four bytes of the input say where the second file
// begins.
#include <algorithm>
#include <cstring>
#include <memory>

#include "feature_support.hpp"

namespace {

void combineOnOneGrid(const char* const* names, const char* output)
{
    const auto in = std::make_unique<ZELType>();
    const auto out = std::make_unique<ZELType>();
    zel_fuzz::guarded([&] {
        if (ZELOpenCompositeReadOnlyFile(in.get(), names, 2, 0) != 0) return;
        ZELCopyFileHeaders(out.get(), in.get());
        ZELSetOverwritePromptOff(out.get());
        ZELSetHistogramFlag(out.get(), 1);
        if (ZELOpenWriteOnlyFile(out.get(), output) != 0) return;
        constexpr int enough = 16;
        for (int n = 0; n < enough && ZELReadLine(in.get()); ++n) {
            ZELCopyLine(out.get(), in.get());
            ZELWriteLine(out.get());
        }
    });
    if (in->ReadWriteFlag == ZEL_READ_ONLY)
        zel_fuzz::guarded([&] { ZELFinishReadingFile(in.get()); });
    if (out->ReadWriteFlag == ZEL_WRITE_ONLY)
        zel_fuzz::guarded([&] { ZELFinishWritingFile(out.get()); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::uint32_t split = 0;
    if (size < sizeof split) return 0;
    std::memcpy(&split, data, sizeof split);
    data += sizeof split;
    size -= sizeof split;
    const std::size_t first = std::min<std::size_t>(split, size);
    const zel_fuzz::File a("first", zel_fuzz::withClassTables(data, first));
    const zel_fuzz::File b("second", zel_fuzz::withClassTables(data + first, size - first));
    const zel_fuzz::File output("output");
    const char* names[] = {a.path(), b.path()};
    zel_fuzz::guarded([&] { ZELCreateCompositeFile(names, 2, 0, -1, output.path(), 0); });
    combineOnOneGrid(names, output.path());
    return 0;
}
