// Which pixels reach a statement: those of certain paths through the branches before it, as a mask.
//
// Branch 1 splits the pixels into the paths 2 (true) and 3 (false), branch 2 splits some of these
// into 4 and 5, and so on; path 1 is that of all active pixels. What an if and its else have in
// common ends at the endif: there 2 and 3 meet and are 1 again, without a step. Where pixels of
// other paths meet, their masks are added.
#ifndef ZEL_FEATURES_PROGRAM_MASKS_HPP
#define ZEL_FEATURES_PROGRAM_MASKS_HPP

#include <set>
#include <utility>
#include <vector>

#include "zel_features/evaluate/planner.hpp"

namespace zel {

using PathSet = std::set<int>;

inline PathSet allPaths()
{
    return {1};
}

struct Branch {
    PathSet onTrue, onFalse;
};

class Masks {
public:
    explicit Masks(Planner& planner) : planner_(planner) {}

    // active: the mask of all active pixels, 0 when all pixels are.
    void begin(int active) { masks_[0] = {allPaths(), active}; }

    // Splits the pixels that have come to a value, those of paths and mask, by that value.
    bool addBranch(const PathSet& paths, int mask, Source value, Branch& branch);

    // The pixels of either set.
    PathSet joined(PathSet a, const PathSet& b) const;

    // The row with 1 for pixels of these paths, else 0; 0 for all pixels.
    bool maskOf(const PathSet& paths, int& mask);

private:
    struct Split {
        PathSet paths;  // before it
        int mask;
        int truth;
    };
    bool makePath(int path, int& mask);
    bool makeSum(PathSet paths, int& mask);

    Planner& planner_;
    std::vector<Split> splits_;                               // of the branches, from 1
    std::vector<std::pair<PathSet, int>> masks_ = {{{}, 0}};  // those that are there already
};

}  // namespace zel

#endif
