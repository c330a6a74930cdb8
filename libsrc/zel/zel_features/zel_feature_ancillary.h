/* The feature layer's own store of the four global grids (0 Olson ecosystem, 1 water percentage, 2
   IGBP ecosystem, 3 terrain), loaded when the first pixel needs it. A missing value is 255; an
   invalid position gives 255 and is counted as everywhere in the library. Messages go to standard
   error. */
#ifndef ZEL_FEATURE_ANCILLARY_H
#define ZEL_FEATURE_ANCILLARY_H

#ifdef __cplusplus
extern "C" {
#endif

/* Reads the four grids once per process, by the same search path as ZELAncillaryReadFiles. A
   missing grid is reported, and an error only when it is used. */
void AncillaryReadFiles(void);

/* The grid's byte at a position; the first call reads the files. Ends the process (-1) when the
   grid was not read. A grid other than 0 to 3 gives 255. */
unsigned char FetchAncillary(int grid, float lat, float lon);

/* Sun glint, 0..100, for solar zenith, viewing zenith and azimuth in degrees; three zeros are
   angles like any other here. */
float ComputeSunglint(float sz, float vz, float az);

/* Reads one grid from the file given. Ends the process (-1) when it does not open. */
void ZELInitializeOlsonEcosystem(const char* path);
void ZELInitializeTerrain(const char* path);

/* The byte of one grid; ends the process (-1) unless that grid was read. */
unsigned char FetchOlsonEcosystem(float lat, float lon);
unsigned char FetchTerrain(float lat, float lon);

/* The byte of a grid, read or not (0 then), with the cell of the grids that begin at longitude
   -180. A cell outside the grid is reported and moved to its edge. */
unsigned char FetchEPA(float lat, float lon, int grid);

#ifdef __cplusplus
}
#endif
#endif
