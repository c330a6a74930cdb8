#include "picture/paint.hpp"

#include <algorithm>
#include <cmath>

#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

constexpr Color white{255, 255, 255};
constexpr Color black{0, 0, 0};
constexpr int margin = 10;
constexpr int swatch = 12;
constexpr int rowHeight = 16;
constexpr std::size_t longestName = 32;

struct Map {
    const char* name;
    std::vector<Color> stops;  // evenly spaced
};

const std::vector<Map>& maps()
{
    static const std::vector<Map> all = {
        {"grey", {{0, 0, 0}, {255, 255, 255}}},
        {"viridis",
         {{68, 1, 84},
          {72, 40, 120},
          {62, 74, 137},
          {49, 104, 142},
          {38, 130, 142},
          {31, 158, 137},
          {53, 183, 121},
          {109, 205, 89},
          {180, 222, 44},
          {253, 231, 37}}},
        {"heat", {{0, 0, 0}, {128, 0, 0}, {255, 64, 0}, {255, 192, 0}, {255, 255, 255}}},
        {"blue-red",
         {{33, 102, 172}, {146, 197, 222}, {247, 247, 247}, {244, 165, 130}, {178, 24, 43}}},
    };
    return all;
}

std::uint8_t between(std::uint8_t a, std::uint8_t b, double part)
{
    return static_cast<std::uint8_t>(std::lround(a + (b - a) * part));
}

Image emptyLike(const Plane& plane)
{
    return Image(plane.size.width, plane.size.height);
}

template <class ColorOf>
Image painted(const Plane& plane, ColorOf colorOf)
{
    Image image = emptyLike(plane);
    for (int y = 0; y < plane.size.height; ++y)
        for (int x = 0; x < plane.size.width; ++x) image.set(x, y, colorOf(plane.at(x, y)));
    return image;
}

std::string cut(const std::string& text)
{
    return text.size() > longestName ? text.substr(0, longestName - 2) + ".." : text;
}

// The image on a white sheet with room to its right.
Image sheet(const Image& image, int legendWidth, int legendHeight)
{
    Image out(image.width() + legendWidth, std::max(image.height(), legendHeight), white);
    out.place(image, 0, 0);
    return out;
}

}  // namespace

bool isClass(const ZELDisplayLUTType& lut, float value)
{
    return value >= 0.0F && value < static_cast<float>(lut.NumLUTValues);
}

const std::vector<std::string>& colorMaps()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> list;
        for (const Map& map : maps()) list.emplace_back(map.name);
        return list;
    }();
    return names;
}

Color mapped(const std::string& map, double part)
{
    const auto found =
        std::find_if(maps().begin(), maps().end(), [&](const Map& m) { return map == m.name; });
    if (found == maps().end()) throw Misuse("no colour map '" + map + "'");
    const auto& stops = found->stops;
    const double place = std::clamp(part, 0.0, 1.0) * static_cast<double>(stops.size() - 1);
    const auto below = std::min(static_cast<std::size_t>(place), stops.size() - 2);
    const double within = place - static_cast<double>(below);
    const Color a = stops[below];
    const Color b = stops[below + 1];
    return {between(a.r, b.r, within), between(a.g, b.g, within), between(a.b, b.b, within)};
}

double partOf(Range range, float value)
{
    if (!(range.high > range.low)) return value > range.low ? 1.0 : 0.0;
    const double width = static_cast<double>(range.high) - static_cast<double>(range.low);
    return std::clamp((static_cast<double>(value) - static_cast<double>(range.low)) / width, 0.0,
                      1.0);
}

Image paintRgb(const std::vector<Plane>& planes, const std::vector<Range>& ranges)
{
    Image image = emptyLike(planes[0]);
    const auto level = [&](std::size_t i, int x, int y) {
        return static_cast<std::uint8_t>(
            std::lround(255.0 * partOf(ranges[i], planes[i].at(x, y))));
    };
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const bool missing = std::isnan(planes[0].at(x, y)) || std::isnan(planes[1].at(x, y)) ||
                                 std::isnan(planes[2].at(x, y));
            image.set(x, y,
                      missing ? black : Color{level(0, x, y), level(1, x, y), level(2, x, y)});
        }
    return image;
}

Image paintMapped(const Plane& plane, Range range, const std::string& map)
{
    return painted(plane, [&](float value) {
        return std::isnan(value) ? black : mapped(map, partOf(range, value));
    });
}

Image paintClasses(const Plane& plane, const ZELDisplayLUTType& lut)
{
    return painted(plane, [&](float value) {
        if (!isClass(lut, value)) return black;
        const ZELLUTType& entry = lut.DisplayLUT[static_cast<int>(value)];
        return Color{entry.R, entry.G, entry.B};
    });
}

std::vector<ClassCount> sortedClasses(const std::vector<long long>& counts)
{
    std::vector<ClassCount> classes;
    for (std::size_t value = 0; value < counts.size(); ++value)
        if (counts[value] > 0) classes.push_back({static_cast<int>(value), counts[value]});
    std::stable_sort(classes.begin(), classes.end(),
                     [](const ClassCount& a, const ClassCount& b) { return a.count > b.count; });
    return classes;
}

std::vector<ClassCount> classesOf(const Plane& plane, const ZELDisplayLUTType& lut)
{
    std::vector<long long> counts(static_cast<std::size_t>(std::max<int>(lut.NumLUTValues, 0)));
    for (const float value : plane.values)
        if (isClass(lut, value)) ++counts[static_cast<std::size_t>(value)];
    return sortedClasses(counts);
}

std::string share(long long count, long long total)
{
    const double percent = 100.0 * static_cast<double>(count) / static_cast<double>(total);
    return percent > 0.0 && percent < 0.05 ? "< 0.1 %" : format("%.1f %%", percent);
}

Image withClassLegend(const Image& image, const Plane& plane, const ZELDisplayLUTType& lut)
{
    const std::vector<ClassCount> classes = classesOf(plane, lut);
    std::vector<std::string> lines;
    std::size_t longest = 0;
    for (const ClassCount& c : classes) {
        const auto pixels = static_cast<long long>(plane.values.size());
        lines.push_back(paddedLeft(share(c.count, pixels), 7) + " " +
                        cut(printable(lut.DisplayLUT[c.value].LUTEntryLabel)));
        longest = std::max(longest, lines.back().size());
    }
    const int width = 2 * margin + swatch + 4 + static_cast<int>(longest) * glyphWidth;
    Image out = sheet(image, width, 2 * margin + rowHeight * static_cast<int>(classes.size()));
    int y = margin;
    for (std::size_t i = 0; i < classes.size(); ++i, y += rowHeight) {
        const ZELLUTType& entry = lut.DisplayLUT[classes[i].value];
        const int x = image.width() + margin;
        out.fill(x, y, swatch, swatch, black);
        out.fill(x + 1, y + 1, swatch - 2, swatch - 2, {entry.R, entry.G, entry.B});
        out.write(x + swatch + 4, y + 2, lines[i], black);
    }
    return out;
}

Image withColorBar(const Image& image, Range range, const std::string& map,
                   const std::string& title)
{
    const std::string low = format("%.4g", static_cast<double>(range.low));
    const std::string high = format("%.4g", static_cast<double>(range.high));
    const std::string name = cut(title);
    const auto longest = std::max({low.size(), high.size(), name.size()});
    const int width = 2 * margin + std::max(swatch, static_cast<int>(longest) * glyphWidth);
    Image out = sheet(image, width, 6 * rowHeight);
    const int x = image.width() + margin;
    out.write(x, margin, name, black);
    out.write(x, margin + rowHeight, high, black);
    const int top = margin + 2 * rowHeight;
    const int bottom = std::min(out.height() - margin - rowHeight, top + 200);
    for (int y = top; y < bottom; ++y)
        out.fill(x, y, swatch, 1,
                 mapped(map, 1.0 - static_cast<double>(y - top) / std::max(bottom - top - 1, 1)));
    out.write(x, bottom + 4, low, black);
    return out;
}

}  // namespace zel_tool
