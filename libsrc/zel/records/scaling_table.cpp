#include "records/scaling_table.hpp"

#include <algorithm>
#include <array>
#include <mutex>

#include "ground/memory.hpp"
#include "ground/width.hpp"
#include "ground/zel_door.hpp"
#include "records/pixels.hpp"

namespace zel {
namespace {

constexpr int byteEntries = 256;
constexpr int wordEntries = 65536;

// Large tables that were freed, for those to come. Fresh memory of 256 KiB comes from the system
// page by page, which takes longer than filling it.
class TableMemory {
public:
    float* take()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (Block& block : blocks_) {
            if (block.inUse) continue;
            if (!block.table) block.table = allocate<float>(wordEntries);
            block.inUse = block.table != nullptr;
            return block.table;
        }
        return allocate<float>(wordEntries);
    }
    // False for a table that was not taken from here.
    bool giveBack(const float* table)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto block = std::find_if(blocks_.begin(), blocks_.end(), [table](const Block& b) {
            return b.table == table && b.inUse;
        });
        if (block == blocks_.end()) return false;
        block->inUse = false;
        return true;
    }

    void drop()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (Block& block : blocks_)
            if (!block.inUse) discard(block.table);
    }

private:
    struct Block {
        float* table;
        bool inUse;
    };
    std::array<Block, 16> blocks_{};
    std::mutex mutex_;
};

TableMemory memory;

// A number of entries that the compiler knows lets it compute several at once.
template <int entries>
int fill(float* table, const Scale& scale)
{
    runLoop([&] {
        const Scale own = scale;
        for (int k = 0; k < entries; ++k) table[k] = own.value(k);
    });
    return entries;
}

}  // namespace

Scale::Scale(const ZELChannelType& channel)
    : step_(static_cast<double>(channel.MaxValue - channel.MinValue) / stepsOf(channel.Type)),
      min_(static_cast<double>(channel.MinValue))
{
}

double stepsOf(int storageCode)
{
    return (storageCode == ZEL_STORED_BYTE_SCALED ? byteEntries : wordEntries) - 1;
}

int fillScalingTable(const ZELChannelType& channel, float* table)
{
    switch (channel.Type) {
    case ZEL_STORED_BYTE_SCALED:
        return fill<byteEntries>(table, Scale(channel));
    case ZEL_STORED_UINT16_SCALED:
        return fill<wordEntries>(table, Scale(channel));
    default:
        return 0;
    }
}

float* createScalingTable(const ZELChannelType& channel)
{
    if (!isScaled(channel.Type)) return nullptr;
    const bool isLarge = channel.Type == ZEL_STORED_UINT16_SCALED;
    float* table = isLarge ? memory.take() : allocate<float>(byteEntries);
    if (!table) fail("malloc error: ChannelLUT\n");
    fillScalingTable(channel, table);
    return table;
}

void releaseScalingTable(ZELChannelType& channel)
{
    if (!channel.ChannelLUT) return;
    if (!memory.giveBack(channel.ChannelLUT)) release(channel.ChannelLUT);
    channel.ChannelLUT = nullptr;
}

void dropKeptTables()
{
    memory.drop();
}

}  // namespace zel
