// The two ways to combine files.
#ifndef ZEL_COMBINE_COMBINE_HPP
#define ZEL_COMBINE_COMBINE_HPP

#include "command_line.hpp"

namespace zel_combine {

// Both carry out a command line and return the exit status.
int writeComposite(CommandLineStruct& info);
int writeSameResolution(CommandLineStruct& info);

}  // namespace zel_combine

#endif
