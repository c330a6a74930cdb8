// How things go wrong: with the data (exit status 1) or with the command line (2).
#pragma once

#include <stdexcept>
#include <string>

namespace zel_tool {

enum Status { statusDone = 0, statusProblem = 1, statusUsage = 2 };

// The data have a problem, or the answer is no. The message names no file: whoever reports it does.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The command line makes no sense.
struct Misuse : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace zel_tool
