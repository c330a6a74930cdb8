// Deep copies of what masks are made of.
#ifndef ZEL_FEATURES_MASK_COPY_HPP
#define ZEL_FEATURES_MASK_COPY_HPP

#include "zel_features/zel_feature_types.h"

namespace zel {

// Appends copies of the entries of a list, compiled as they are.
void copyCommands(CommandStruct& to, const CommandStruct& from);

}  // namespace zel

#endif
