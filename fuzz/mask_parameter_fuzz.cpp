// Reading a mask parameter file. Each "@" in it is the name of a classifier file.
#include "mask_support.hpp"

namespace {

// The header of a sample file without samples, followed by a few bytes.
void writeClassifier(const char* path)
{
    constexpr char text[] = "inputfilename /dev/null\nfeature Ch1:\n";
    const zel_fuzz::File parameters("features", reinterpret_cast<const std::uint8_t*>(text),
                                    sizeof text - 1);
    ZELFeatureFileStruct file;
    ZELFeatureSetOverwritePromptOff();
    zel_fuzz::guarded([&] { ZELFeatureCreateFile(parameters.path(), &file, path); });
    std::fputs("classifier", file.fptr);
    zel_fuzz::guarded([&] { ZELFeatureCloseFile(&file); });
    ZELFeatureFreeParameters(&file.Parameters);
}

const char* classifierFile()
{
    static const zel_fuzz::File file("classifier");
    static const bool written = (writeClassifier(file.path()), true);
    return written ? file.path() : "";
}

struct MaskList : ZELFeatureMaskListType {
    MaskList() : ZELFeatureMaskListType{} {}
    ~MaskList() { ZELFeatureFreeMaskList(this); }
    MaskList(const MaskList&) = delete;
    MaskList& operator=(const MaskList&) = delete;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string text;
    for (std::size_t i = 0; i < size; ++i)
        text += data[i] == '@' ? std::string(classifierFile())
                               : std::string(1, static_cast<char>(data[i]));
    const zel_fuzz::File input("parameters", reinterpret_cast<const std::uint8_t*>(text.data()),
                               text.size());
    MaskList masks;
    if (!zel_fuzz::guarded([&] { ZELParseMaskParameterFile(input.path(), &masks); })) return 0;
    for (ZELFeatureMaskType* mask = masks.MaskHead; mask; mask = mask->next)
        zel_fuzz::useMask(mask);
    return 0;
}
