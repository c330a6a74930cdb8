#include "zel_features/language/split.hpp"

#include "zel_features/language/operators.hpp"
#include "zel_features/language/parentheses.hpp"
#include "zel_features/language/text.hpp"

namespace {

using std::size_t;
using std::string_view;

// "(a)" is enclosed; "(a)+(b)" is not: the ")" of its first "(" is not its last character.
bool isEnclosed(string_view text)
{
    return text.starts_with('(') && zel::closingParenthesis(text) == text.size() - 1;
}

// Any of "==", "!=", "<=" and ">=" keeps its "=" from being an assignment.
bool endsComparison(string_view text, size_t position)
{
    return position > 0 && string_view("=!<>").find(text[position - 1]) != string_view::npos;
}

// The first "=" of "==" is not an assignment either, whatever comes before it.
bool endsEquality(string_view text, size_t position)
{
    return position > 0 && text[position - 1] == '=';
}

// The "-" of 1e-5: "e" before it, and a digit before that.
bool isExponentSign(string_view text, size_t position)
{
    return position >= 2 && zel::lowerCase(text[position - 1]) == 'e' &&
           zel::isDigit(text[position - 2]);
}

// A "-" that has an operator among the two characters before it is not a subtraction. Right after
// the operator it is a sign, as in 2*-3. With one character between them the rest goes to the
// right-hand side: a-b-c is a-(b-c), and a*b-c is a*(b-c). Files and programs depend on it.
bool followsOperatorClosely(string_view text, size_t position)
{
    const size_t start = position >= 2 ? position - 2 : 0;
    const string_view before = text.substr(start, position - start);
    for (const zel::OperatorRow& row : zel::operatorRows)
        if (before.find(row.text) != string_view::npos) return true;
    return false;
}

bool isSubtraction(string_view text, size_t position)
{
    return position > 0 && !followsOperatorClosely(text, position) &&
           !isExponentSign(text, position);
}

// A sign stands anywhere that is not the exponent of a constant.
bool isNegation(string_view text, size_t position)
{
    return position == 0 || !isExponentSign(text, position);
}

// A function's name counts only at the start of a text and right before "(".
bool isCall(string_view text, size_t position, string_view name)
{
    return position == 0 && text.size() > name.size() && text[name.size()] == '(';
}

bool matches(const zel::OperatorRow& row, string_view text, size_t position)
{
    if (!text.substr(position).starts_with(row.text)) return false;
    if (zel::isFunction(row.index)) return isCall(text, position, row.text);
    switch (row.index) {
    case SET_VARIABLE:
        return !endsComparison(text, position);
    case SUB:
        return isSubtraction(text, position);
    case NEGATIVE:
        return isNegation(text, position);
    default:
        return true;
    }
}

// The rows first to last - 1 are one level.
std::optional<zel::Split> findInLevel(string_view text, const zel::OperatorRow* first,
                                      const zel::OperatorRow* last)
{
    int depth = 0;
    for (size_t i = text.size(); i-- > 0;) {
        if (text[i] == ')') ++depth;
        if (text[i] == '(') --depth;
        if (depth != 0) continue;
        for (const zel::OperatorRow* row = first; row != last; ++row)
            if (matches(*row, text, i))
                return zel::Split{row->index, i, string_view(row->text).size()};
        if (first->index == SET_VARIABLE && text[i] == '=' && endsEquality(text, i)) --i;
    }
    return std::nullopt;
}

}  // namespace

namespace zel {

string_view stripParens(string_view text, int& status)
{
    const std::ptrdiff_t unclosed = unclosedParentheses(text);
    status = ZEL_PARSE_OK;
    if (unclosed > 0) status = ZEL_PARSE_MISSING_RIGHT_PARENTHESIS;
    if (unclosed < 0) status = ZEL_PARSE_MISSING_LEFT_PARENTHESIS;
    if (status != ZEL_PARSE_OK) return text;
    while (isEnclosed(text)) text = text.substr(1, text.size() - 2);
    return text;
}

std::optional<Split> findSplit(string_view text)
{
    const OperatorRow* const end = operatorRows + ZEL_NUM_OPERATORS;
    for (const OperatorRow* first = operatorRows; first != end;) {
        const OperatorRow* last = first;
        while (last != end && last->level == first->level) ++last;
        if (const auto split = findInLevel(text, first, last)) return split;
        first = last;
    }
    return std::nullopt;
}

}  // namespace zel
