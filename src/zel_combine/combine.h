// The two ways to combine files.
#ifndef ZEL_COMBINE_COMBINE_H
#define ZEL_COMBINE_COMBINE_H

#include "command_line.h"

namespace zel_combine {

// Both carry out a command line and return the exit status.
int writeComposite(CommandLineStruct& info);
int writeSameResolution(CommandLineStruct& info);

}  // namespace zel_combine

#endif
