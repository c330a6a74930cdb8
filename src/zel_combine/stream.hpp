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

// Whether the last read from a stream failed; a message then gives the kind of file, its name and
// the reason. The end of a file is not a failure.
bool failedReading(FILE* stream, const char* what, const char* name);

}  // namespace zel_combine

#endif
