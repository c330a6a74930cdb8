// Setting the byte order of scene files.
#ifndef ZEL_GROUND_IO_HPP
#define ZEL_GROUND_IO_HPP

namespace zel {

// What CheckByteOrder does once the host's order is known: 0 for little-endian, 1 for big-endian,
// -1 for neither, which ends the process (-1).
void setByteOrder(int hostOrder);

}  // namespace zel

#endif
