// The commands of feature parameter files.
#ifndef ZEL_FEATURES_PARAMETERS_COMMANDS_HPP
#define ZEL_FEATURES_PARAMETERS_COMMANDS_HPP

#include "zel_features/parameters/lines.hpp"
#include "zel_features/zel_feature_types.h"

namespace zel {

// A feature parameter file while it is read.
struct ParameterFile {
    ParameterLines& line;
    ZELParameterStruct& parameters;
    bool directoryGiven;  // by inputdirstr or inputdirext
};

// Carries out the command on the current line. Ends the process (-1) when it is faulty.
void readCommand(ParameterFile& file);

}  // namespace zel

#endif
