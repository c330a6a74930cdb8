// A file of an archive, of which headers and a few places are read.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace zel_tool {

struct CloseStream {
    void operator()(FILE* stream) const { std::fclose(stream); }
};
using HeaderStream = std::unique_ptr<FILE, CloseStream>;

// Throws Failure.
HeaderStream openHeaderStream(const std::string& path);

// Reads bytes of a place; the stream stays where it is. Throws Failure, also where the file ends
// before them.
void readAt(FILE* stream, std::int64_t offset, void* to, std::size_t size);

}  // namespace zel_tool
