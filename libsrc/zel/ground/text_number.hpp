// Numbers in texts, read the same in every locale.
#ifndef ZEL_GROUND_TEXT_NUMBER_HPP
#define ZEL_GROUND_TEXT_NUMBER_HPP

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstddef>
#include <limits>
#include <string_view>
#include <system_error>

namespace zel {

// The text without the blanks that it begins with.
inline std::string_view withoutLeadingBlanks(std::string_view text)
{
    return text.substr(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
}

// The integer that a text begins with, after blanks; 0 when it begins with none. A number too large
// for an int is the nearest one that is not.
inline int leadingInteger(std::string_view text)
{
    text = withoutLeadingBlanks(text);
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) text.remove_prefix(1);
    long long value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') break;
        value = std::min(value * 10 + (c - '0'), static_cast<long long>(INT_MAX) + 1);
    }
    return static_cast<int>(isNegative ? -value : std::min(value, static_cast<long long>(INT_MAX)));
}

// The number that a text begins with, after blanks; 0 when it begins with none. What is too large
// for a double is infinite.
inline double leadingNumber(std::string_view text)
{
    text = withoutLeadingBlanks(text);
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) text.remove_prefix(1);
    if (text.starts_with('-')) return 0.0;
    double number = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc::result_out_of_range) {
        // A sign that is left is the exponent's: the number is too small.
        const bool isTiny = std::string_view(text.data(), end).find('-') != std::string_view::npos;
        number = isTiny ? 0.0 : std::numeric_limits<double>::infinity();
    }
    return isNegative ? -number : number;
}

}  // namespace zel

#endif
