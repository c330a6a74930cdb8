// Writes one invented scene - a coast with some cloud - as three files of 250, 500 and 1000 m, as
// an imager with bands of different resolution delivers it.
//
//   make_sample_scene DIRECTORY
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <zel/zel.h>

namespace {

// The ground, in kilometres east and south of the scene's corner.
struct Ground {
    bool land;
    float cloud;  // 0 clear .. 1 overcast
};

Ground groundAt(double east, double south)
{
    const double coast =
        70.0 + 18.0 * std::sin(south / 17.0) + 6.0 * std::sin(south / 5.0 + east / 23.0);
    const double wave =
        std::sin(east / 13.0 + 0.7 * std::sin(south / 19.0)) * std::cos(south / 11.0);
    return {east > coast, wave > 0.55 ? static_cast<float>((wave - 0.55) / 0.45) : 0.0F};
}

float mix(float clear, float cloudy, float cloud)
{
    return clear + (cloudy - clear) * cloud;
}

float red(const Ground& g)
{
    return mix(g.land ? 0.09F : 0.03F, 0.78F, g.cloud);
}
float nearInfrared(const Ground& g)
{
    return mix(g.land ? 0.34F : 0.01F, 0.74F, g.cloud);
}
float brightness(const Ground& g)
{
    return mix(g.land ? 301.0F : 289.0F, 238.0F, g.cloud);
}
float surface(const Ground& g)
{
    return g.cloud > 0.0F ? 2.0F : g.land ? 1.0F : 0.0F;
}

// A channel is painted with the colour table whose label is its comment.
constexpr const char* surfaceTable = "Surface";

struct Band {
    const char* label;
    const char* comment;
    float max, min;
    int storage, bits;
    float wavelength;  // microns
    int units;
    float (*value)(const Ground&);
};

struct Resolution {
    const char* filename;
    int pixels, lines;
    float metres;
    std::vector<Band> bands;
};

const std::vector<Resolution> resolutions = {
    {"sample_1000m.zel",
     160,
     120,
     1000.0F,
     {{"11 um", "brightness temperature", 330.0F, 180.0F, ZEL_STORED_UINT16_SCALED, 12, 11.0F,
       ZEL_UNITS_KELVIN, brightness},
      {"surface", surfaceTable, 255.0F, 0.0F, ZEL_STORED_BYTE, 8, 0.0F, ZEL_UNITS_LUT, surface}}},
    {"sample_500m.zel",
     320,
     240,
     500.0F,
     {{"0.86 um", "near infrared", 1.0F, 0.0F, ZEL_STORED_UINT16_SCALED, 12, 0.86F,
       ZEL_UNITS_REFLECTANCE, nearInfrared}}},
    {"sample_250m.zel",
     640,
     480,
     250.0F,
     {{"0.65 um", "red", 1.0F, 0.0F, ZEL_STORED_BYTE_SCALED, 8, 0.65F, ZEL_UNITS_REFLECTANCE,
       red}}}};

constexpr int navPoints = 9;
constexpr double north = 44.0, west = -9.5;  // degrees
constexpr double degreesPerKm = 1.0 / 111.2;
constexpr double startTime = 11.4;      // hours, UT
constexpr double secondsPerKm = 0.148;  // how fast the scan moves south

void addColours(ZELType* file)
{
    ZELDisplayLUTType* lut = ZELAppendLUT(file, 3, surfaceTable);
    ZELLoadLUTEntry(lut, 0, 0, 60, 160, "water");
    ZELLoadLUTEntry(lut, 1, 70, 140, 50, "land");
    ZELLoadLUTEntry(lut, 2, 250, 250, 250, "cloud");
}

void declare(ZELType* file, const Resolution& r)
{
    ZELInitNewWriteOnlyFile(file, ZEL_SENSOR_GENERIC, "Sample scene: a coast with some cloud", 2024,
                            172, 1, r.pixels, navPoints, 0, r.pixels / (navPoints - 1), 705.0F,
                            r.metres);
    int slot = 0;
    for (const Band& b : r.bands)
        ZELAddSensorBaseChannel(file, slot++, b.max, b.min, b.storage, b.bits, b.label, b.comment,
                                b.wavelength, b.units);
    if (r.bands.back().units == ZEL_UNITS_LUT) addColours(file);
    ZELSetOverwritePromptOff(file);
}

// Time and position of a line; pixel and line centres are half a pixel from their edges.
void loadPosition(ZELType* file, const Resolution& r, int line)
{
    const double km = static_cast<double>(r.metres) / 1000.0;
    const double south = (line + 0.5) * km;
    const int interval = r.pixels / (navPoints - 1);
    float lat[navPoints];
    float lon[navPoints];
    for (int k = 0; k < navPoints; ++k) {
        const double east = (k * interval + 0.5) * km;
        lat[k] = static_cast<float>(north - south * degreesPerKm);
        lon[k] = static_cast<float>(west + east * degreesPerKm / 0.72);
    }
    ZELLoadNavigation(file, startTime + south * secondsPerKm / 3600.0, lat, lon);
}

void writeLines(ZELType* file, const Resolution& r)
{
    const double km = static_cast<double>(r.metres) / 1000.0;
    std::vector<float> values(static_cast<std::size_t>(r.pixels));
    for (int line = 0; line < r.lines; ++line) {
        loadPosition(file, r, line);
        int slot = 0;
        for (const Band& band : r.bands) {
            for (int x = 0; x < r.pixels; ++x)
                values[static_cast<std::size_t>(x)] =
                    band.value(groundAt((x + 0.5) * km, (line + 0.5) * km));
            ZELLoadChannel(file, slot++, values.data());
        }
        ZELWriteLine(file);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    // A process writes the LUT block of its first file only, so the file with classes is first.
    const auto file = std::make_unique<ZELType>();
    for (const Resolution& r : resolutions) {
        const std::string path = std::string(argv[1]) + "/" + r.filename;
        declare(file.get(), r);
        if (ZELOpenWriteOnlyFile(file.get(), path.c_str()) != 0) return 1;
        writeLines(file.get(), r);
        ZELFinishWritingFile(file.get());
        std::printf("wrote %s: %d x %d pixels of %.0f m, %zu channel(s)\n", path.c_str(), r.pixels,
                    r.lines, static_cast<double>(r.metres), r.bands.size());
    }
    return 0;
}
