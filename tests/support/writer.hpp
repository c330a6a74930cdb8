// A file under construction, and the numbers in its bytes.
#pragma once

#include <bit>
#include <memory>
#include <string>
#include <vector>

#include "support/outcome.hpp"
#include "zel/zel.h"

namespace zel_test {

// A write-only record with a file of its own in a directory of its own; finished and removed at the
// end. Declare channels on it, open it, load and write lines, finish it, look at the bytes.
class Writer {
public:
    explicit Writer(int pixels = 4, int navPoints = 0, int slots = ZEL_MAX_CHANNELS)
        : record_(writeOnlyRecord(pixels, navPoints)), path_(dir_.path("written.zel"))
    {
        record_->ZELHeader.MaxNumChan = static_cast<int16_t>(slots);
    }
    ~Writer() { finish(); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    ZELType* operator->() { return record_.get(); }
    ZELType* get() { return record_.get(); }
    const std::string& path() const { return path_; }
    ZELChannelType& slot(int channel) { return record_->Channels[channel]; }

    void add(int channel, int storageCode, float max, float min)
    {
        ZELAddChannel(get(), channel, max, min, storageCode, 8, "channel", "of a test");
    }

    // Without the notes about missing grids that the first open of a process prints.
    Outcome open()
    {
        Outcome outcome = run([this] { result = ZELOpenWriteOnlyFile(get(), path_.c_str()); });
        outcome.out = withoutGridNotes(outcome.out);
        open_ = !outcome.ended && result == 0;
        return outcome;
    }

    void load(int channel, const std::vector<float>& values)
    {
        ZELLoadChannel(get(), channel, values.data());
    }

    Outcome write()
    {
        return run([this] { ZELWriteLine(get()); });
    }

    Outcome finish()
    {
        if (!open_) return {};
        open_ = false;
        return run([this] { ZELFinishWritingFile(get()); });
    }

    // What a reader would find in the file now.
    Bytes bytes()
    {
        if (open_) fflush(record_->fptr);
        return readFile(path_);
    }

    // The stored bytes of the lines written so far, one after the other.
    Bytes lineBytes()
    {
        const Bytes all = bytes();
        return {all.begin() + record_->HeaderOffset, all.end()};
    }

    int result = 0;  // of the open

private:
    TempDir dir_;
    std::unique_ptr<ZELType> record_;
    std::string path_;
    bool open_ = false;
};

inline uint32_t bitsAt(const Bytes& bytes, std::size_t offset, int size)
{
    uint32_t bits = 0;
    for (std::size_t i = offset + static_cast<std::size_t>(size); i-- > offset;)
        bits = bits << 8 | bytes.at(i);
    return bits;
}

inline int int16At(const Bytes& bytes, std::size_t offset)
{
    return static_cast<int16_t>(bitsAt(bytes, offset, 2));
}

inline int32_t int32At(const Bytes& bytes, std::size_t offset)
{
    return static_cast<int32_t>(bitsAt(bytes, offset, 4));
}

inline float floatAt(const Bytes& bytes, std::size_t offset)
{
    return std::bit_cast<float>(bitsAt(bytes, offset, 4));
}

inline std::string textAt(const Bytes& bytes, std::size_t offset, std::size_t length)
{
    const auto begin = bytes.begin() + static_cast<long>(offset);
    return {begin, begin + static_cast<long>(length)};
}

}  // namespace zel_test
