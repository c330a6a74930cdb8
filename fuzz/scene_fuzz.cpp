// Opening a file, plain or composite, and reading every line of it with all that follows from a line.
#include <memory>

#include "fuzz_support.hpp"

namespace {

void look(ZELType* file)
{
    float* sz = nullptr;
    float* vz = nullptr;
    float* az = nullptr;
    ZELFetchSolar(file, &sz, &vz, &az);
    float* lat = nullptr;
    float* lon = nullptr;
    ZELFetchNavigation(file, &lat, &lon);
    ZELAncillaryFetchSunglint(file);
}

void report(ZELType* file)
{
    static FILE* const nowhere = std::fopen("/dev/null", "w");
    ZELPrintHeaderInfo(file, nowhere);
    ZELPrintMetadata(file);
    ZELPrintLUTs(file);
    ZELPrintTables(&file->ZELHeader.TableList);
    ZELPrintHistograms(file);
}

void readAll(ZELType* file)
{
    constexpr int enough = 64;
    for (int n = 0; n < enough && ZELReadLine(file); ++n) look(file);
    if (ZELSetCurrentLine(file, 0) == 0) ZELReadLineNoScale(file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const zel_fuzz::File input("scene", data, size);
    const auto file = std::make_unique<ZELType>();
    bool open = false;
    zel_fuzz::guarded([&] {
        open = ZELOpenReadOnlyFile(file.get(), input.path()) == 0;
        if (!open) return;
        report(file.get());
        readAll(file.get());
    });
    if (file->ReadWriteFlag == ZEL_READ_ONLY)
        zel_fuzz::guarded([&] { ZELFinishReadingFile(file.get()); });
    return 0;
}
