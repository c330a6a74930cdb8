// What the command says of itself, all of it from the table of commands.
#pragma once

#include <string>

#include "command/command.hpp"

namespace zel_tool {

std::string mainHelp();
std::string completionHelp();
std::string helpOf(const Command& command);

// The manual page of a verb, and that of the command ("zel").
std::string manualOf(const Command& command);
std::string mainManual();

// The completion script for "bash", "zsh" or "fish"; empty for another shell.
std::string completionFor(const std::string& shell);

// The words of a list of option names: "-o,--output" gives {"-o", "--output"}.
std::vector<std::string> namesOf(const Option& option);

}  // namespace zel_tool
