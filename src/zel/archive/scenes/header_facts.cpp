#include "archive/scenes/header_facts.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "base/failure.hpp"
#include "scene/footprint.hpp"
#include "scene/library.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

template <class T>
void swapBytes(T* values, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        auto* bytes = reinterpret_cast<char*>(values + i);
        std::reverse(bytes, bytes + sizeof(T));
    }
}

// Values of a field of a line, in the byte order of the host.
template <class T>
void readField(FILE* stream, ZELType& record, const char* field, int line, T* to, std::size_t count)
{
    const std::int64_t place = ZELFetchPlaceInLine(&record, field);
    const std::int64_t start = std::int64_t{record.fileOffset} + record.HeaderOffset +
                               std::int64_t{line} * record.LineOffset;
    readAt(stream, start + place, to, count * sizeof(T));
    if (ZELIsByteSwapped(&record)) swapBytes(to, count);
}

// Some of the numbers below count: the first and the last, and evenly spread ones between.
std::vector<int> spread(int count)
{
    constexpr int most = 9;
    std::vector<int> some;
    some.reserve(most);
    for (int i = 0; i < most; ++i)
        some.push_back(static_cast<int>(std::int64_t{count - 1} * i / (most - 1)));
    some.erase(std::unique(some.begin(), some.end()), some.end());
    return some;
}

// The positions of a line at its navigation points, and beyond the outer ones at its ends.
class LineOfPoints {
public:
    LineOfPoints(FILE* stream, ZELType& record, int line) : header_(record.ZELHeader)
    {
        // The latitudes of a line are followed by its longitudes.
        const auto count = static_cast<std::size_t>(header_.NumNavPoints);
        values_.resize(2 * count);
        readField(stream, record, "LatBuffer", line, values_.data(), values_.size());
    }

    Position at(int point) const
    {
        const auto i = static_cast<std::size_t>(point);
        const std::size_t count = values_.size() / 2;
        return {static_cast<double>(values_[i]), static_cast<double>(values_[count + i])};
    }

    Position left() const { return extended(0, 1, header_.StartNavPoint); }

    Position right() const
    {
        const int last = header_.NumNavPoints - 1;
        const std::int64_t pixel =
            header_.StartNavPoint + std::int64_t{last} * header_.NavPointInterval;
        return extended(last, last - 1, header_.NPixelPerLine - 1 - pixel);
    }

private:
    // That many pixels beyond a point, away from its neighbour.
    Position extended(int point, int neighbor, std::int64_t pixels) const
    {
        const Position end = at(point);
        if (header_.NumNavPoints < 2 || header_.NavPointInterval < 1 || pixels <= 0) return end;
        const Position before = at(neighbor);
        if (!isValid(end) || !isValid(before)) return end;
        const double steps = static_cast<double>(pixels) / header_.NavPointInterval;
        const double lon = end.lon + std::remainder(end.lon - before.lon, 360.0) * steps;
        const double lat = end.lat + (end.lat - before.lat) * steps;
        return {std::clamp(lat, -90.0, 90.0), std::remainder(lon, 360.0)};
    }

    const ZELHeaderType& header_;
    std::vector<float> values_;
};

// The outline that zel info draws, from navigation points alone.
std::optional<Box> boxOf(FILE* stream, ZELType& record)
{
    const int points = record.ZELHeader.NumNavPoints;
    if (points < 1) return std::nullopt;
    std::vector<Box> places;
    bool valid = true;
    const auto add = [&](const Position& p) {
        valid = valid && isValid(p);
        places.push_back({p.lon, p.lat, p.lon, p.lat});
    };
    const std::vector<int> lines = spread(record.NumLines);
    for (const int line : lines) {
        const LineOfPoints line_(stream, record, line);
        add(line_.left());
        add(line_.right());
        if (line != lines.front() && line != lines.back()) continue;
        for (const int point : spread(points)) add(line_.at(point));
    }
    return valid ? around(places) : std::nullopt;
}

// The record is empty again when it goes.
class HeaderInRecord {
public:
    HeaderInRecord(ZELType& record, FILE* stream, const std::string& path, int offset, int size)
        : record_(record)
    {
        int result = 0;
        try {
            guarded(
                [&] { result = ZELReadStreamHeader(&record, stream, path.c_str(), offset, size); });
        } catch (const Failure&) {
            throw Failure(openingReason(path));
        }
        if (result != 0) throw Failure(openingReason(path));
    }
    ~HeaderInRecord()
    {
        ZELGuardedCall([](void* record) { ZELFreeData(static_cast<ZELType*>(record)); }, &record_,
                       nullptr);
    }
    HeaderInRecord(const HeaderInRecord&) = delete;
    HeaderInRecord& operator=(const HeaderInRecord&) = delete;

private:
    ZELType& record_;
};

GridFacts gridAt(ZELType& record, FILE* stream, const std::string& path, int offset, int size)
{
    const HeaderInRecord header(record, stream, path, offset, size);
    if (record.NumLines < 1) throw Failure("has no lines");
    const ZELHeaderType& h = record.ZELHeader;
    GridFacts grid{h.DataType,
                   h.sat_no,
                   h.year,
                   h.julian,
                   0.0,
                   h.SpatialResolution,
                   h.NPixelPerLine,
                   record.NumLines,
                   static_cast<int>(presentSlots(record).size()),
                   record.fileOffset,
                   record.HeaderOffset,
                   record.LineOffset,
                   0,
                   {}};
    readField(stream, record, "ScanTime", 0, &grid.time, 1);
    grid.box = boxOf(stream, record);
    return grid;
}

struct Directory {
    bool isContainer = false;
    int base = 0, count = 1;
    std::array<int, ZEL_MAX_COMPONENTS> offsets{}, sizes{};
    std::array<float, ZEL_MAX_COMPONENTS> resolutions{};
};

Directory directoryOf(FILE* stream, const std::string& path)
{
    Directory d;
    int result = 0;
    guarded([&] {
        result = ZELReadStreamCompositeInfo(stream, path.c_str(), &d.base, &d.count,
                                            d.offsets.data(), d.resolutions.data(), d.sizes.data());
    });
    if (result < 0) throw Failure(openingReason(path));
    d.isContainer = result == 1;
    return d;
}

}  // namespace

// Layouts before 1.51 have no prefix: they begin with their version, a float of whole hundredths.
bool beginsLikeScene(const std::string& path)
{
    char bytes[4] = {};
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return false;
    const bool whole = pread(file, bytes, sizeof bytes, 0) == ssize_t{sizeof bytes};
    close(file);
    if (!whole) return false;
    if (std::memcmp(bytes, "ZEL", 3) == 0) return bytes[3] >= '0' && bytes[3] <= '9';
    for (int order = 0; order < 2; ++order, std::reverse(bytes, bytes + sizeof bytes)) {
        const auto hundredths = static_cast<double>(std::bit_cast<float>(bytes)) * 100.0;
        if (hundredths > 99.5 && hundredths < 150.5 &&
            std::fabs(hundredths - std::round(hundredths)) < 1e-4)
            return true;
    }
    return false;
}

OpenFile HeaderReader::open(const std::string& path)
{
    OpenFile opened;
    FileFacts& file = opened.facts;
    file.path = path;
    file.bytes = requireFile(path);
    opened.stream = openHeaderStream(path);
    FILE* const stream = opened.stream.get();
    const Directory directory = directoryOf(stream, path);
    file.isContainer = directory.isContainer;
    file.base = static_cast<std::size_t>(directory.base);
    std::int64_t end = 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(directory.count); ++i) {
        // A size of 0 is that of a plain file.
        const std::int64_t offset = directory.offsets[i];
        const std::int64_t size =
            directory.sizes[i] != 0 ? directory.sizes[i] : file.bytes - offset;
        file.grids.push_back(
            gridAt(*record_, stream, path, directory.offsets[i], directory.sizes[i]));
        GridFacts& grid = file.grids.back();
        grid.left = size - grid.headerBytes - grid.lines * grid.lineBytes;
        end = std::max(end, offset + size);
    }
    file.left = file.bytes - end;
    return opened;
}

}  // namespace zel_tool
