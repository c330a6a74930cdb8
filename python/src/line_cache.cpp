#include "line_cache.hpp"

#include <algorithm>

namespace zel_python {

LineCache::LineCache(ZELType& record)
{
    const auto pixels = static_cast<std::size_t>(record.ZELHeader.NPixelPerLine);
    for (int slot = 0; slot < record.ZELHeader.MaxNumChan; ++slot) {
        if (!ZELIsChannelPresent(&record, slot)) continue;
        const std::size_t stored =
            pixels * static_cast<std::size_t>(record.Channels[slot].DataByteSize);
        const std::size_t values = pixels * sizeof(float);
        rows_.push_back({slot, {stored, lineBytes_}, {values, lineBytes_ + stored}});
        lineBytes_ += stored + values;
    }
    lines_.assign(std::max<std::size_t>(1, limit / std::max<std::size_t>(1, lineBytes_)), -1);
}

void LineCache::keep(const ZELType& record, int line)
{
    const std::size_t index = indexOf(line);
    if (!bytes_) bytes_ = std::make_unique_for_overwrite<char[]>(lines_.size() * lineBytes_);
    char* at = bytes_.get() + index * lineBytes_;
    const auto copy = [at](const Row& row, const void* from) {
        std::copy_n(static_cast<const char*>(from), row.bytes, at + row.place);
    };
    for (const Rows& r : rows_) {
        copy(r.stored, record.PixBuf[r.slot]);
        copy(r.values, record.Channels[r.slot].ChannelData);
    }
    lines_[index] = line;
}

const char* LineCache::row(int line, int slot, bool isDecoded) const
{
    const auto found =
        std::find_if(rows_.begin(), rows_.end(), [slot](const Rows& r) { return r.slot == slot; });
    const Row& row = isDecoded ? found->values : found->stored;
    return bytes_.get() + indexOf(line) * lineBytes_ + row.place;
}

}  // namespace zel_python
