#include "vorn_header.hpp"

#include <cstring>

namespace zel_gdal {
namespace {

constexpr std::int32_t byteOrderWord = 0xABCD;

}  // namespace

bool VornHeader::take(const GByte* bytes, int count)
{
    if (count < size) return false;
    std::int32_t words[4];
    std::memcpy(words, bytes, size);
    if (words[0] != byteOrderWord) GDALSwapWords(words, 4, 4, 4);
    if (words[0] != byteOrderWord) return false;
    pixels = words[1];
    lines = words[2];
    channels = words[3];
    return pixels > 0 && lines > 0 && channels > 0 && channels <= mostChannels;
}

void VornHeader::give(GByte (&bytes)[size], bool isReversed) const
{
    std::int32_t words[4] = {byteOrderWord, pixels, lines, channels};
    if (isReversed) GDALSwapWords(words, 4, 4, 4);
    std::memcpy(bytes, words, size);
}

}  // namespace zel_gdal
