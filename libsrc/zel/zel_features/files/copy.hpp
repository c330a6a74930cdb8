// Copies of feature parameters.
#ifndef ZEL_FEATURES_FILES_COPY_HPP
#define ZEL_FEATURES_FILES_COPY_HPP

#include "zel_features/zel_feature_types.h"

namespace zel {

// Copies an entry list; conditions is the copy's list of definitions.
using CopyList = void (*)(CommandStruct& to, const CommandStruct& from,
                          const CommandStruct& conditions);

// Copies the names of the input files and of the output.
void copyFiles(IOStruct& to, const IOStruct& from);

// Makes to a copy of from, with nothing counted or measured yet.
void copyParameters(ZELParameterStruct& to, const ZELParameterStruct& from, CopyList copyList);

}  // namespace zel

#endif
