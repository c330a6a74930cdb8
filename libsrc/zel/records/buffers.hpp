// The line buffers of a record, which it owns from its open to its end.
#ifndef ZEL_RECORDS_BUFFERS_HPP
#define ZEL_RECORDS_BUFFERS_HPP

#include <cstddef>

#include "ground/zel_door.hpp"
#include "zel_types.h"

namespace zel {

// Zeroed bytes that the record owns, or null.
void* lineMemory(ZELType& file, std::size_t bytes);

// count elements that the record owns; ends the process (-1) with "function: cannot allocate what".
template <class T>
T* lineBuffer(ZELType& file, int count, const char* function, const char* what)
{
    auto* buffer = static_cast<T*>(
        lineMemory(file, static_cast<std::size_t>(count > 0 ? count : 1) * sizeof(T)));
    if (!buffer) fail("%s: cannot allocate %s\n", function, what);
    return buffer;
}

// Which angles of a line are computed, and need buffers; and the function that messages name.
struct LineBufferOptions {
    const char* function;
    bool solarZenith, viewZenith, azimuth;
};

// Allocates Lat, Lon, those angles, Sunglint and the ancillary lines.
void allocateLineBuffers(ZELType& file, const LineBufferOptions& options);

// Allocates LatBuffer and LonBuffer when the file has navigation points.
void allocateNavigation(ZELType& file, const char* function);

// How messages name a channel whose buffers cannot be allocated: "FUNCTION: cannot allocate memory
// for channel NUMBER" (-3), or "FUNCTION: cannot allocate PIXELS" with a status of its own.
struct ChannelBufferNames {
    const char* function;
    int number;
    const char* pixels;
    int pixelStatus;
};

// Allocates ChannelData and PixBuf of a slot, a line of zeros each.
void allocateChannel(ZELType& file, int slot, const ChannelBufferNames& names);

// Frees the buffers of lines, those of channels excepted, and forgets the public pointers to them.
void freeLineBuffers(ZELType& file);

}  // namespace zel

#endif
