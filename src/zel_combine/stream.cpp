#include "stream.hpp"

#include <cerrno>
#include <cstring>

namespace zel_combine {

bool failedReading(FILE* stream, const char* what, const char* name)
{
    if (!std::ferror(stream)) return false;
    std::printf("zel_combine: Error: cannot read %s %s: %s\n", what, name, std::strerror(errno));
    return true;
}

}  // namespace zel_combine
