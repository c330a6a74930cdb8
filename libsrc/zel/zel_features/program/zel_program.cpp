#include "zel_features/zel_program.h"
#include "zel_features/language/text.hpp"

#include <utility>

#include "ground/memory.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/program/zel_program.hpp"
#include "zel_features/zel_expression.h"

namespace {

struct KindRow {
    int kind;
    const char* label;
};

constexpr KindRow kindRows[] = {
    {OTHER_STATEMENT, "OTHER_STATEMENT"},
    {IF_STATEMENT, "IF_STATEMENT"},
    {ELSE_STATEMENT, "ELSE_STATEMENT"},
    {ENDIF_STATEMENT, "ENDIF_STATEMENT"},
    {WEIGHT_STATEMENT, "WEIGHT_STATEMENT"},
    {THEN_STATEMENT, "THEN_STATEMENT"},
    {ELSE_THEN_STATEMENT, "ELSE_THEN_STATEMENT (implied)"},
    {BEGIN_STATEMENT, "BEGIN_STATEMENT"},
    {END_STATEMENT, "END_STATEMENT"},
    {IF_END_STATEMENT, "IF_END_STATEMENT"},
    {ELSE_IF_END_STATEMENT, "ELSE_IF_END_STATEMENT"},
    {END_ELSE_STATEMENT, "END_ELSE_STATEMENT"},
    {IMPLIED_ENDIF_STATEMENT, "IMPLIED_ENDIF_STATEMENT"},
    {RETURN_STATEMENT, "RETURN_STATEMENT"},
};

constexpr bool kindRowsAreInOrder()
{
    for (int i = 0; i < ZEL_NUM_STATEMENT_TYPES; ++i)
        if (kindRows[i].kind != i) return false;
    return sizeof kindRows / sizeof kindRows[0] == ZEL_NUM_STATEMENT_TYPES;
}
static_assert(kindRowsAreInOrder());

}  // namespace

namespace zel {

const char* statementLabel(int kind)
{
    return kind >= 0 && kind < ZEL_NUM_STATEMENT_TYPES ? kindRows[kind].label : "";
}

const char* expressionText(const ZELStackStruct* stack)
{
    return stack && stack->expression ? stack->expression : "";
}

ProgramLines* appendProgramLine(ProgramLines*& first, ProgramLines* last, int lineNumber,
                                const char* failure)
{
    auto* line = allocate<ProgramLines>(1);
    if (!line) failWithError("%s", failure);
    line->lineNumber = lineNumber;
    (first ? last->next : first) = line;
    return line;
}

}  // namespace zel

ProgramStruct* addProgamStatement(ProgramStruct* PreviousStatement, int Type, int lineNum)
{
    auto* statement = zel::allocate<ProgramStruct>(1);
    if (!statement) zel::failWithError("addProgamStatement: cannot allocate Program\n");
    statement->statementType = Type;
    statement->lineNum = lineNum;
    statement->previous = PreviousStatement;
    if (PreviousStatement)
        PreviousStatement->next = PreviousStatement->nextTrue = PreviousStatement->nextFalse =
            statement;
    return statement;
}

void ZELFeatureFreeProgram(ProgramStruct* Program)
{
    while (Program) {
        ProgramStruct* next = Program->next;
        ZELFreeStack(Program->Statement);
        ZELFreeStack(Program->ClassList);
        zel::release(Program);
        Program = next;
    }
}

ProgramLines* ZELFeatureDuplicateProgramText(const ProgramLines* ProgramText)
{
    zel::OwnedProgramText copy;
    ProgramLines* last = nullptr;
    for (; ProgramText; ProgramText = ProgramText->next) {
        last = zel::appendProgramLine(copy.first, last, ProgramText->lineNumber);
        last->text = zel::copyNullable(ProgramText->text);
    }
    return std::exchange(copy.first, nullptr);
}

void ZELFeatureFreeProgramText(ProgramLines* ProgramText)
{
    while (ProgramText) {
        ProgramLines* next = ProgramText->next;
        zel::release(ProgramText->text);
        zel::release(ProgramText);
        ProgramText = next;
    }
}

void printProgramText(const ProgramLines* ProgramText)
{
    for (; ProgramText; ProgramText = ProgramText->next) {
        printInfo(zel::message("%d: %s ", ProgramText->lineNumber,
                               ProgramText->text ? ProgramText->text : ""));
        printInfo(zel::message("\n"));
    }
}

void printProgramLine(const ProgramStruct* Program)
{
    printInfo(
        zel::message("%d: %s ", Program->lineNum, zel::statementLabel(Program->statementType)));
    for (const ZELStackStruct* stack : {Program->ClassList, Program->Statement})
        if (stack) printInfo(zel::message("%s ", zel::expressionText(stack)));
    if (Program->nextTrue)
        printInfo(zel::message("T -> %d    ", Program->nextTrue->lineNum));
    else
        printInfo(zel::message("T -> 0    "));
    if (Program->nextFalse)
        printInfo(zel::message("F -> %d\n", Program->nextFalse->lineNum));
    else
        printInfo(zel::message("F -> 0\n"));
}

void printProgram(const ProgramStruct* Program)
{
    for (; Program; Program = Program->next) printProgramLine(Program);
}
