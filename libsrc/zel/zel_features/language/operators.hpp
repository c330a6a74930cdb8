// The operators of the language and the kinds of stack elements, one list each.
#ifndef ZEL_FEATURES_LANGUAGE_OPERATORS_HPP
#define ZEL_FEATURES_LANGUAGE_OPERATORS_HPP

#include "zel_features/zel_feature_types.h"

namespace zel {

struct OperatorRow {
    int index;
    const char* label;
    const char* text;
    int operands;
    int level;
};

// In the order in which the operators of a level are tried at a position: a text must stand before
// any shorter one that it begins with.
inline constexpr OperatorRow operatorRows[] = {
    {SKIP_PIXEL, "SKIP_PIXEL", "skip_pixel", 0, 0},
    {COMMA, "COMMA", ",", 0, 1},  // leaves the arguments of a call for the function to pop
    {SET_VARIABLE, "SET_VARIABLE", "=", 2, 2},
    {OR, "OR", "||", 2, 3},
    {AND, "AND", "&&", 2, 4},
    {NOTEQUAL, "NOTEQUAL", "!=", 2, 5},
    {EQUAL, "EQUAL", "==", 2, 5},
    {LESSTHANOREQUAL, "LESSTHANOREQUAL", "<=", 2, 6},
    {GREATERTHANOREQUAL, "GREATERTHANOREQUAL", ">=", 2, 6},
    {GREATERTHAN, "GREATERTHAN", ">", 2, 6},
    {LESSTHAN, "LESSTHAN", "<", 2, 6},
    {SUB, "SUB", "-", 2, 7},
    {ADD, "ADD", "+", 2, 7},
    {MUL, "MUL", "*", 2, 8},
    {RATIO, "RATIO", "saferatio", 2, 8},  // infix, like "*"
    {DIV, "DIV", "/", 2, 8},
    {NEGATIVE, "NEGATIVE", "-", 1, 9},
    {NOT, "NOT", "!", 1, 9},
    {VAL, "VAL", "value", 3, 10},
    {SAT, "SAT", "saturation", 3, 10},
    {HUE, "HUE", "hue", 3, 10},
    {LENGTH3, "LENGTH3", "length3", 3, 10},
    {LENGTH2, "LENGTH2", "length2", 2, 10},
    {ATAN, "ATAN", "atan2", 2, 10},
    {TAN, "TAN", "tan", 1, 10},
    {COS, "COS", "cos", 1, 10},
    {SIN, "SIN", "sin", 1, 10},
    {D2RAD, "D2RAD", "deg2rad", 1, 10},
    {LOG10, "LOG10", "log10", 1, 10},
    {LOG, "LOG", "log", 1, 10},
    {EXP, "EXP", "exp", 1, 10},
    {POW, "POW", "pow", 2, 10},
    {SQRT, "SQRT", "sqrt", 1, 10},
};

inline constexpr int numLevels = operatorRows[ZEL_NUM_OPERATORS - 1].level + 1;

struct KindRow {
    int kind;
    const char* label;
    bool numbered;  // the operand is printed as a number: of a variable, channel or register
};

inline constexpr KindRow kindRows[] = {
    {OPER, "OPER", false},    {CON, "CON", false},
    {CHAN, "CHAN", true},     {VAR, "VAR", true},
    {LVALUE, "LVALUE", true}, {CHAN_LVALUE, "CHAN_LVALUE", true},
    {REG, "REG", true},       {REG_LVALUE, "REG_LVALUE", true},
};

inline constexpr int numKinds = static_cast<int>(sizeof kindRows / sizeof kindRows[0]);

constexpr bool operatorRowsAreInOrder()
{
    int level = 0;
    for (int i = 0; i < ZEL_NUM_OPERATORS; ++i) {
        const OperatorRow& row = operatorRows[i];
        if (row.index != i || row.level < level || row.level > level + 1) return false;
        level = row.level;
    }
    return true;
}

constexpr bool kindRowsAreInOrder()
{
    for (int i = 0; i < numKinds; ++i)
        if (kindRows[i].kind != i) return false;
    return true;
}

static_assert(sizeof operatorRows / sizeof operatorRows[0] == ZEL_NUM_OPERATORS);
static_assert(operatorRowsAreInOrder());
static_assert(kindRowsAreInOrder());

// An element may have come from elsewhere than the compiler.
constexpr bool isOperator(int index)
{
    return index >= 0 && index < ZEL_NUM_OPERATORS;
}

// Functions are written name(arguments).
constexpr bool isFunction(int operatorIndex)
{
    return operatorIndex >= VAL;
}

}  // namespace zel

#endif
