/* What lies under a pixel: four global grids of 1/6 degree, and the sun glint of the sea. A missing
   value is 255. Positions are degrees, latitude north, longitude east. */
#ifndef ZEL_ANCILLARY_H
#define ZEL_ANCILLARY_H

#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* 1 for each grid that was read: Olson ecosystem, water percentage, IGBP ecosystem, terrain. */
extern int SuccessfullyRead[4];

/* Positions found invalid since the counter was cleared. */
extern int BadLatLonCount;

/* Reads the four grids, once per process, from the directories named by ZEL_DATA_DIR, EPA_DATA_DIR,
   CC_DATA_DIR or the built-in one. A missing grid is reported, and an error only when it is
   used. */
void ZELAncillaryReadFiles(void);

/* The grid's byte at a position, 255 when the position is invalid. Ends the process (-1) when the
   grid was not read. */
unsigned char ZELAncillaryFetchPixelOlsonEcosystem(float lat, float lon);
unsigned char ZELAncillaryFetchPixelWaterPercentage(float lat, float lon);
unsigned char ZELAncillaryFetchPixelIGBPEcosystem(float lat, float lon);
unsigned char ZELAncillaryFetchPixelTerrainType(float lat, float lon);

/* Sun glint (0..100) for the three angles in degrees; 0 when all three are exactly 0. */
float ZELAncillaryFetchPixelSunglint(float sol_zen_deg, float view_zen_deg, float azimuth_deg);

/* The same for every pixel of the current line: the file's own buffer, NPixelPerLine elements. */
unsigned char* ZELAncillaryFetchOlsonEcosystem(ZELType* ZELdata);
unsigned char* ZELAncillaryFetchWaterPercentage(ZELType* ZELdata);
unsigned char* ZELAncillaryFetchIGBPEcosystem(ZELType* ZELdata);
unsigned char* ZELAncillaryFetchTerrainType(ZELType* ZELdata);
float* ZELAncillaryFetchSunglint(ZELType* ZELdata);

/* 0 when -90 <= lat <= 90 and -180 <= lon <= 180 (a NaN passes too); else 1, and it is counted. */
int ZELBadLatLon(float lat, float lon);
int ZELGetBadLatLonCount(void);
void ZELClearBadLatLonCount(void);

#ifdef __cplusplus
}
#endif
#endif
