#include "records/buffers.hpp"

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

void freeLineBuffers(ZELType& file)
{
    freeState(file);
    file.SolarZenith = file.ViewZenith = file.Azimuth = nullptr;
    file.Lat = file.Lon = file.Sunglint = nullptr;
    file.OlsonEcosystem = file.PercentWater = file.IGBPEcosystem = file.Terrain = nullptr;
    file.LatBuffer = file.LonBuffer = nullptr;
}

}  // namespace zel
