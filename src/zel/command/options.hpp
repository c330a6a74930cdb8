// Parsing of a verb's command line by its option table.
#pragma once

#include <string>
#include <vector>

#include "command/command.hpp"

namespace zel_tool {

enum class Parsed { run, helpWanted };

// Sets the targets of the command's options and operands. Throws Misuse.
Parsed parseOptions(const Command& command, const std::vector<std::string>& words);

}  // namespace zel_tool
