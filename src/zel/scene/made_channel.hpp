// Channels that a run makes: how they are stored, and what became of their values.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "zel.h"

namespace zel_tool {

struct Storage {
    int code = ZEL_STORED_FLOAT;
    float min = 0.0F;  // the scale; equal where there is none
    float max = 0.0F;

    bool hasRange() const { return max > min; }
    int bits() const;
    std::string text() const;  // as --as takes it
};

struct MadeChannel {
    std::string label;
    std::string comment;
    Storage storage;
    int units = ZEL_UNITS_NONE;
    std::optional<float> missing;  // what stands for NaN; NaN itself, or the lowest number
    // Counted while lines are written.
    long long missingCount = 0;
    long long infiniteCount = 0;
    long long outsideCount = 0;
    float lowest = 0.0F;  // of the finite values, where there are some
    float highest = 0.0F;
    long long finiteCount = 0;
};

// Options of the form [NAME=]VALUE: those with a name are for that channel, the last one without is
// for the others. Throws Misuse for a value that makes no sense or a name that no channel has.
struct ChannelOptions {
    std::vector<std::string> storage;
    std::vector<std::string> units;
    std::vector<std::string> comments;
    std::vector<std::string> missing;
};
void applyOptions(const ChannelOptions& options, std::vector<MadeChannel>& channels);

// A line of values as they are to be encoded, and counted: NaN replaced, numbers of bytes and
// 16-bit integers rounded and brought into their range, scaled values raised by half a step, since
// encoding cuts.
void prepare(MadeChannel& channel, const float* values, int count, float* out);

}  // namespace zel_tool
