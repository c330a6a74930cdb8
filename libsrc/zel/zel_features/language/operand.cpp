#include "zel_features/language/operand.hpp"

#include "ground/text_number.hpp"
#include "zel_features/language/stack.hpp"
#include "zel_features/language/text.hpp"
#include "zel_features/language/variables.hpp"

namespace {

using std::string_view;

constexpr string_view channelPrefix = "ch";
constexpr string_view registerPrefix = "register";

// Definitions of definitions can double with every line, and a few bytes of a file can use a large
// one many times. These limit the elements of one text, and of all stacks of the process.
constexpr int maxElements = 100000;
constexpr long long maxElementsInUse = 4000000;

// Operands are tried in this order: named definitions, variables, channels, registers, constants.

// A definition without a condition is the one being compiled, and has no meaning yet: a feature Ch1
// may have the label Ch1.
const CommandListStruct* findDefinition(string_view label, const CommandListStruct* definitions)
{
    for (; definitions; definitions = definitions->next)
        if (definitions->Condition && definitions->Label && label == definitions->Label)
            return definitions;
    return nullptr;
}

void setRegister(StackElementStruct& element, string_view number, bool assigned)
{
    element.type = assigned ? REG_LVALUE : REG;
    element.op.int_t = zel::leadingInteger(number);
}

// A definition stands for its compiled expression, element for element. One whose text begins with
// "register" is another name of that register and can be assigned to; what follows the number is
// ignored.
int compileDefinition(const CommandListStruct& definition, ZELStackStruct& stack, bool assigned)
{
    const int count = definition.Condition->numStackElements;
    if (stack.numStackElements + count > maxElements ||
        zel::elementsInUse() + count > maxElementsInUse)
        return ZEL_PARSE_SYNTAX_ERROR;
    zel::Text text = definition.Condition->expression ? definition.Condition->expression : "";
    std::erase_if(text, zel::isBlank);
    if (zel::startsWithIgnoringCase(text, registerPrefix))
        setRegister(zel::appendElement(stack), string_view(text).substr(registerPrefix.size()),
                    assigned);
    else
        zel::appendCopies(stack, *definition.Condition);
    return ZEL_PARSE_OK;
}

bool compileVariable(string_view text, StackElementStruct& element, bool assigned)
{
    for (const zel::VariableRow& row : zel::variableRows) {
        if (!zel::sameIgnoringCase(text, row.name)) continue;
        element.type = assigned ? LVALUE : VAR;
        element.op.int_t = row.index;
        return true;
    }
    return false;
}

// "Ch" alone is channel 0. With anything but digits after it the text is read on after the two
// letters, as a register or a constant: Ch1.5 is the constant 1.5.
bool compileChannel(string_view& text, StackElementStruct& element, bool assigned)
{
    if (!zel::startsWithIgnoringCase(text, channelPrefix)) return false;
    element.type = assigned ? CHAN_LVALUE : CHAN;
    text.remove_prefix(channelPrefix.size());
    for (const char c : text)
        if (!zel::isDigit(c)) return false;
    element.op.int_t = zel::leadingInteger(text);
    return true;
}

bool compileRegister(string_view text, StackElementStruct& element, bool assigned)
{
    if (!zel::startsWithIgnoringCase(text, registerPrefix)) return false;
    setRegister(element, text.substr(registerPrefix.size()), assigned);
    return true;
}

// Digits, at most one "e", one "." and two "-", in whatever order.
bool isConstant(string_view text)
{
    int exponents = 0, signs = 0, points = 0;
    for (const char c : text) {
        if (c == 'e' || c == 'E')
            ++exponents;
        else if (c == '-')
            ++signs;
        else if (c == '.')
            ++points;
        else if (!zel::isDigit(c))
            return false;
    }
    return exponents <= 1 && signs <= 2 && points <= 1;
}

}  // namespace

namespace zel {

int compileOperand(string_view text, ZELStackStruct& stack, bool assigned,
                   const CommandListStruct* definitions)
{
    if (const CommandListStruct* definition = findDefinition(text, definitions))
        return compileDefinition(*definition, stack, assigned);
    StackElementStruct& element = appendElement(stack);
    if (compileVariable(text, element, assigned) || compileChannel(text, element, assigned) ||
        compileRegister(text, element, assigned))
        return ZEL_PARSE_OK;
    if (!isConstant(text)) return ZEL_PARSE_ILLEGAL_OPERAND;
    element.type = CON;
    element.op.float_t = static_cast<float>(zel::leadingNumber(text));
    return ZEL_PARSE_OK;
}

}  // namespace zel
