// The plan of an output in its metadata text: a line of JSON after what the text holds already.
#pragma once

#include <optional>
#include <string>

#include "combine/plan.hpp"

namespace zel_tool {

// An input as it was.
struct Recorded {
    std::string name;
    long long bytes;
    std::string sum;  // SHA-256
};

// Adds the plan to the metadata of a header that is about to be written. False where the text is
// not free: metadata of a known kind, or no room.
bool recordPlan(ZELHeaderType& header, const Plan& plan, const Recipe& recipe);

struct Record {
    std::string version;  // of the library that made it
    Recipe recipe;
    std::vector<Recorded> inputs;
};

// The last plan in a header; nothing without one. Throws Failure when it is damaged.
std::optional<Record> recordIn(const ZELHeaderType& header);

// Sums of files, with a bar. Throws Failure, with the name of the file.
std::vector<Recorded> sumsOf(const Recipe& recipe);

}  // namespace zel_tool
