// Numbers in texts, read the same in every locale.
#ifndef ZEL_GROUND_TEXT_NUMBER_HPP
#define ZEL_GROUND_TEXT_NUMBER_HPP

#include <charconv>
#include <cstddef>
#include <limits>
#include <string_view>
#include <system_error>

namespace zel {

// The number that a text begins with, behind blanks; 0 when it begins with none. What is too large for
// a double is infinite.
inline double leadingNumber(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t\n\v\f\r");
    if (first == std::string_view::npos) return 0.0;
    text.remove_prefix(first);
    const bool isNegative = text.front() == '-';
    if (isNegative || text.front() == '+') text.remove_prefix(1);
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
