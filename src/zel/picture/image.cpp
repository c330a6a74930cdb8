#include "picture/image.hpp"

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>

#include "base/failure.hpp"
#include "base/provenance.hpp"
#include "picture/font.hpp"

namespace zel_tool {

static_assert(sizeof(Color) == 3, "rows are handed on as they are");

namespace {

std::string encoded(const Image& image, png_uint_32 kind, const void* pixels)
{
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(image.width());
    png.height = static_cast<png_uint_32>(image.height());
    png.format = kind;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(png);
    std::string bytes(size, '\0');
    const int written = png_image_write_to_memory(&png, bytes.data(), &size, 0, pixels, 0, nullptr);
    if (written == 0) throw Failure(std::string("cannot make the image: ") + png.message);
    bytes.resize(size);
    return bytes;
}

// Where a PNG file has its chunks: after its first eight bytes, each with its length before and a
// checksum after it.
constexpr std::size_t firstChunk = 8;
constexpr std::size_t aroundChunk = 12;
constexpr std::size_t afterHeader = firstChunk + aroundChunk + 13;
constexpr std::string_view textKey("zel run\0", 8);

std::string bigEndian(std::uint32_t number)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> static_cast<unsigned>(shift) & 0xFFU);
    return bytes;
}

std::uint32_t bigEndianAt(std::string_view bytes, std::size_t at)
{
    std::uint32_t number = 0;
    for (std::size_t i = at; i < at + 4; ++i)
        number = number << 8U | static_cast<unsigned char>(bytes[i]);
    return number;
}

std::string textChunk(const std::string& text)
{
    const std::string chunk = "tEXt" + std::string(textKey) + text;
    const auto sum =
        crc32(0, reinterpret_cast<const Bytef*>(chunk.data()), static_cast<uInt>(chunk.size()));
    return bigEndian(static_cast<std::uint32_t>(chunk.size() - 4)) + chunk +
           bigEndian(static_cast<std::uint32_t>(sum));
}

}  // namespace

Image::Image(int width, int height, Color background)
    : width_(width),
      height_(height),
      pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), background)
{
}

void Image::fill(int x, int y, int width, int height, Color color)
{
    for (int row = std::max(y, 0); row < std::min(y + height, height_); ++row)
        for (int column = std::max(x, 0); column < std::min(x + width, width_); ++column)
            set(column, row, color);
}

void Image::place(const Image& other, int x, int y)
{
    for (int row = 0; row < std::min(other.height(), height_ - y); ++row)
        for (int column = 0; column < std::min(other.width(), width_ - x); ++column)
            set(x + column, y + row, other.at(column, row));
}

void Image::write(int x, int y, const std::string& text, Color color)
{
    for (const char c : text) {
        if ((static_cast<unsigned char>(c) & 0xC0U) == 0x80U) continue;  // the rest of a character
        const int row = c >= fontFirst && c < 127 ? c - fontFirst : '?' - fontFirst;
        for (int column = 0; column < fontColumns; ++column)
            for (int bit = 0; bit < glyphHeight; ++bit)
                if ((font[row][column] >> static_cast<unsigned>(bit) & 1U) != 0)
                    fill(x + column, y + bit, 1, 1, color);
        x += glyphWidth;
    }
}

bool Image::isGrey() const
{
    return std::all_of(pixels_.begin(), pixels_.end(),
                       [](Color c) { return c.r == c.g && c.g == c.b; });
}

std::string pngOf(const Image& image)
{
    return encoded(image, PNG_FORMAT_RGB, image.data());
}

std::string pngFileOf(const Image& image)
{
    std::string bytes = pngOf(image);
    const std::string& record = provenance().record;
    return record.empty() ? bytes : bytes.insert(afterHeader, textChunk(record));
}

std::optional<std::string> provenanceOfPng(std::string_view bytes)
{
    std::size_t at = firstChunk;
    while (at + aroundChunk <= bytes.size()) {
        const std::size_t length = bigEndianAt(bytes, at);
        if (length > bytes.size() - at - aroundChunk) break;
        const std::string_view chunk = bytes.substr(at + 4, length + 4);
        if (chunk.starts_with("tEXt") && chunk.substr(4).starts_with(textKey))
            return std::string(chunk.substr(4 + textKey.size()));
        at += length + aroundChunk;
    }
    return std::nullopt;
}

std::string greyPngOf(const Image& image)
{
    std::string levels;
    levels.reserve(static_cast<std::size_t>(image.width()) *
                   static_cast<std::size_t>(image.height()));
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) levels += static_cast<char>(image.at(x, y).r);
    return encoded(image, PNG_FORMAT_GRAY, levels.data());
}

}  // namespace zel_tool
