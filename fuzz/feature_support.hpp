// What the fuzz targets of the feature layer share.
#ifndef FEATURE_SUPPORT_HPP
#define FEATURE_SUPPORT_HPP

#include <sys/mman.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <zel/zel_features/zel_features.h>

#include "fuzz_support.hpp"

namespace zel_fuzz {

// What a header says of the 1000 classes when there are no samples and no names: their counts, then
// for each an empty name and three colours.
inline const std::string& emptyClassTable()
{
    static const std::string table = [] {
        constexpr std::string_view emptyClass("\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0\0\0", 17);
        std::string bytes(std::size_t{4} * ZEL_FEATURE_NUM_CLASSES, '\0');
        for (int i = 0; i < ZEL_FEATURE_NUM_CLASSES; ++i) bytes += emptyClass;
        return bytes;
    }();
    return table;
}

// The input with an empty class table in place of the word "CLASSES!". A table takes 21000 bytes in
// which there is little to find, so that inputs may leave it out.
inline std::string withClassTables(const std::uint8_t* data, std::size_t size)
{
    constexpr std::string_view word = "CLASSES!";
    constexpr int mostTables = 3;
    std::string bytes(reinterpret_cast<const char*>(data), size);
    std::size_t at = 0;
    for (int i = 0; i < mostTables; ++i) {
        at = bytes.find(word, at);
        if (at == std::string::npos) break;
        bytes.replace(at, word.size(), emptyClassTable());
        at += emptyClassTable().size();
    }
    return bytes;
}

// A stream of its own in memory, at its beginning, to read and to write.
class Stream {
public:
    explicit Stream(const std::string& content)
        : stream_(fdopen(memfd_create("zel_fuzz", 0), "w+b"), std::fclose)
    {
        std::fwrite(content.data(), 1, content.size(), get());
        std::rewind(get());
    }
    FILE* get() const { return stream_.get(); }

private:
    std::unique_ptr<FILE, int (*)(FILE*)> stream_;
};

// The pixel that every evaluation is given, as it was at first.
inline ZELPixelStruct& freshPixel()
{
    static ZELPixelStruct pixel;
    static std::vector<float> channels;
    channels = {0.5F, 12.0F, 270.25F};
    pixel = {};
    pixel.Channels = channels.data();
    pixel.numChannels = 3;
    pixel.Class = 4.0F;
    pixel.lat = 10.0F;
    pixel.sz = 95.0F;
    for (float& weight : pixel.class_weights) weight = 1.0F;
    return pixel;
}

// Frees itself in any state.
struct Parameters : ZELParameterStruct {
    Parameters() : ZELParameterStruct{} {}
    ~Parameters() { ZELFeatureFreeParameters(this); }
    Parameters(const Parameters&) = delete;
    Parameters& operator=(const Parameters&) = delete;
};

// Reads a header from the stream's beginning.
inline bool readHeader(FILE* stream, ZELParameterStruct& p)
{
    std::rewind(stream);
    return guarded([&] { ZELFeatureReadHeader(stream, &p); });
}

// What is written is read again. Nothing is written for a record without features.
inline void writeAndReadAgain(ZELParameterStruct& p)
{
    if (p.Features.num == 0) return;
    const Stream stream("");
    require(guarded([&] {
                ZELFeatureWriteHeader(stream.get(), &p);
                ZELFeatureUpdateHeaderInfo(stream.get(), &p);
            }),
            "a header is written");
    const auto again = std::make_unique<Parameters>();
    require(readHeader(stream.get(), *again), "a header that is written is read");
    require(again->Features.num == p.Features.num, "it has the same features");
}

// Everything that can be listed of a record of parameters.
inline void list(const ZELParameterStruct& p)
{
    ZELFeaturePrintHeader(&p);
    ZELFeaturePrintTitle(&p);
    ZELFeaturePrintComments(&p);
    ZELFeaturePrintConditions(&p);
    ZELFeaturePrintRequirements(&p);
    ZELFeaturePrintOptions(&p);
    ZELFeaturePrintFilters(&p);
}

// What the parameters say, done to a pixel; each may end at a fault of an expression.
inline void apply(const ZELParameterStruct& p)
{
    guarded([&] { ZELFeatureCheckRequirements(&p, &freshPixel()); });
    guarded([&] { ZELFeatureCheckOptions(&p, &freshPixel()); });
    guarded([&] { ZELFeatureApplyFilters(&p, &freshPixel()); });
}

}  // namespace zel_fuzz

#endif
