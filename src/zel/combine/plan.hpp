// What zel combine will do, channel by channel, and what speaks against it.
#pragma once

#include <string>
#include <vector>

#include "base/json.hpp"
#include "combine/choices.hpp"
#include "combine/recipe.hpp"
#include "combine/sources.hpp"

namespace zel_tool {

// How the grid of a channel's source relates to the base's.
enum class Grid { same, finer, coarser };

struct ChannelPlan {
    int slot;        // of the output
    int part;        // component of the view; -1 for a raster
    int sourceSlot;  // there
    std::string label;
    Grid grid;
    int factor;     // of the grids, 1 for the same
    Method method;  // of a finer grid
    bool classes;
    Missing missing;
    long long minValid;      // pixels of a block
    int storage;             // storage code of the output
    long long linesCovered;  // lines of the base grid that the source has pixels for

    // Whether its blocks are not simply averaged as the view of the library does it.
    bool needsBlocks() const;
    std::string methodText() const;  // "copy", "repeat", or the method
};

// What speaks against the files, unless it is allowed by its name; one without a name never is.
struct Problem {
    std::string name;
    std::string message;
};

struct Plan {
    std::vector<ChannelPlan> channels;
    std::vector<Problem> problems;
    int lines = 0;  // that the output will have
};

const std::vector<std::string>& problemNames();

// Throws Failure or Misuse where a choice fits no channel.
Plan planOf(Sources& sources, const Recipe& recipe);

// Shows the problems, as warnings where they are allowed. Whether all are.
bool reportProblems(const std::vector<Problem>& problems, const Recipe& recipe);

std::string planText(const Plan& plan, Sources& sources, const Recipe& recipe);
Json planJson(const Plan& plan, Sources& sources, const Recipe& recipe);

}  // namespace zel_tool
