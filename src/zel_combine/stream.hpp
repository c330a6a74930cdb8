// A C stream that closes itself.
#ifndef ZEL_COMBINE_STREAM_HPP
#define ZEL_COMBINE_STREAM_HPP

#include <cstdio>
#include <memory>

namespace zel_combine {

struct CloseStream {
    void operator()(FILE* stream) const { std::fclose(stream); }
};

using Stream = std::unique_ptr<FILE, CloseStream>;

// Whether what was read last from a stream could not be had; a message then names the file and says what
// it is and why. The end of a file is no such failure.
bool failedReading(FILE* stream, const char* what, const char* name);

}  // namespace zel_combine

#endif
