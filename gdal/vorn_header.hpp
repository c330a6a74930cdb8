// The binary header of a Vorn raster.
#pragma once

#include <gdal_priv.h>

#include <cstdint>

namespace zel_gdal {

struct VornHeader {
    static constexpr int size = 16;
    static constexpr int mostChannels = 1000;  // no scene takes more

    std::int32_t pixels = 0;
    std::int32_t lines = 0;
    std::int32_t channels = 0;

    // False for bytes that are no such header.
    bool take(const GByte* bytes, int count);
    // The header's bytes, in the order of the host or the other one.
    void give(GByte (&bytes)[size], bool isReversed) const;
};

}  // namespace zel_gdal
