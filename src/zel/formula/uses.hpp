// What compiled expressions name, so that only that is computed.
#pragma once

#include <memory>
#include <set>
#include <string>

#include "zel_features/zel_features.h"

namespace zel_tool {

struct FreeStack {
    void operator()(ZELStackStruct* stack) const { ZELFreeStack(stack); }
};
using Stack = std::unique_ptr<ZELStackStruct, FreeStack>;

// Compiles a text; null where the status is not ZEL_PARSE_OK. checked also requires one value.
Stack compile(const std::string& text, int& status, bool checked,
              const CommandListStruct* definitions = nullptr);

// The pixel variables, several names of one counted once.
enum class Variable {
    pixelClass,
    solarZenith,
    viewZenith,
    azimuth,
    sunGlint,
    latitude,
    longitude,
    olson,
    igbp,
    percentWater,
    terrain,
    julianDay,
    year
};

// Channels and registers by their numbers, from 1.
struct Uses {
    std::set<Variable> variables;
    std::set<int> channels;
    std::set<int> registers;
    std::set<Variable> writtenVariables;
    std::set<int> writtenChannels;

    void add(const ZELStackStruct* stack);
    void add(const ProgramStruct* program);
    void add(const CommandStruct& commands);

    bool any(std::initializer_list<Variable> of) const;
};

}  // namespace zel_tool
