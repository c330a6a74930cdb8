#include "records/buffers.hpp"

#include "ground/memory.hpp"
#include "records/file_state.hpp"

namespace zel {

void* lineMemory(ZELType& file, std::size_t bytes)
{
    FileState* state = makeState(file);
    return state ? state->memory.take(bytes) : nullptr;
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

void allocateChannel(ZELType& file, int slot, const ChannelBufferNames& names)
{
    ZELChannelType& channel = file.Channels[slot];
    const auto pixels = static_cast<std::size_t>(file.ZELHeader.NPixelPerLine);
    const auto pixelSize = static_cast<std::size_t>(channel.DataByteSize);
    channel.ChannelData = allocate<float>(pixels);
    if (!channel.ChannelData)
        failWith(-3, "%s: cannot allocate memory for channel %d\n", names.function, names.number);
    file.PixBuf[slot] = allocate<unsigned char>(pixels * pixelSize);
    if (!file.PixBuf[slot])
        failWith(names.pixelStatus, "%s: cannot allocate %s\n", names.function, names.pixels);
}

void freeLineBuffers(ZELType& file)
{
    freeState(file);
    file.SolarZenith = file.ViewZenith = file.Azimuth = nullptr;
    file.Lat = file.Lon = file.Sunglint = nullptr;
    file.OlsonEcosystem = file.PercentWater = file.IGBPEcosystem = file.Terrain = nullptr;
    file.LatBuffer = file.LonBuffer = nullptr;
}

}  // namespace zel
