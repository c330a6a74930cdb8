// Fixed-size text buffers.
#ifndef ZEL_GROUND_TEXT_HPP
#define ZEL_GROUND_TEXT_HPP

#include <cstddef>
#include <cstring>

namespace zel {

// Copies text, cut where the buffer ends; what is left of the buffer is zeros. The text may be the
// buffer's own, or its end.
template <std::size_t N>
void copyText(char (&buffer)[N], const char* text)
{
    const std::size_t length = text ? strnlen(text, N - 1) : 0;
    if (length > 0) std::memmove(buffer, text, length);
    std::memset(buffer + length, 0, N - length);
}

inline char lowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Equal without regard to the case of ASCII letters, whatever the locale.
inline bool sameIgnoringCase(const char* a, const char* b)
{
    for (; lowerCase(*a) == lowerCase(*b); ++a, ++b)
        if (*a == '\0') return true;
    return false;
}

}  // namespace zel

#endif
