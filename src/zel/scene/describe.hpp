// What is in a file, as JSON. The keys are documented in docs/zel/info.schema.json.
#pragma once

#include "base/json.hpp"
#include "scene/library.hpp"

namespace zel_tool {

enum class Stats { no, yes };

// Everything that the header says, and with Stats::yes what the pixels of each channel are.
Json describe(Scene& scene, Stats stats);

}  // namespace zel_tool
