// The commands of mask parameter files.
#ifndef ZEL_FEATURES_MASK_PARAMETER_COMMANDS_HPP
#define ZEL_FEATURES_MASK_PARAMETER_COMMANDS_HPP

#include "zel_features/parameters/lines.hpp"
#include "zel_features/zel_feature_mask.h"

namespace zel {

// A program of a mask, between its begin and its end line.
struct ProgramBlock {
    const char* name;
    int processFlag;
    ProgramLines* ZELMaskParameterType::*text;
    ProgramStruct* ZELMaskParameterType::*statements;
    const char* allocationFailure;
};

// A mask parameter file while it is read. Masks are in the list as soon as their block begins.
struct MaskFile {
    ParameterLines& line;
    ZELFeatureMaskListType& list;
    ZELFeatureMaskType* mask = nullptr;   // whose block is open
    bool typeGiven = false;               // by masktype, for that mask
    const ProgramBlock* block = nullptr;  // that is open in the mask's
    ProgramLines* lastLine = nullptr;     // of that program
};

// Carries out the command on the current line, or adds the line to the program that is open. Ends
// the process (-1) when it is faulty.
void readMaskLine(MaskFile& file);

}  // namespace zel

#endif
