// The library inside a process of others, such as GDAL or Python: one call at a time, none of which
// ends the process, and what it says kept for whoever called it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "zel.h"

namespace zel_embed {

struct Message {
    bool isError;  // on the stream of errors
    std::string text;
};
using Messages = std::vector<Message>;

// Runs a call that returns 0 when it succeeds; false when it did not. Messages come without blanks
// around them. With an opener the library's own streams come from there. What the call throws
// leaves the library at rest, too.
bool runAlone(const std::function<int()>& call, Messages& messages, ZELFileOpener opener = nullptr);

// Of the messages of a call that failed the one that says most; empty without any.
std::string reasonOf(const Messages& messages);

// A process that forks while another thread is in the library gets a library that is at rest.
void prepareForForks();

}  // namespace zel_embed
