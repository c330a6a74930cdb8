#include "zel_features/zel_pixel.h"

#include "blocks/ancillary_grids.hpp"
#include "zel_features/zel_feature_ancillary.h"

namespace {

// What both ways of filling a record have in common.
void setPixel(ZELPixelStruct& pixel, int Class, int elementaryClass, int boxIndex,
              unsigned int priority, float* channels, int numChannels, float lat, float lon,
              float sz, float vz, float az, int jday, int year)
{
    pixel.Class = static_cast<float>(Class);
    pixel.ElementaryClass = elementaryClass;
    pixel.BoxIndex = boxIndex;
    pixel.Priority = priority;
    pixel.Channels = channels;
    pixel.numChannels = numChannels;
    pixel.lat = lat;
    pixel.lon = lon;
    pixel.sz = sz;
    pixel.vz = vz;
    pixel.az = az;
    pixel.jday = static_cast<float>(jday);
    pixel.year = static_cast<float>(year);
    pixel.skipPixelFlag = 0;
}

}  // namespace

void ZELFeatureCreatePixel(int Class, int elementaryClass, int BoxIndex, unsigned int Priority,
                           float* channels, int numChannels, float lat, float lon, float sz,
                           float vz, float az, int jday, int year, ZELPixelStruct* Pixel)
{
    setPixel(*Pixel, Class, elementaryClass, BoxIndex, Priority, channels, numChannels, lat, lon,
             sz, vz, az, jday, year);
    Pixel->olsonEco = FetchAncillary(zel::olsonGrid, lat, lon);
    Pixel->igbpEco = FetchAncillary(zel::igbpGrid, lat, lon);
    Pixel->percentWater = FetchAncillary(zel::waterGrid, lat, lon);
    Pixel->terrain = FetchAncillary(zel::terrainGrid, lat, lon);
    Pixel->sg = ComputeSunglint(sz, vz, az);
}

void ZELFeatureCreatePixelMinnis(int Class, int elementaryClass, int BoxIndex,
                                 unsigned int Priority, float* channels, int numChannels, float lat,
                                 float lon, float sz, float vz, float az, float SunGlint, int jday,
                                 int year, int IGBP, int waterc, int olson, ZELPixelStruct* Pixel)
{
    setPixel(*Pixel, Class, elementaryClass, BoxIndex, Priority, channels, numChannels, lat, lon,
             sz, vz, az, jday, year);
    Pixel->olsonEco = static_cast<float>(olson);
    Pixel->igbpEco = static_cast<float>(IGBP);
    Pixel->percentWater = static_cast<float>(waterc);
    Pixel->sg = SunGlint;
    Pixel->terrain = FetchTerrain(lat, lon);
}
