// What lies under each pixel of the current line.
#include "blocks/ancillary_grids.hpp"
#include "blocks/zel_ancillary.hpp"
#include "lines/angles.hpp"
#include "lines/zel_navigate.hpp"
#include "zel_ancillary.h"

namespace {

unsigned char* fillLine(ZELType* file, int grid, unsigned char* line)
{
    zel::requireGrid(grid);
    const zel::Positions positions = zel::positionsOf(*file);
    for (int x = 0; x < file->ZELHeader.NPixelPerLine; ++x) {
        const float lat = positions.lat[x];
        const float lon = positions.lon[x];
        line[x] = ZELBadLatLon(lat, lon) ? zel::missingCell : zel::storedCell(grid, lat, lon);
    }
    return line;
}

}  // namespace

unsigned char* ZELAncillaryFetchOlsonEcosystem(ZELType* ZELdata)
{
    return fillLine(ZELdata, zel::olsonGrid, ZELdata->OlsonEcosystem);
}

unsigned char* ZELAncillaryFetchWaterPercentage(ZELType* ZELdata)
{
    return fillLine(ZELdata, zel::waterGrid, ZELdata->PercentWater);
}

unsigned char* ZELAncillaryFetchIGBPEcosystem(ZELType* ZELdata)
{
    return fillLine(ZELdata, zel::igbpGrid, ZELdata->IGBPEcosystem);
}

unsigned char* ZELAncillaryFetchTerrainType(ZELType* ZELdata)
{
    return fillLine(ZELdata, zel::terrainGrid, ZELdata->Terrain);
}

float* ZELAncillaryFetchSunglint(ZELType* ZELdata)
{
    zel::requireAngles(*ZELdata);
    for (int x = 0; x < ZELdata->ZELHeader.NPixelPerLine; ++x)
        ZELdata->Sunglint[x] = ZELAncillaryFetchPixelSunglint(
            ZELdata->SolarZenith[x], ZELdata->ViewZenith[x], ZELdata->Azimuth[x]);
    return ZELdata->Sunglint;
}
