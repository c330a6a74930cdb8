// Channels of a Vorn raster, added to an output as zel_combine adds them.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "combine/recipe.hpp"
#include "zel.h"

namespace zel_tool {

class Raster {
public:
    // Declares the channels on an output that has the headers of the view and is not yet open.
    // Throws Failure.
    Raster(const Recipe& recipe, ZELType& view, ZELType& out);
    ~Raster();
    Raster(const Raster&) = delete;
    Raster& operator=(const Raster&) = delete;

    // The slots of its channels in the output.
    const std::vector<int>& slots() const { return slots_; }

    // Bytes that are missing at its end.
    long long missingBytes() const;

    // Loads the next row of each channel. Throws Failure.
    void loadLine(ZELType& out);

private:
    struct Channels;

    // Once for each channel.
    void warnOfClasses(ZELType& out);

    std::string path_;
    std::set<int> warned_;  // slots
    std::vector<int> slots_;
    long long planeBytes_;
    std::unique_ptr<Channels> channels_;
};

}  // namespace zel_tool
