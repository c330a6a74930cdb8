// Texts that grow, and their characters, the same in every locale.
#ifndef ZEL_FEATURES_LANGUAGE_TEXT_HPP
#define ZEL_FEATURES_LANGUAGE_TEXT_HPP

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "ground/memory.hpp"
#include "ground/text.hpp"
#include "zel_features/language/zel_feature_report.hpp"

namespace zel {

// Memory for containers. A failed allocation ends the process: an exception must not cross C
// callers.
template <class T>
struct Allocator {
    using value_type = T;

    Allocator() = default;
    template <class U>
    Allocator(const Allocator<U>&)
    {
    }
    T* allocate(std::size_t count)
    {
        void* memory = std::calloc(count, sizeof(T));
        if (!memory) failWithError("cannot allocate memory for a text\n");
        return static_cast<T*>(memory);
    }
    void deallocate(T* memory, std::size_t) { release(memory); }
    friend bool operator==(const Allocator&, const Allocator&) { return true; }
};

using Text = std::basic_string<char, std::char_traits<char>, Allocator<char>>;

inline bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

inline bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

inline bool sameIgnoringCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return lowerCase(x) == lowerCase(y);
           });
}

inline bool startsWithIgnoringCase(std::string_view text, std::string_view prefix)
{
    return sameIgnoringCase(text.substr(0, prefix.size()), prefix);
}

// A copy that a record can own. Ends the process (-1) when memory fails.
char* copyString(std::string_view text);

// The same for a text that may be null, which stays null.
char* copyNullable(const char* text);

// Replaces a text that a record owns.
void setString(char*& field, std::string_view text);

// The same, null included.
void setNullable(char*& field, const char* text);

}  // namespace zel

#endif
