#include "archive/scenes/header_stream.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/failure.hpp"

namespace zel_tool {

HeaderStream openHeaderStream(const std::string& path)
{
    HeaderStream stream(std::fopen(path.c_str(), "rb"));
    if (!stream) throw Failure(std::strerror(errno));
    return stream;
}

void readAt(FILE* stream, std::int64_t offset, void* to, std::size_t size)
{
    auto* at = static_cast<char*>(to);
    while (size > 0) {
        const ssize_t got = pread(fileno(stream), at, size, offset);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) throw Failure(got < 0 ? std::strerror(errno) : "ends inside of a line");
        at += got;
        offset += got;
        size -= static_cast<std::size_t>(got);
    }
}

}  // namespace zel_tool
