// Planes as colours: scales, colour maps, class colours, legends.
#pragma once

#include <string>
#include <vector>

#include "picture/image.hpp"
#include "picture/plane.hpp"

namespace zel_tool {

// The names of the colour maps.
const std::vector<std::string>& colorMaps();

// The colour of a part, 0 to 1, in a map.
Color mapped(const std::string& map, double part);

// Where a value lies in a range, 0 to 1.
double partOf(Range range, float value);

Image paintRgb(const std::vector<Plane>& planes, const std::vector<Range>& ranges);
Image paintMapped(const Plane& plane, Range range, const std::string& map);
Image paintClasses(const Plane& plane, const ZELDisplayLUTType& lut);

// Whether the LUT has an entry for the value.
bool isClass(const ZELDisplayLUTType& lut, float value);

// A class that occurs.
struct ClassCount {
    int value;
    long long count;
};

// The classes with a count, the most frequent first.
std::vector<ClassCount> sortedClasses(const std::vector<long long>& counts);

std::vector<ClassCount> classesOf(const Plane& plane, const ZELDisplayLUTType& lut);

// "38.7 %"; what is there but hardly seen is "< 0.1 %".
std::string share(long long count, long long total);

// The image with a legend to its right: the classes that occur, the most frequent first, or a bar
// with the ends of the range.
Image withClassLegend(const Image& image, const Plane& plane, const ZELDisplayLUTType& lut);
Image withColorBar(const Image& image, Range range, const std::string& map,
                   const std::string& title);

}  // namespace zel_tool
