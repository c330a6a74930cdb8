// What the bytes of a scene file say, read a second time in the plainest way from the format alone:
// nothing here is shared with the library.
#pragma once

#include <climits>
#include <map>
#include <string>
#include <vector>

#include "support/outcome.hpp"

namespace zel_test {

struct NaiveChannel {
    int type = 0, size = 0;
    float max = 0, min = 0;
};

// A file, one component of a composite, or the view that a composite gives.
struct NaiveScene {
    // The field that the format does not allow, or "cut short"; empty when it allows all. And the
    // bytes that are wrong or missing, where they have a place.
    std::string refusal;
    long refusedFrom = 0, refusedTo = LONG_MAX;
    // Expressions and programs of masks, which have to compile as well.
    std::vector<std::string> compiledTexts;
    std::vector<long> maskPlaces;

    int version = 0;
    bool bigEndian = false;
    long start = 0, headerOffset = 0, lineOffset = 0;
    int pixels = 0, lines = 0;
    float resolution = 0;
    std::map<int, NaiveChannel> channels;  // the present ones, by slot

    // Line by line, the present channels in the order of their slots, pixel by pixel; of a view up
    // to the first line that one of its components does not have.
    std::vector<float> values;
    int readableLines = 0;
};

// The file as an open by its name sees it: plain, or a composite by its directory.
NaiveScene readNaively(const Bytes& file);

// Several files together, the first of them being the one whose grid counts.
NaiveScene viewNaively(const std::vector<Bytes>& files);

}  // namespace zel_test
