#include "zel_features/language/zel_feature_report.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

char infoLine[ZEL_FEATURE_LINE_SIZE + 1] = "";

namespace zel {

// A message that is cut ends as it would have ended.
const char* messageOf(const char* format, va_list arguments)
{
    const int length = std::vsnprintf(infoLine, sizeof infoLine, format, arguments);
    const std::size_t size = std::strlen(format);
    if (length > ZEL_FEATURE_LINE_SIZE && size > 0 && format[size - 1] == '\n')
        infoLine[ZEL_FEATURE_LINE_SIZE - 1] = '\n';
    return infoLine;
}

const char* message(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    messageOf(format, arguments);
    va_end(arguments);
    return infoLine;
}

void failWithError(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    messageOf(format, arguments);
    va_end(arguments);
    printError(infoLine);
    terminate(-1);
}

void failWithError(int status, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    messageOf(format, arguments);
    va_end(arguments);
    printError(infoLine);
    terminate(status);
}

}  // namespace zel

void printError(const char* text)
{
    const int error = errno;
    zel::reportTo(stderr, "%s", text);
    if (error != 0) zel::reportTo(stderr, "system error code:: %s\n", std::strerror(error));
}

void printInfo(const char* text)
{
    zel::report("%s", text);
}

void printCriticalInfo(const char* text)
{
    zel::report("%s", text);
}
