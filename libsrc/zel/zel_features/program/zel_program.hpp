// What compiling, linking and listing pixel programs have in common.
#ifndef ZEL_FEATURES_PROGRAM_PROGRAM_HPP
#define ZEL_FEATURES_PROGRAM_PROGRAM_HPP

#include "zel_features/zel_feature_types.h"
#include "zel_features/zel_program.h"

namespace zel {

// The label of a statement kind.
const char* statementLabel(int kind);

// The text of a compiled expression, empty where there is none.
const char* expressionText(const ZELStackStruct* stack);

// Appends an empty line to a text whose first and last lines are given, null for none yet. Ends the
// process (-1) with the message when memory fails.
ProgramLines* appendProgramLine(
    ProgramLines*& first, ProgramLines* last, int lineNumber,
    const char* failure = "cannot allocate memory for a program line\n");

// compileProgramText with an answer: false after a compile error, which was printed. A program
// without statements is null too.
bool compileProgram(const ProgramLines* text, int processFlag, const CommandListStruct* definitions,
                    ProgramStruct*& program);

// The class that an element of a compiled class list stands for. A comma stands for class 0.
int listedClass(const StackElementStruct& element);

// Report the result of a mask's program where that is an error.
void reportPreProcess(int result);
void reportPostProcess(int result);

// A text without an owner yet.
struct OwnedProgramText {
    ProgramLines* first = nullptr;
    OwnedProgramText() = default;
    OwnedProgramText(const OwnedProgramText&) = delete;
    OwnedProgramText& operator=(const OwnedProgramText&) = delete;
    ~OwnedProgramText() { ZELFeatureFreeProgramText(first); }
};

}  // namespace zel

#endif
