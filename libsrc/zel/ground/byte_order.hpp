// The host's byte order against the files'.
#ifndef ZEL_GROUND_BYTE_ORDER_HPP
#define ZEL_GROUND_BYTE_ORDER_HPP

namespace zel {

// 0 on a little-endian host, whose order is the files'; 1 on a big-endian one; -1 on neither.
int hostByteOrder();

// What CheckByteOrder does once that is known.
void setByteOrder(int hostOrder);

}  // namespace zel

#endif
