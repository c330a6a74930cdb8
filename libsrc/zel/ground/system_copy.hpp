// Copying between files inside the system, where it can, and space for what is about to be copied.
#ifndef ZEL_GROUND_SYSTEM_COPY_HPP
#define ZEL_GROUND_SYSTEM_COPY_HPP

#include <cstdint>
#include <cstdio>

namespace zel {

// Copies at most size bytes from the place of one stream to that of the other, which holds no
// unwritten bytes, and moves both streams past them; returns how many. 0 at the end of the input,
// for files that the system does not copy, and on errors: reading and writing goes on from there,
// and reports them. -1, with errno, when a stream does not move.
std::int64_t copyInSystem(FILE* from, FILE* to, std::int64_t size);

// Asks for the space of a file of that size, where that is cheaper at once than page by page. The
// file stays as long as it is. Space that is missing is reported when the file is written.
void reserveSpace(FILE* file, std::int64_t size);

}  // namespace zel

#endif
