// How the language reads an expression, from its compiled form.
#pragma once

#include <string>
#include <vector>

#include "formula/vocabulary.hpp"

namespace zel_tool {

// The expression with parentheses around every part of it: "(B5 - B4) / (B5 + B4)".
std::string readingOf(const ZELStackStruct& stack, const Vocabulary& vocabulary);

// Whether both compile to the same.
bool isSame(const ZELStackStruct& a, const ZELStackStruct& b);

// Comparisons of the outcome of a comparison, as in 1 < B5 < 5, each as it is read.
std::vector<std::string> chainedComparisons(const ZELStackStruct& stack,
                                            const Vocabulary& vocabulary);

}  // namespace zel_tool
