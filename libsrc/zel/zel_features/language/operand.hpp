// Operands: what a text without operators stands for.
#ifndef ZEL_FEATURES_LANGUAGE_OPERAND_HPP
#define ZEL_FEATURES_LANGUAGE_OPERAND_HPP

#include <string_view>

#include "zel_features/zel_feature_types.h"

namespace zel {

// Appends what the text stands for to the stack, and returns the status. assigned: the text is the
// target of an assignment.
int compileOperand(std::string_view text, ZELStackStruct& stack, bool assigned,
                   const CommandListStruct* definitions);

}  // namespace zel

#endif
