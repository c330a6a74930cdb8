// The byte order of scene files, and how those that are read are opened.
#ifndef ZEL_GROUND_IO_HPP
#define ZEL_GROUND_IO_HPP

#include <cstdio>

namespace zel {

// What CheckByteOrder does once the host's order is known: 0 for little-endian, 1 for big-endian,
// -1 for neither, which ends the process (-1).
void setByteOrder(int hostOrder);

// fopen(name, "rb"), or what ZELSetFileOpener has put in its place.
FILE* openToRead(const char* name);

}  // namespace zel

#endif
