#include "zel_feature_report.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

char infoLine[ZEL_FEATURE_LINE_SIZE + 1] = "";

namespace zel {

const char* message(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(infoLine, sizeof infoLine, format, arguments);
    va_end(arguments);
    return infoLine;
}

void failWithError(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(infoLine, sizeof infoLine, format, arguments);
    va_end(arguments);
    printError(infoLine);
    terminate(-1);
}

void failWithError(int status, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(infoLine, sizeof infoLine, format, arguments);
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
