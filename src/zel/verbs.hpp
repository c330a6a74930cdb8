// The verbs: each gives its description, which holds what it runs.
#pragma once

#include "command.hpp"

namespace zel_tool {

Command infoCommand();

}  // namespace zel_tool
