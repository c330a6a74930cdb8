#include "messages.hpp"

#include <cstdarg>
#include <cstdio>

namespace zel_combine {

void say(const char* format, ...)
{
    va_list values;
    va_start(values, format);
    std::vprintf(format, values);
    va_end(values);
}

void sayError(const char* format, ...)
{
    va_list values;
    va_start(values, format);
    std::fputs("zel_combine: ", stderr);
    std::vfprintf(stderr, format, values);
    va_end(values);
}

}  // namespace zel_combine
