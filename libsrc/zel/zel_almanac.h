/* The sun by day of the year, and the size of the earth. */
#ifndef ZEL_ALMANAC_H
#define ZEL_ALMANAC_H

#ifdef __cplusplus
extern "C" {
#endif

/* Solar declination (degrees) and equation of time (degrees of longitude), by day of year - 1. */
extern const float declination[366];
extern const float delon[366];

/* Mean earth radius, km. */
extern const double earth_radius;

#ifdef __cplusplus
}
#endif
#endif
