// Appending to a stack that is being compiled.
#ifndef ZEL_FEATURES_LANGUAGE_BUILD_HPP
#define ZEL_FEATURES_LANGUAGE_BUILD_HPP

#include <string_view>

#include "zel_features/zel_feature_types.h"

namespace zel {

// Appends a zeroed element and returns it. Ends the process (-1) when memory fails.
StackElementStruct& appendElement(ZELStackStruct& stack);

// How many elements all stacks of the process hold.
long long elementsInUse();

// Appends what a text without operators stands for, and returns the status. assigned: the text is
// the target of an assignment.
int compileOperand(std::string_view text, ZELStackStruct& stack, bool assigned,
                   const CommandListStruct* definitions);

}  // namespace zel

#endif
