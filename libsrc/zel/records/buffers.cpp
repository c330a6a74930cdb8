#include "records/buffers.hpp"

#include "ground/byte_order.hpp"
#include "ground/memory.hpp"
#include "zel_io.h"

namespace zel {
namespace {

struct alignas(16) Block {
    Block* next;
};

// What a record points to with Internal.
struct State {
    Block* blocks;
    int byteOrder;  // SwapByteOrdering as the file needs it
    bool orderNoted;
    bool orderLost;
    bool valuesLacking;  // the line that is held was read without scaling
    bool lackTold;
};

State* stateOf(ZELType& file)
{
    if (!file.Internal) file.Internal = allocate<State>(1);
    return static_cast<State*>(file.Internal);
}

}  // namespace

void* lineMemory(ZELType& file, std::size_t bytes)
{
    State* state = stateOf(file);
    auto* memory = state ? allocate<unsigned char>(sizeof(Block) + bytes) : nullptr;
    if (!memory) return nullptr;
    auto* block = reinterpret_cast<Block*>(memory);
    block->next = state->blocks;
    state->blocks = block;
    return memory + sizeof(Block);
}

bool hasLineMemory(const ZELType& file)
{
    const auto* state = static_cast<const State*>(file.Internal);
    return state && state->blocks;
}

void noteByteOrder(ZELType& file)
{
    State* state = stateOf(file);
    if (!state) return;
    state->byteOrder = SwapByteOrdering;
    state->orderNoted = true;
    state->orderLost = false;
}

bool byteOrderWasLost(ZELType& file)
{
    auto* state = static_cast<State*>(file.Internal);
    if (!state || !state->orderNoted || state->orderLost || state->byteOrder == SwapByteOrdering)
        return false;
    state->orderLost = true;
    return true;
}

void warnOfWrittenOrder(ZELType& file, const char* function)
{
    if (byteOrderWasLost(file))
        reportTo(stderr,
                 "%s: warning: the opening of another file has set the other byte order: what is "
                 "written to file %s from here on has its bytes reversed, unlike its header\n",
                 function, file.ImageFilename);
}

void noteValues(ZELType& file, bool areFilled)
{
    auto* state = static_cast<State*>(file.Internal);
    if (state) state->valuesLacking = !areFilled;
}

bool valuesAreMissing(ZELType& file)
{
    auto* state = static_cast<State*>(file.Internal);
    if (!state || !state->valuesLacking || state->lackTold) return false;
    state->lackTold = true;
    return true;
}

bool isByteSwapped(ZELType& file)
{
    const auto* state = static_cast<State*>(file.Internal);
    return state && state->orderNoted && state->byteOrder != hostByteOrder();
}

void freeLineMemory(ZELType& file)
{
    auto* state = static_cast<State*>(file.Internal);
    Block* block = state ? state->blocks : nullptr;
    while (block) {
        Block* next = block->next;
        release(block);
        block = next;
    }
    discard(file.Internal);
    file.SolarZenith = file.ViewZenith = file.Azimuth = nullptr;
    file.Lat = file.Lon = file.Sunglint = nullptr;
    file.OlsonEcosystem = file.PercentWater = file.IGBPEcosystem = file.Terrain = nullptr;
    file.LatBuffer = file.LonBuffer = nullptr;
}

void allocateLineBuffers(ZELType& file, const LineBufferOptions& options)
{
    const int pixels = file.ZELHeader.NPixelPerLine;
    const auto floats = [&](const char* what) {
        return lineBuffer<float>(file, pixels, options.function, what);
    };
    const auto bytes = [&](const char* what) {
        return lineBuffer<unsigned char>(file, pixels, options.function, what);
    };
    if (options.solarZenith) file.SolarZenith = floats("solar zenith buffer");
    if (options.viewZenith) file.ViewZenith = floats("viewing zenith buffer");
    if (options.azimuth) file.Azimuth = floats("solar azimuth buffer");
    file.Lat = floats("latitude buffer");
    file.Lon = floats("longitude buffer");
    file.Sunglint = floats("Sunglint buffer");
    file.OlsonEcosystem = bytes("Olson Ecosystem buffer");
    file.PercentWater = bytes("Percent Water buffer");
    file.IGBPEcosystem = bytes("IGBP Ecosystem buffer");
    file.Terrain = bytes("Terrain buffer");
}

void allocateNavigation(ZELType& file, const char* function)
{
    const int points = file.ZELHeader.NumNavPoints;
    file.LatBuffer = file.LonBuffer = nullptr;
    if (points < 1) return;
    file.LatBuffer = lineBuffer<float>(file, points, function, "latitude buffer");
    file.LonBuffer = lineBuffer<float>(file, points, function, "longitude buffer");
}

}  // namespace zel
