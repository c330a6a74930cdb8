// Images as characters.
#pragma once

#include <string>

#include "picture/image.hpp"
#include "picture/plane.hpp"

namespace zel_tool {

// Whether standard output is a terminal that shows colours.
bool terminalHasColors();

// Two rows of the image a line, as half blocks in 24-bit colours.
std::string coloredText(const Image& image);

// A character a pixel, dark to light.
std::string greyText(const Image& image);

// A line for each class of a class channel, with its colour or its character.
std::string classText(const Plane& plane, const ZELDisplayLUTType& lut, bool colors);

}  // namespace zel_tool
