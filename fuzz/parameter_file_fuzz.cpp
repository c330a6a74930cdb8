// Reading a feature parameter file; what it says is listed, applied, and begins a file of samples.
#include "feature_support.hpp"

namespace {

// A record and its file, freed and removed in any state.
struct Samples : ZELFeatureFileStruct {
    Samples() : ZELFeatureFileStruct{} {}
    ~Samples()
    {
        zel_fuzz::guarded([&] { ZELFeatureCloseFile(this); });
        ZELFeatureFreeParameters(&Parameters);
    }
    Samples(const Samples&) = delete;
    Samples& operator=(const Samples&) = delete;
};

// False when the parameter file is refused.
bool writeSample(const char* parameters, const char* output)
{
    const auto file = std::make_unique<Samples>();
    ZELFeatureSetOverwritePromptOff();
    if (!zel_fuzz::guarded([&] { ZELFeatureCreateFile(parameters, file.get(), output); }))
        return false;
    zel_fuzz::guarded([&] { zel_fuzz::list(file->Parameters); });
    zel_fuzz::apply(file->Parameters);
    file->Pixel = zel_fuzz::freshPixel();
    ZELBindPixel(&file->Pixel);
    zel_fuzz::guarded([&] { ZELFeatureCompute(file.get()); });
    ZELBindPixel(nullptr);
    zel_fuzz::require(zel_fuzz::guarded([&] { ZELFeatureWriteSampleToFile(file.get()); }),
                      "a sample is written");
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const zel_fuzz::File input("parameters", data, size);
    const zel_fuzz::File output("samples");
    if (!writeSample(input.path(), output.path())) return 0;
    const auto again = std::make_unique<Samples>();
    zel_fuzz::require(zel_fuzz::guarded([&] { ZELFeatureOpenFile(output.path(), again.get()); }),
                      "the file that is written opens");
    zel_fuzz::require(again->NumberOfSamples == 1, "it has the sample");
    return 0;
}
