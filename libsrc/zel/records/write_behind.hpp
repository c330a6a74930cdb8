// Bytes that are collected before a stream gets them: a line has many short rows of pixels, and a
// stream with its small buffer would make a system call for each.
#ifndef ZEL_RECORDS_WRITE_BEHIND_HPP
#define ZEL_RECORDS_WRITE_BEHIND_HPP

#include <array>
#include <cstdio>
#include <cstring>

#include "ground/byte_order.hpp"
#include "zel_io.h"

namespace zel {

class WriteBehind {
public:
    // Elements, in the order of bytes that is in force. False when the stream did not take all.
    bool put(FILE* stream, const void* values, std::size_t size, std::size_t count)
    {
        const std::size_t bytes = size * count;
        if (bytes > block_.size() - used_ && !flush(stream)) return false;
        if (bytes > block_.size())
            return static_cast<std::size_t>(ZELWrite(values, static_cast<int>(size),
                                                     static_cast<int>(count), stream)) == count;
        unsigned char* const to = block_.data() + used_;
        std::memcpy(to, values, bytes);
        if (size > 1 && SwapByteOrdering != 0) reverseElements(to, size, count);
        used_ += bytes;
        return true;
    }
    // Hands over what was collected.
    bool flush(FILE* stream)
    {
        const std::size_t used = used_;
        used_ = 0;
        return std::fwrite(block_.data(), 1, used, stream) == used;
    }

private:
    std::array<unsigned char, 64 * 1024> block_;
    std::size_t used_ = 0;
};

}  // namespace zel

#endif
