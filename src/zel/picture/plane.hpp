// A channel of a whole scene, brought to the size of an image.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "scene/library.hpp"

namespace zel_tool {

struct Size {
    int width;
    int height;
};

// Values row by row; a missing one is NaN.
struct Plane {
    Size size;
    std::vector<float> values;

    float at(int x, int y) const
    {
        return values[static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) +
                      static_cast<std::size_t>(x)];
    }
};

// How the pixels under one of the image become its value.
enum class Sampling { mean, nearest };

// What is wanted of a channel.
struct Wanted {
    int slot;
    Sampling sampling;
};

// The size of an image of that width in the shape of the record's grid; 0 for its own width, at
// most widest.
Size imageSize(const ZELType& record, int width, int widest);

// The greatest size in that shape that is within a box and not larger than the grid.
Size sizeWithin(const ZELType& record, Size box);

// Reads the lines that are needed. Throws Failure.
std::vector<Plane> readPlanes(ZELType& record, const std::vector<Wanted>& wanted, Size size,
                              const std::string& file);

// Reads every line, and shows each once. The size is at most that of the record.
std::vector<Plane> readPlanes(ZELType& record, const std::vector<Wanted>& wanted, Size size,
                              const std::string& file, const std::function<void()>& show);

// The values at two parts of the whole (0.02 and 0.98), of the channel's histogram when it has
// one, else of the plane.
struct Range {
    float low;
    float high;
};
Range stretchOf(const ZELChannelType& channel, const Plane& plane, double low, double high);

}  // namespace zel_tool
