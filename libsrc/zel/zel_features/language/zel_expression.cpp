#include "zel_features/zel_expression.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

#include "ground/memory.hpp"
#include "zel_features/language/operand.hpp"
#include "zel_features/language/operators.hpp"
#include "zel_features/language/split.hpp"
#include "zel_features/language/stack.hpp"
#include "zel_features/language/text.hpp"
#include "zel_features/language/variables.hpp"
#include "zel_features/language/zel_feature_report.hpp"

const char* const ParseErrorMsgs[ZEL_NUM_PARSE_STATUSES] = {
    "no errors",
    "missing right parenthesis",
    "missing left parenthesis",
    "syntax error",
    "illegal character in constant or unknown variable",
    "only one equal sign allowed per expression",
};

namespace {

using std::string_view;
using zel::operatorRows;

// The text without its blanks; at most 240 characters of it.
class Condensed {
public:
    explicit Condensed(const char* text)
    {
        for (; *text; ++text)
            if (!zel::isBlank(*text)) append(*text);
    }
    bool fits() const { return length_ <= ZEL_FEATURE_LINE_SIZE; }
    string_view text() const { return {characters_, length_}; }

private:
    void append(char c)
    {
        if (length_ < ZEL_FEATURE_LINE_SIZE) characters_[length_] = c;
        if (fits()) ++length_;
    }

    char characters_[ZEL_FEATURE_LINE_SIZE];
    std::size_t length_ = 0;
};

char* copyOf(const char* text)
{
    const std::size_t size = std::strlen(text) + 1;
    char* copy = zel::allocate<char>(size);
    if (!copy) zel::failWithError("ZELParseExpression: cannot allocate memory for expression\n");
    std::memcpy(copy, text, size);
    return copy;
}

// Splits the text at its weakest operator and compiles left side, right side and operator, in this
// order. An empty text is the missing operand of a sign or a function. The target of an assignment
// is everything to the left of its "=" that is reached without going through a right-hand side.
int parse(string_view text, ZELStackStruct& stack, bool assigned,
          const CommandListStruct* definitions)
{
    if (text.empty()) return ZEL_PARSE_OK;
    zel::defineVariables();
    int status = ZEL_PARSE_OK;
    text = zel::stripParens(text, status);
    if (status != ZEL_PARSE_OK) return status;
    const auto split = zel::findSplit(text);
    if (!split) return zel::compileOperand(text, stack, assigned, definitions);

    const string_view left = text.substr(0, split->position);
    const string_view right = text.substr(split->position + split->length);
    const bool assigns = split->operatorIndex == SET_VARIABLE;
    const int leftStatus = parse(left, stack, assigned || assigns, definitions);
    const int rightStatus = parse(right, stack, false, definitions);
    if (leftStatus != ZEL_PARSE_OK) return leftStatus;
    if (rightStatus != ZEL_PARSE_OK) return rightStatus;
    StackElementStruct& element = zel::appendElement(stack);
    element.type = OPER;
    element.op.int_t = split->operatorIndex;
    return ZEL_PARSE_OK;
}

// One value must be left in the end, by the operands' and operators' counts alone; a comma leaves
// its two values to a function.
int checkExpression(const ZELStackStruct& stack)
{
    int values = 0;
    int assignments = 0;
    for (const StackElementStruct* e = stack.stackHead; e; e = e->nextElement) {
        if (e->type != OPER) {
            ++values;
            continue;
        }
        if (!zel::isOperator(e->op.int_t)) return ZEL_PARSE_SYNTAX_ERROR;
        values -= operatorRows[e->op.int_t].operands;
        if (e->op.int_t != COMMA) ++values;
        if (e->op.int_t == SET_VARIABLE) ++assignments;
    }
    if (values != 1) return ZEL_PARSE_SYNTAX_ERROR;
    return assignments >= 2 ? ZEL_PARSE_TWO_ASSIGNMENTS : ZEL_PARSE_OK;
}

// A stack without an owner yet.
struct FreeStack {
    void operator()(ZELStackStruct* stack) const { ZELFreeStack(stack); }
};

}  // namespace

int ZELParseExpression(const char* line, ZELStackStruct* stack, int CheckFlag,
                       const CommandListStruct* definedConditions)
{
    *stack = {};
    stack->expression = copyOf(line);
    const Condensed condensed(line);
    if (!condensed.fits()) return ZEL_PARSE_SYNTAX_ERROR;
    const int status = parse(condensed.text(), *stack, false, definedConditions);
    return status == ZEL_PARSE_OK && CheckFlag ? checkExpression(*stack) : status;
}

ZELStackStruct* parseCondition(const char* line, int* status, int CheckFlag,
                               const CommandListStruct* definedConditions)
{
    std::unique_ptr<ZELStackStruct, FreeStack> stack(zel::allocate<ZELStackStruct>(1));
    if (!stack) zel::failWithError("parseCondition: cannot allocate memory for ZELStackStruct\n");
    *status = ZELParseExpression(line, stack.get(), CheckFlag, definedConditions);
    return *status == ZEL_PARSE_OK ? stack.release() : nullptr;
}

void ZELFreeStackElements(ZELStackStruct* stack)
{
    if (stack) zel::freeElements(*stack);
}

void ZELFreeStack(ZELStackStruct* stack)
{
    ZELFreeStackElements(stack);
    zel::release(stack);
}

void addStack(ZELStackStruct* stackTo, const ZELStackStruct* stackFrom)
{
    zel::appendCopies(*stackTo, *stackFrom);
}

void printStack(const ZELStackStruct* stack)
{
    for (const StackElementStruct* e = stack->stackHead; e; e = e->nextElement) {
        if (e->type < 0 || e->type >= zel::numKinds) {
            printInfo(zel::message("%d %d\n", e->type, e->op.int_t));
            continue;
        }
        const zel::KindRow& kind = zel::kindRows[e->type];
        if (!kind.numbered && e->type == CON)
            printInfo(zel::message("%s %f\n", kind.label, static_cast<double>(e->op.float_t)));
        else if (!kind.numbered && zel::isOperator(e->op.int_t))
            printInfo(zel::message("%s %s %s\n", kind.label, operatorLabels[e->op.int_t],
                                   Operators[e->op.int_t].name));
        else
            printInfo(zel::message("%s %d\n", kind.label, e->op.int_t));
    }
}
