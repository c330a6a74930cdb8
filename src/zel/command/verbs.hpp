// The verbs: each gives its description, which holds what it runs.
#pragma once

#include "command/command.hpp"

namespace zel_tool {

Command infoCommand();
Command pixelCommand();
Command lookCommand();
Command channelsCommand();
Command combineCommand();
Command replayCommand();
Command samplesCommand();
Command checkCommand();
Command dumpCommand();
Command calcCommand();
Command sampleCommand();
Command scenesCommand();
Command runCommand();
Command mergeCommand();

}  // namespace zel_tool
