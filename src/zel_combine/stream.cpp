#include "stream.hpp"

#include <cerrno>
#include <cstring>

#include "messages.hpp"

namespace zel_combine {

bool failedReading(FILE* stream, const char* what, const char* name)
{
    if (!std::ferror(stream)) return false;
    say("zel_combine: Error: cannot read %s %s: %s\n", what, name, std::strerror(errno));
    return true;
}

}  // namespace zel_combine
