#include "records/walk.hpp"

#include <algorithm>
#include <cerrno>

#include "ground/byte_order.hpp"
#include "ground/zel_door.hpp"

namespace zel {

namespace {

Damage unreachable(std::int64_t position)
{
    Damage damage{};
    std::snprintf(damage.what, sizeof damage.what, "cannot go on reading: %s",
                  std::strerror(errno));
    damage.offset = position;
    return damage;
}

}  // namespace

void RecordReader::seek(std::int64_t position)
{
    if (!ahead_ || !ahead_->putBack(position_ - position)) moveStream(position);
    position_ = position;
}

// An error in bytes that nothing asked for yet is found when something does.
void RecordReader::settle()
{
    if (!ahead_) return;
    if (ahead_->lead() > 0) std::clearerr(stream_);
    moveStream(position_);
}

void RecordReader::moveStream(std::int64_t position)
{
    if (fseeko(stream_, position, SEEK_SET) != 0) throw unreachable(position);
    if (ahead_) ahead_->drop();
}

void RecordReader::show(const char* name, Element element, const void* values, std::size_t size,
                        int count)
{
    const std::int64_t bytes = static_cast<std::int64_t>(size) * count;
    listener_->field({name, element, count, values, position_ - bytes, bytes, isBigEndian()});
}

bool RecordReader::isBigEndian() const
{
    return isReversed() == (hostByteOrder() == 0);
}

// The latest field of that name, or the field read last when none has that name. Nothing is refused
// before a field was read.
std::int64_t RecordReader::placeOf(const char* name) const
{
    const std::size_t kept = std::min(numFields_, recent_.size());
    for (std::size_t back = 1; back <= kept; ++back) {
        const Place& place = recent_[(numFields_ - back) % recent_.size()];
        if (std::strcmp(place.name, name) == 0) return place.offset;
    }
    return recent_[(numFields_ - 1) % recent_.size()].offset;
}

void RecordReader::cutShort(const char* name) const
{
    Damage damage{};
    if (std::ferror(stream_))
        std::snprintf(damage.what, sizeof damage.what, "cannot read %s: %s", name,
                      std::strerror(errno));
    else
        std::snprintf(damage.what, sizeof damage.what, "cut short in %s", name);
    damage.offset = placeOf(name);
    throw damage;
}

void RecordReader::refuse(const char* name, double value) const
{
    Damage damage{};
    std::snprintf(damage.what, sizeof damage.what, "invalid %s %.9g", name, value);
    damage.offset = placeOf(name);
    throw damage;
}

std::int64_t lengthOf(FILE* stream)
{
    const off_t position = ftello(stream);
    if (position < 0 || fseeko(stream, 0, SEEK_END) != 0) throw unreachable(position);
    const off_t end = ftello(stream);
    if (end < 0 || fseeko(stream, position, SEEK_SET) != 0) throw unreachable(position);
    return end;
}

RecordReader readerAt(FILE* stream)
{
    const std::int64_t end = lengthOf(stream);
    return RecordReader(stream, currentVersion, ftello(stream), end);
}

void failDamaged(const char* function, const Damage& damage)
{
    fail("%s: corrupt block: %s at offset %lld\n", function, damage.what,
         static_cast<long long>(damage.offset));
}

}  // namespace zel
