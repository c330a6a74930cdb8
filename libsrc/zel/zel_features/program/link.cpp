#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/program/zel_program.hpp"
#include "zel_features/zel_program.h"

namespace {

using zel::failWithError;

// The statements that a later else or endif is to finish.
class OpenStatements {
public:
    bool isEmpty() const { return size_ == 0; }
    int size() const { return size_; }
    ProgramStruct* top() const { return statements_[size_ - 1]; }
    void push(ProgramStruct* statement)
    {
        if (size_ == ZEL_PROGRAM_MAX_OPEN)
            failWithError("error: more than %d open if or else statements\n", ZEL_PROGRAM_MAX_OPEN);
        statements_[size_++] = statement;
    }
    void pop() { --size_; }

private:
    ProgramStruct* statements_[ZEL_PROGRAM_MAX_OPEN];
    int size_ = 0;
};

[[noreturn]] void failAtIf(const ProgramStruct* statement, const char* error)
{
    printError(zel::message("If: %s\n", zel::expressionText(statement->Statement)));
    failWithError("If error: missing statement or block following %s\n", error);
}

[[noreturn]] void failAtElse(const ProgramStruct* statement)
{
    if (statement->Statement)
        printError(zel::message("Else: %s\n", zel::expressionText(statement->Statement)));
    failWithError("Else error: missing if statement before else\n");
}

void setBoth(ProgramStruct* statement, ProgramStruct* successor)
{
    statement->nextTrue = statement->nextFalse = successor;
}

class Linker {
public:
    void visit(ProgramStruct* statement)
    {
        if (statement->statementType == IF_STATEMENT) linkIf(statement);
        if (statement->statementType == ELSE_STATEMENT) linkElse(statement);
        if (statement->statementType == ENDIF_STATEMENT) linkEndif(statement);
        last_ = statement;
    }
    void finish();

private:
    void linkIf(ProgramStruct* statement);
    void linkElse(ProgramStruct* statement);
    void linkSingleElse(ProgramStruct* statement);
    void linkEndif(ProgramStruct* statement);
    void closeChains(ProgramStruct* target);

    OpenStatements open_;
    int elseIfs_ = 0;
    ProgramStruct* last_ = nullptr;
};

// The ends of the branches of else-if chains all go on at one place.
void Linker::closeChains(ProgramStruct* target)
{
    while (!open_.isEmpty() && open_.top()->statementType == ELSE_IF_END_STATEMENT) {
        setBoth(open_.top(), target);
        open_.pop();
        --elseIfs_;
    }
}

void Linker::linkIf(ProgramStruct* statement)
{
    ProgramStruct* body = statement->next;
    if (!body) failAtIf(statement, "if");
    statement->nextTrue = body;
    if (body->statementType == THEN_STATEMENT) {
        open_.push(statement);
        return;
    }
    ProgramStruct* after = body->next;
    if (!after) failAtIf(statement, "single line if");
    closeChains(after);
    if (after->statementType != IMPLIED_ENDIF_STATEMENT) {
        statement->nextFalse = after;
        return;
    }
    if (!after->next) failAtIf(statement, "single line if (implied endif)");
    open_.push(statement);
    statement->nextFalse = after->next;
}

void Linker::linkElse(ProgramStruct* statement)
{
    if (open_.isEmpty()) failWithError("Else error: Missing If before endif\n");
    if (open_.top()->statementType != IF_STATEMENT) failAtElse(statement);
    open_.top()->nextFalse = statement;
    open_.pop();
    const ProgramStruct* following = statement->next;
    if (!following) failWithError("Else error: missing statement after else\n");
    if (!statement->previous) failWithError("Else error: missing statement before else\n");
    const bool elseIf = following->statementType == IF_STATEMENT;
    if (!elseIf && following->statementType != ELSE_THEN_STATEMENT) {
        linkSingleElse(statement);
        return;
    }
    if (elseIf) {
        ++elseIfs_;
        statement->previous->statementType = ELSE_IF_END_STATEMENT;
    }
    open_.push(statement->previous);
}

void Linker::linkSingleElse(ProgramStruct* statement)
{
    ProgramStruct* after = statement->next->next;
    if (!after) failWithError("Else error: missing secondary statement after else\n");
    setBoth(statement->previous, after);
    closeChains(after);
}

void Linker::linkEndif(ProgramStruct* statement)
{
    if (open_.isEmpty()) failWithError("Endif error: Missing If or Else before endif\n");
    open_.top()->nextFalse = statement;
    if (open_.top()->statementType == IMPLIED_ENDIF_STATEMENT) open_.top()->nextTrue = statement;
    open_.pop();
    closeChains(statement);
}

void Linker::finish()
{
    closeChains(last_);
    if (!open_.isEmpty()) {
        printError(zel::message("Stack Processing Error: programStackPtr %d elseifCount %d\n",
                                open_.size(), elseIfs_));
        printError(zel::message("Missing Endif\n"));
        for (; !open_.isEmpty(); open_.pop()) printProgramLine(open_.top());
        zel::terminate(-1);
    }
    if (elseIfs_ > 0) printError(zel::message("error: unmatched else if block\n"));
}

// Only linking makes ends of else-if branches.
bool isLinked(const ProgramStruct* statement)
{
    while (statement && statement->statementType != ELSE_IF_END_STATEMENT)
        statement = statement->next;
    return statement != nullptr;
}

}  // namespace

void setupProgramLogic(ProgramStruct* Program)
{
    if (isLinked(Program)) return;
    Linker linker;
    for (; Program; Program = Program->next) linker.visit(Program);
    linker.finish();
}
