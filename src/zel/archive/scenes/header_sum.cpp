#include "archive/scenes/header_sum.hpp"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/sha256.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

// What the checksum of a file is of, in parts that stay in the cache of the processor.
class SummedBytes {
public:
    explicit SummedBytes(const OpenFile& file)
        : stream_(file.stream.get()), grids_(file.facts.grids)
    {
    }

    // The next part, until the one after it is asked for; nothing at the end. Throws Failure.
    std::string_view next()
    {
        if (grid_ == grids_.size()) return {};
        const GridFacts& grid = grids_[grid_];
        if (done_ == grid.headerBytes) return layout();
        const auto size =
            std::min(grid.headerBytes - done_, static_cast<std::int64_t>(part_.size()));
        readAt(stream_, grid.offset + done_, part_.data(), static_cast<std::size_t>(size));
        done_ += size;
        return {part_.data(), static_cast<std::size_t>(size)};
    }

private:
    std::string_view layout()
    {
        const GridFacts& grid = grids_[grid_++];
        done_ = 0;
        return text_ = format("%d %lld\n", grid.lines, static_cast<long long>(grid.lineBytes));
    }

    FILE* stream_;
    const std::vector<GridFacts>& grids_;
    std::size_t grid_ = 0;
    std::int64_t done_ = 0;  // bytes of the header of that grid
    std::array<char, 1 << 16> part_;
    std::string text_;
};

}  // namespace

void takeChecksum(OpenFile& file)
{
    Sha256 sum;
    SummedBytes bytes(file);
    for (auto part = bytes.next(); !part.empty(); part = bytes.next()) sum.add(part);
    file.facts.checksum = sum.finish();
}

void takeChecksums(OpenFile& one, OpenFile& other)
{
    Sha256 sum;
    Sha256 otherSum;
    SummedBytes bytes(one);
    SummedBytes otherBytes(other);
    for (;;) {
        const std::string_view part = bytes.next();
        const std::string_view otherPart = otherBytes.next();
        if (part.empty() && otherPart.empty()) break;
        Sha256::addTwo(sum, part, otherSum, otherPart);
    }
    one.facts.checksum = sum.finish();
    other.facts.checksum = otherSum.finish();
}

}  // namespace zel_tool
