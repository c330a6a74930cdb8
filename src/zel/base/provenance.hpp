// Where the outputs of a run come from: a line that every output holds in the way of its format.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace zel_tool {

struct Provenance {
    std::string record;  // JSON on one line; empty when no recipe is run

    // What is written into outputs for the path of a file, where that is temporary.
    std::map<std::string, std::string> names;
};

Provenance& provenance();

// "zel run: {...}", as it stands in texts, without a newline.
inline constexpr std::string_view provenanceMark = "zel run: ";
std::string provenanceLine();

// The name of a file as outputs have it.
std::string recordedName(const std::string& path);

}  // namespace zel_tool
