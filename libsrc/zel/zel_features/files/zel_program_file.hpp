// Reading program texts that are part of something larger.
#ifndef ZEL_FEATURES_FILES_PROGRAM_FILE_HPP
#define ZEL_FEATURES_FILES_PROGRAM_FILE_HPP

#include "zel_features/files/walk.hpp"
#include "zel_features/zel_program_file.h"

namespace zel {

// Reads a text; what is damaged is thrown as Damage.
ProgramLines* readProgramText(FeatureReader& reader);

}  // namespace zel

#endif
