// How the samples of a file came about, as far as the samples of several files have to agree in it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "zel_features/zel_features.h"

namespace zel_tool {

struct SampleFact {
    std::string name;                 // "condition of filter 2"
    std::optional<std::string> text;  // as bytes of the file; nothing where it has none
    bool operator==(const SampleFact&) const = default;
};

// Title, comments, definitions, features, requirements, filters, options, classes, seed and types;
// not inputs, output, date, counts, ranges and the records of runs. They are listed in one order
// for all files.
std::vector<SampleFact> factsOf(const ZELParameterStruct& parameters);

// Whether an entry of the comments is what "zel run" writes of the scene that it has sampled.
bool isRunRecord(const CommandListStruct& entry);

// A number that is greater for a later date of a header, "12:00:00  Monday Nov 23 2026"; 0 for what
// is none.
long long dateRank(const std::string& date);

}  // namespace zel_tool
