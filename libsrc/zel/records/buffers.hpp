// Memory that a file record owns besides its channels: its line buffers. They are kept in a list of
// the record's own, so that its public pointers may be pointed elsewhere and nothing is lost.
#ifndef ZEL_RECORDS_BUFFERS_HPP
#define ZEL_RECORDS_BUFFERS_HPP

#include <cstddef>

#include "ground/zel_door.hpp"
#include "zel_types.h"

namespace zel {

// Zeroed bytes that the record owns, or null.
void* lineMemory(ZELType& file, std::size_t bytes);

// Frees all of them and forgets the public pointers to them.
void freeLineMemory(ZELType& file);

// Whether the record has line buffers, as it has from its open to its end.
bool hasLineMemory(const ZELType& file);

// Notes the byte order that the file was found to have, or is written in, and tells the first time that
// the one in force is another.
void noteByteOrder(ZELType& file);
bool byteOrderWasLost(ZELType& file);

// Warns in the function's name, once a file, when what is written is not in the order of its header.
void warnOfWrittenOrder(ZELType& file, const char* function);

// Notes whether the line that was just read has its values, and tells the first time that they are
// asked of a line that has not.
void noteValues(ZELType& file, bool areFilled);
bool valuesAreMissing(ZELType& file);

// Whether the file was found to be in the other byte order.
bool isByteSwapped(ZELType& file);

// count elements that the record owns; ends the process (-1) with "function: cannot allocate what".
template <class T>
T* lineBuffer(ZELType& file, int count, const char* function, const char* what)
{
    auto* buffer = static_cast<T*>(
        lineMemory(file, static_cast<std::size_t>(count > 0 ? count : 1) * sizeof(T)));
    if (!buffer) fail("%s: cannot allocate %s\n", function, what);
    return buffer;
}

// Allocates Lat, Lon, the angles that wantAngles asks for, Sunglint and the ancillary lines.
// latitude and longitude are named as the function's messages name them.
struct LineBufferOptions {
    const char* function;
    bool solarZenith, viewZenith, azimuth;
};
void allocateLineBuffers(ZELType& file, const LineBufferOptions& options);

// Allocates LatBuffer and LonBuffer when the file has navigation points.
void allocateNavigation(ZELType& file, const char* function);

}  // namespace zel

#endif
