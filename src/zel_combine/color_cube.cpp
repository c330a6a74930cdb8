#include "color_cube.hpp"

#include <cstdio>
#include <iterator>

#include "messages.hpp"

namespace zel_combine {
namespace {

// A group of eight colours; step k of a component is start + k * step.
struct Component {
    int start, step;
};

struct Group {
    Component R, G, B;
};

constexpr int colorsPerGroup = 8;
constexpr Component none = {0, 0};
constexpr Component full = {255, 0};
constexpr Component rising = {127, 16};

constexpr Group groups[] = {
    {rising, none, none},           {none, rising, none},           {none, none, rising},
    {rising, rising, none},         {rising, none, rising},         {none, rising, rising},
    {rising, rising, rising},       {{255, -8}, {255, -16}, full},  {full, {64, 16}, {225, -16}},
    {full, {191, -16}, {127, -16}}, {{173, 0}, {84, 16}, {32, 16}}, {{64, 16}, {168, 0}, {90, 16}}};

constexpr int numColors = static_cast<int>(std::size(groups)) * colorsPerGroup;

// Black, and the colours twice. The LUT has one entry more, which stays as it was allocated.
constexpr int numLoaded = 1 + 2 * numColors;
constexpr int numEntries = numLoaded + 1;

void loadEntry(ZELDisplayLUTType* lut, int entry, const Group& group, int k)
{
    const auto at = [k](const Component& c) {
        return static_cast<unsigned char>(c.start + k * c.step);
    };
    char label[32];
    std::snprintf(label, sizeof label, "LUT Entry %d", entry);
    ZELLoadLUTEntry(lut, entry, at(group.R), at(group.G), at(group.B), label);
}

}  // namespace

ZELDisplayLUTType* AppendColorCubeLUT(ZELType* ZELdata)
{
    ZELDisplayLUTType* lut = ZELAppendLUT(ZELdata, numEntries, "Color Cube LUT");
    if (!lut) {
        say("zel_combine: Error: no free key for the color cube\n");
        return nullptr;
    }
    loadEntry(lut, 0, {none, none, none}, 0);
    for (int entry = 1; entry < numLoaded; ++entry) {
        const int color = (entry - 1) % numColors;
        loadEntry(lut, entry, groups[color / colorsPerGroup], color % colorsPerGroup);
    }
    return lut;
}

}  // namespace zel_combine
