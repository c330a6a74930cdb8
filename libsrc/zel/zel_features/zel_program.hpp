// What compiling, linking and listing pixel programs have in common.
#ifndef ZEL_PROGRAM_HPP
#define ZEL_PROGRAM_HPP

#include "zel_feature_types.h"

namespace zel {

// The label of a statement kind.
const char* statementLabel(int kind);

// The text of a compiled expression, empty where there is none.
const char* expressionText(const ZELStackStruct* stack);

// Appends an empty line to a text whose first and last lines are given, null for none yet.
ProgramLines* appendProgramLine(ProgramLines*& first, ProgramLines* last, int lineNumber);

}  // namespace zel

#endif
