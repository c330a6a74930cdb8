// An image of red, green and blue bytes, and its PNG.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zel_tool {

struct Color {
    std::uint8_t r, g, b;
};

class Image {
public:
    Image(int width, int height, Color background = {0, 0, 0});

    int width() const { return width_; }
    int height() const { return height_; }
    Color at(int x, int y) const { return pixels_[index(x, y)]; }
    void set(int x, int y, Color color) { pixels_[index(x, y)] = color; }
    void fill(int x, int y, int width, int height, Color color);

    // Copies another image in; what reaches beyond the edge is cut.
    void place(const Image& other, int x, int y);

    // Text of ASCII characters, 6 x 8 pixels each; others are shown as "?".
    void write(int x, int y, const std::string& text, Color color);

    const Color* data() const { return pixels_.data(); }
    bool isGrey() const;

private:
    std::size_t index(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
               static_cast<std::size_t>(x);
    }

    int width_;
    int height_;
    std::vector<Color> pixels_;
};

constexpr int glyphWidth = 6;
constexpr int glyphHeight = 8;

// The bytes of a PNG file. Throws Failure.
std::string pngOf(const Image& image);

// The same for a file, which holds where the outputs of a run come from as a text "zel run".
std::string pngFileOf(const Image& image);

// That text of a PNG file; nothing where there is none.
std::optional<std::string> provenanceOfPng(std::string_view bytes);

// The same with one byte a pixel, the red one.
std::string greyPngOf(const Image& image);

}  // namespace zel_tool
