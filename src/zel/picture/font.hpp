// A small font: five columns a character, the lowest bit on top.
#pragma once

#include <cstdint>

namespace zel_tool {

constexpr int fontFirst = 32;
constexpr int fontColumns = 5;

extern const std::uint8_t font[95][fontColumns];

}  // namespace zel_tool
