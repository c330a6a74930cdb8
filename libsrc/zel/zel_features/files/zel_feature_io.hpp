// Learning the host's byte order.
#ifndef ZEL_FEATURES_FILES_FEATURE_IO_HPP
#define ZEL_FEATURES_FILES_FEATURE_IO_HPP

namespace zel {

// What InitializeFileRead does once the order is known: 0 for little-endian, 1 for big-endian, -1
// for neither, which ends the process (-1).
void setHostOS(int hostOrder);

}  // namespace zel

#endif
