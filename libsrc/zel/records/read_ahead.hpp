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
    // Reads at most so many bytes in all: the stream goes no further.
    explicit ReadAhead(std::int64_t limit = INT64_MAX) : left_(limit) {}

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
    // The next bytes, at most lead() of them, which are taken with that.
    const unsigned char* takeHere(std::size_t size)
    {
        next_ += size;
        return block_.data() + next_ - size;
    }
    // Takes the next bytes if they are those taken last once more. False when they are not, or not
    // all of both are here.
    bool takeRepeated(std::size_t size)
    {
        if (size > lead() || size > next_) return false;
        const unsigned char* next = block_.data() + next_;
        if (std::memcmp(next, next - size, size) != 0) return false;
        next_ += size;
        return true;
    }
    // Puts back what was taken last, as far as it is still here. False when it is not, or nothing
    // is.
    bool putBack(std::int64_t size)
    {
        if (end_ == 0 || size < 0 || static_cast<std::uint64_t>(size) > next_) return false;
        next_ -= static_cast<std::size_t>(size);
        return true;
    }
    // The stream has been moved, to where so many bytes are left to read.
    void drop(std::int64_t left)
    {
        drop();
        left_ = left;
    }
    void drop() { next_ = end_ = 0; }

private:
    std::size_t takeMore(FILE* stream, unsigned char* to, std::size_t size)
    {
        const std::size_t kept = take(stream, to, lead());
        const std::size_t rest = size - kept;
        drop();
        if (rest >= block_.size()) return kept + read(stream, to + kept, rest);
        end_ = read(stream, block_.data(), block_.size());
        return kept + take(stream, to + kept, std::min(rest, end_));
    }
    std::size_t read(FILE* stream, unsigned char* to, std::size_t size)
    {
        const std::int64_t wanted = std::min(static_cast<std::int64_t>(size), left_);
        left_ -= wanted;
        return std::fread(to, 1, static_cast<std::size_t>(wanted), stream);
    }

    std::array<unsigned char, 64 * 1024> block_;
    std::size_t next_ = 0;
    std::size_t end_ = 0;
    std::int64_t left_;
};

}  // namespace zel

#endif
