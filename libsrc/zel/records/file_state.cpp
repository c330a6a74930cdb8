#include "records/file_state.hpp"

#include <utility>

#include "ground/byte_order.hpp"
#include "ground/memory.hpp"
#include "ground/zel_door.hpp"
#include "zel_io.h"

namespace zel {

struct alignas(16) LineMemory::Block {
    Block* next;
};

void* LineMemory::take(std::size_t bytes)
{
    auto* memory = allocate<unsigned char>(sizeof(Block) + bytes);
    if (!memory) return nullptr;
    auto* block = reinterpret_cast<Block*>(memory);
    block->next = blocks_;
    blocks_ = block;
    return memory + sizeof(Block);
}

void LineMemory::free()
{
    while (blocks_) release(std::exchange(blocks_, blocks_->next));
}

void ByteOrderWatch::note()
{
    order_ = SwapByteOrdering;
    isNoted_ = true;
    isLost_ = false;
}

bool ByteOrderWatch::losesOrder()
{
    if (!isNoted_ || isLost_ || order_ == SwapByteOrdering) return false;
    isLost_ = true;
    return true;
}

bool ByteOrderWatch::isSwapped() const
{
    return isNoted_ && order_ != hostByteOrder();
}

bool ScalingWatch::missesValues()
{
    return isUnscaled_ && !std::exchange(isReported_, true);
}

FileState* stateOf(const ZELType& file)
{
    return static_cast<FileState*>(file.Internal);
}

FileState* makeState(ZELType& file)
{
    if (!file.Internal) file.Internal = allocate<FileState>(1);
    return stateOf(file);
}

void warnOfWrittenOrder(const ZELType& file, const char* function)
{
    FileState* state = stateOf(file);
    if (state && state->order.losesOrder())
        reportTo(stderr,
                 "%s: warning: the opening of another file has set the other byte order: what is "
                 "written to file %s from here on has its bytes reversed, unlike its header\n",
                 function, file.ImageFilename);
}

bool isByteSwapped(const ZELType& file)
{
    const FileState* state = stateOf(file);
    return state && state->order.isSwapped();
}

void freeState(ZELType& file)
{
    if (FileState* state = stateOf(file)) state->memory.free();
    discard(file.Internal);
}

}  // namespace zel
