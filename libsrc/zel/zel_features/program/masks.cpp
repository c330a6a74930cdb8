#include "zel_features/program/masks.hpp"

#include <algorithm>

#include "zel_features/zel_expression.h"

namespace zel {

bool Masks::addBranch(const PathSet& paths, int mask, Source value, Branch& branch)
{
    Split split = {paths, mask, 0};
    if (!planner_.makeTruth(value, split.truth)) return false;
    splits_.push_back(split);
    const int number = static_cast<int>(splits_.size());
    branch.onTrue = {2 * number};
    branch.onFalse = {2 * number + 1};
    return true;
}

// The latest branches are undone first: what was before them may make earlier ones whole.
PathSet Masks::joined(PathSet a, const PathSet& b) const
{
    a.insert(b.begin(), b.end());
    for (int number = static_cast<int>(splits_.size()); number >= 1; --number) {
        if (a.count(2 * number) == 0 || a.count(2 * number + 1) == 0) continue;
        a.erase(2 * number);
        a.erase(2 * number + 1);
        const PathSet& before = splits_[static_cast<std::size_t>(number) - 1].paths;
        a.insert(before.begin(), before.end());
    }
    return a;
}

bool Masks::maskOf(const PathSet& paths, int& mask)
{
    const auto found = std::find_if(masks_.begin(), masks_.end(),
                                    [&paths](const auto& known) { return known.first == paths; });
    if (found != masks_.end()) {
        mask = found->second;
        return true;
    }
    const bool made = paths.size() == 1 ? makePath(*paths.begin(), mask) : makeSum(paths, mask);
    masks_.emplace_back(paths, mask);
    return made;
}

bool Masks::makePath(int path, int& mask)
{
    const Split& split = splits_[static_cast<std::size_t>(path / 2) - 1];
    const Source before = {split.mask, 0.0f}, truth = {split.truth, 0.0f};
    const bool onTrue = path % 2 == 0;
    mask = split.truth;
    if (!split.mask && onTrue) return true;
    mask = planner_.newBuffer();
    if (!split.mask) return planner_.add(kernelOf(NOT), mask, {truth});
    // Of 1 and 0 the product is "both", and "greater" is "the first, but not the second".
    return planner_.add(kernelOf(onTrue ? MUL : GREATERTHAN), mask, {before, truth});
}

// The last path and the rest: a pixel is on one path only.
bool Masks::makeSum(PathSet paths, int& mask)
{
    int last = 0, rest = 0;
    if (!maskOf({*paths.rbegin()}, last)) return false;
    paths.erase(*paths.rbegin());
    if (!maskOf(paths, rest)) return false;
    mask = planner_.newBuffer();
    return planner_.add(kernelOf(ADD), mask, {{rest, 0.0f}, {last, 0.0f}});
}

}  // namespace zel
