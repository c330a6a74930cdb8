#include "mask.hpp"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "zel_features/zel_features.h"

namespace zel_python {
namespace {

struct Close {
    void operator()(FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<FILE, Close>;

// What is written into a stream; the text is there when the stream is closed.
class Text {
public:
    Text() : stream_(open_memstream(&text_, &size_))
    {
        if (!stream_) throw std::bad_alloc();
    }
    ~Text()
    {
        stream_.reset();
        std::free(text_);
    }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    FILE* stream() const { return stream_.get(); }
    std::string take()
    {
        stream_.reset();
        return {text_, size_};
    }

private:
    char* text_ = nullptr;
    std::size_t size_ = 0;
    Stream stream_;
};

struct FreeMask {
    void operator()(ZELFeatureMaskType* mask) const { ZELFeatureFreeMask(mask); }
};

}  // namespace

// Writing a mask changes its header: a copy is written.
std::string bytesOf(const ZELFeatureMaskType* mask)
{
    if (!mask) return {};
    Text text;
    const std::unique_ptr<ZELFeatureMaskType, FreeMask> copy(ZELFeatureDuplicateMask(mask));
    ZELFeatureWriteMask(copy.get(), text.stream());
    return text.take();
}

ZELFeatureMaskType* maskFrom(const std::string& bytes)
{
    if (bytes.empty()) return nullptr;
    std::string readable = bytes;
    const Stream stream(fmemopen(readable.data(), readable.size(), "rb"));
    if (!stream) throw std::bad_alloc();
    return ZELFeatureReadMask(stream.get());
}

}  // namespace zel_python
