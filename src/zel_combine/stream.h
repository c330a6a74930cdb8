// A C stream that closes itself.
#ifndef ZEL_COMBINE_STREAM_H
#define ZEL_COMBINE_STREAM_H

#include <cstdio>
#include <memory>

namespace zel_combine {

struct CloseStream {
    void operator()(FILE* stream) const { std::fclose(stream); }
};

using Stream = std::unique_ptr<FILE, CloseStream>;

}  // namespace zel_combine

#endif
