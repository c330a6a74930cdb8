// What the options that every verb has are set to.
#pragma once

#include <string>

namespace zel_tool {

struct Settings {
    std::string verb;  // the verb that runs, for messages
    bool quiet = false;
    bool verbose = false;
    std::string progress = "auto";
};

Settings& settings();

}  // namespace zel_tool
