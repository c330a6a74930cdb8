// Bytes of a stream that are read before they are asked for: a header has fifteen thousand small
// fields, and a call of the stream for each of them costs more than all the rest of an open.
#ifndef ZEL_RECORDS_READ_AHEAD_HPP
#define ZEL_RECORDS_READ_AHEAD_HPP

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace zel {

class ReadAhead {
public:
    // By how many bytes the stream is ahead of what was taken.
    std::size_t lead() const { return end_ - next_; }

    // Takes size bytes; returns how many there were.
    std::size_t take(FILE* stream, void* to, std::size_t size)
    {
        if (size > lead()) return takeMore(stream, static_cast<unsigned char*>(to), size);
        std::memcpy(to, block_.data() + next_, size);
        next_ += size;
        return size;
    }
    // Puts back what was taken last, as far as it is still here. False when it is not, or nothing
    // is.
    bool putBack(std::int64_t size)
    {
        if (end_ == 0 || size < 0 || static_cast<std::uint64_t>(size) > next_) return false;
        next_ -= static_cast<std::size_t>(size);
        return true;
    }
    // The stream has been moved.
    void drop() { next_ = end_ = 0; }

private:
    std::size_t takeMore(FILE* stream, unsigned char* to, std::size_t size)
    {
        const std::size_t kept = take(stream, to, lead());
        const std::size_t rest = size - kept;
        drop();
        if (rest >= block_.size()) return kept + std::fread(to + kept, 1, rest, stream);
        end_ = std::fread(block_.data(), 1, block_.size(), stream);
        return kept + take(stream, to + kept, std::min(rest, end_));
    }

    std::array<unsigned char, 32 * 1024> block_;
    std::size_t next_ = 0;
    std::size_t end_ = 0;
};

}  // namespace zel

#endif
