// Building the element list of a compiled expression, and counting the elements in use.
#ifndef ZEL_FEATURES_LANGUAGE_STACK_HPP
#define ZEL_FEATURES_LANGUAGE_STACK_HPP

#include "zel_features/zel_feature_types.h"

namespace zel {

// Appends a zeroed element and returns it. Ends the process (-1) when memory fails.
StackElementStruct& appendElement(ZELStackStruct& stack);

// Appends copies of all elements of a stack, which may be the same one.
void appendCopies(ZELStackStruct& stack, const ZELStackStruct& from);

// Frees the elements and the text of a stack and empties it.
void freeElements(ZELStackStruct& stack);

// How many elements all stacks of the process hold.
long long elementsInUse();

}  // namespace zel

#endif
