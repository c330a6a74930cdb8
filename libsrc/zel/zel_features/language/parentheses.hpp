// Parentheses in a text.
#ifndef ZEL_FEATURES_LANGUAGE_PARENTHESES_HPP
#define ZEL_FEATURES_LANGUAGE_PARENTHESES_HPP

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace zel {

// How many "(" the text has more than ")".
inline std::ptrdiff_t unclosedParentheses(std::string_view text)
{
    return std::count(text.begin(), text.end(), '(') - std::count(text.begin(), text.end(), ')');
}

// The place of the ")" that closes the first "("; npos when there is none.
inline std::size_t closingParenthesis(std::string_view text)
{
    int depth = 0;
    for (std::size_t i = std::min(text.find('('), text.size()); i < text.size(); ++i) {
        if (text[i] == '(') ++depth;
        if (text[i] == ')' && --depth == 0) return i;
    }
    return std::string_view::npos;
}

}  // namespace zel

#endif
