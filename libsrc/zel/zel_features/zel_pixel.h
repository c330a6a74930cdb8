/* Filling the record that expressions see of a pixel. */
#ifndef ZEL_PIXEL_H
#define ZEL_PIXEL_H

#include "zel_feature_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Fills the record for a pixel of an image. The ancillary grids are consulted at lat, lon (an
   invalid position gives 255) and the sun glint is computed from the angles; skipPixelFlag is
   cleared; Registers and class_weights stay as they are. The record keeps the pointer channels
   (float[numChannels]). Ends the process (-1) when a grid is missing. */
void ZELFeatureCreatePixel(int Class, int elementaryClass, int BoxIndex, unsigned int Priority,
                           float* channels, int numChannels, float lat, float lon, float sz,
                           float vz, float az, int jday, int year, ZELPixelStruct* Pixel);

/* The same for a caller that holds the ancillary values already; only terrain is looked up, in the
   grid that ZELInitializeTerrain or AncillaryReadFiles read. */
void ZELFeatureCreatePixelMinnis(int Class, int elementaryClass, int BoxIndex,
                                 unsigned int Priority, float* channels, int numChannels, float lat,
                                 float lon, float sz, float vz, float az, float SunGlint, int jday,
                                 int year, int IGBP, int waterc, int olson, ZELPixelStruct* Pixel);

#ifdef __cplusplus
}
#endif
#endif
