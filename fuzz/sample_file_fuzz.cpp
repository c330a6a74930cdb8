// Opening a file of samples, and reading them in turn and out of it.
#include <algorithm>

#include "feature_support.hpp"

namespace {

void look(ZELFeatureFileStruct* file)
{
    ZELFeatureFetchClass(file);
    ZELFeatureFetchJulianDay(file);
    ZELFeatureFetchYear(file);
}

void report(ZELFeatureFileStruct* file)
{
    zel_fuzz::list(file->Parameters);
    ZELFeaturePrintClassInfo(file);
    ZELFeaturePrintFeatureInfo(file);
}

void readAll(ZELFeatureFileStruct* file)
{
    constexpr int enough = 16;
    int read = 0;
    while (read < enough && ZELFeatureReadSampleFromFile(file)) {
        look(file);
        ++read;
    }
    zel_fuzz::require(read == std::min(ZELFeatureFetchNumberOfSamples(file), enough),
                      "as many samples are read as there are");
}

void readLastAndFirst(ZELFeatureFileStruct* file)
{
    const int last = ZELFeatureFetchNumberOfSamples(file) - 1;
    if (last < 0) return;
    ZELFeatureSeekSample(file, last);
    zel_fuzz::require(ZELFeatureReadSampleFromFile(file) == 1, "the last sample is read");
    ZELFeatureRewindFile(file);
    ZELFeatureSkipSamples(file, last);
    zel_fuzz::require(ZELFeatureReadSampleFromFile(file) == 1, "the last sample is read again");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes = zel_fuzz::withClassTables(data, size);
    const zel_fuzz::File input("samples", reinterpret_cast<const std::uint8_t*>(bytes.data()),
                               bytes.size());
    const auto file = std::make_unique<ZELFeatureFileStruct>();
    if (zel_fuzz::guarded([&] { ZELFeatureOpenFile(input.path(), file.get()); })) {
        zel_fuzz::guarded([&] { report(file.get()); });
        zel_fuzz::apply(file->Parameters);
        zel_fuzz::guarded([&] { readAll(file.get()); });
        zel_fuzz::guarded([&] { readLastAndFirst(file.get()); });
        zel_fuzz::guarded([&] { ZELFeatureSeekSample(file.get(), file->NumberOfSamples); });
    }
    zel_fuzz::guarded([&] { ZELFeatureCloseFile(file.get()); });
    ZELFeatureFreeParameters(&file->Parameters);
    return 0;
}
