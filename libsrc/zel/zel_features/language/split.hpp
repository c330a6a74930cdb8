// Where a text is taken apart: its enclosing parentheses, and the operator that binds weakest.
#ifndef ZEL_FEATURES_LANGUAGE_SPLIT_HPP
#define ZEL_FEATURES_LANGUAGE_SPLIT_HPP

#include <cstddef>
#include <optional>
#include <string_view>

namespace zel {

// The text without the parentheses that enclose it, all pairs of them. status is that of a text
// whose parentheses do not pair, else 0.
std::string_view stripParens(std::string_view text, int& status);

struct Split {
    int operatorIndex;
    std::size_t position;  // where the operator's text begins
    std::size_t length;    // of the operator's text
};

// The operator of the weakest level that stands outside all parentheses, the rightmost one of it.
std::optional<Split> findSplit(std::string_view text);

}  // namespace zel

#endif
