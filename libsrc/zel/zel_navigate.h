/* Position and sun and view angles of every pixel of the current line, in degrees. */
#ifndef ZEL_NAVIGATE_H
#define ZEL_NAVIGATE_H

#include "zel_almanac.h"
#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Fills Lat and Lon from the line's navigation points, linearly, across the date line too. Without
   navigation points every value is -9999; with exactly one, every pixel gets that point. */
void ZELInterpolateLatLong(ZELType* ZELdata);

/* Fills SolarZenith, ViewZenith and Azimuth (relative), the nadir being the position at NadirPixel
   when that is 0 or more, else NadirLat, NadirLon. Angles that the file carries in channels are
   pointed at. Without altitude, scan time or navigation all angles are 0. */
void ZELCalculateAngles(ZELType* ZELdata);

/* The same with the nadir given. */
void ZELCalculateLineOfAngles(ZELType* ZELdata, float centerLat, float centerLon);

/* The same for one position of the current line. */
void ZELCalculateOneAngle(ZELType* ZELdata, float lat, float lon, float* sz, float* vz, float* az);

/* The same with every input given: ScanAltitude in km above the surface, julian 1..366, scanTime in
   hours UT. All three are 0 when the altitude truncates to 0, the time is 0 or the position is
   invalid. */
void ZEL_UTILCalculateAngle(float lat, float lon, float ScanAltitude, int julian, float centerLat,
                            float centerLon, float scanTime, float* sz, float* vz, float* az);

/* Sets the channel indices of solar zenith, view zenith and relative azimuth, -1 for none. */
void ZELSetSolarChannels(ZELType* ZELdata, int szIndex, int vzIndex, int azIndex);

/* For writers: the scan time (hours UT) and NumNavPoints latitudes and longitudes of the next
   line. */
void ZELLoadNavigation(ZELType* ZELdata, double ScanTime, const float* lat, const float* lon);

/* Copies scan time, scan altitude and navigation points of the current line. */
void ZELCopyNavigation(ZELType* ZELdataDest, ZELType* ZELdataSrc);

/* Satellite altitude of the current line, km. */
void ZELSetScanAltitude(ZELType* ZELdata, float ScanAltitude);

#ifdef __cplusplus
}
#endif
#endif
