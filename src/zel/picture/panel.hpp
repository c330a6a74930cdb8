// What a page shows of each channel of a file: a small picture, and what its values are.
#pragma once

#include <string>
#include <vector>

#include "picture/distribution.hpp"
#include "picture/image.hpp"
#include "picture/paint.hpp"
#include "picture/view.hpp"

namespace zel_tool {

struct Panel {
    int slot;
    Statistics statistics;
    Distribution distribution;
    Range stretch{0.0F, 1.0F};
    const ZELDisplayLUTType* lut = nullptr;  // of a class channel
    std::vector<ClassCount> classes;         // that occur, the most frequent first
    Image image{1, 1};
};

struct Panels {
    std::vector<Panel> channels;  // of the record, in the order of their slots
    Image image{1, 1};            // natural colours, or the first channel
};

// Reads every line several times. Throws Failure.
Panels panelsOf(ZELType& record, const std::string& file);

}  // namespace zel_tool
