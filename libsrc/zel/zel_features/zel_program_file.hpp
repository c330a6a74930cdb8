// Reading program texts that are part of something larger.
#ifndef ZEL_PROGRAM_FILE_HPP
#define ZEL_PROGRAM_FILE_HPP

#include "zel_feature_walk.hpp"
#include "zel_program_file.h"

namespace zel {

// Reads a text; what is damaged is thrown as Damage.
ProgramLines* readProgramText(FeatureReader& reader);

}  // namespace zel

#endif
