#include "zel_features/zel_feature_ancillary.h"

#include <cstring>

#include "blocks/ancillary_grids.hpp"
#include "blocks/zel_ancillary.hpp"
#include "zel_ancillary.h"
#include "zel_features/evaluate/zel_feature_ancillary.hpp"
#include "zel_features/language/zel_feature_report.hpp"

namespace {

// A store apart from the library's, so that a program which names its own Olson or terrain file for
// classification does not change what the channels of a file show.
struct Store {
    bool filesLookedFor = false;      // by AncillaryReadFiles
    bool ancillaryFilesRead = false;  // by FetchAncillary
    int wasRead[zel::numGrids] = {};
    zel::GridCells cells = {};
};
Store store;

void printGridError(const char* text)
{
    printError(zel::message("%s", text));
}

bool isGrid(int grid)
{
    return grid >= 0 && grid < zel::numGrids;
}

void initializeGrid(int grid, const char* path, const char* failure)
{
    FILE* stream = std::fopen(path, "rb");
    if (!stream) zel::failWithError("%s %s\n", failure, path);
    const bool read = zel::readGrid(stream, store.cells[grid]);
    std::fclose(stream);
    if (!read) zel::failWithError("%s %s\n", failure, path);
    store.wasRead[grid] = 1;
}

// A row or column brought back into the grid, with a message when it was outside or not a number.
int cellIndex(double index, int count, const char* what, float coordinate)
{
    if (index > -1.0 && index < count) return static_cast<int>(index);
    printError(zel::message("FetchEPA: invalid %s %f\n", what, static_cast<double>(coordinate)));
    return index >= count ? count - 1 : 0;
}

}  // namespace

void AncillaryReadFiles(void)
{
    if (store.filesLookedFor) return;
    store.filesLookedFor = true;
    zel::findGrids(store.cells, store.wasRead, printGridError);
}

unsigned char FetchAncillary(int grid, float lat, float lon)
{
    if (ZELBadLatLon(lat, lon) || !isGrid(grid)) return zel::missingCell;
    if (!store.ancillaryFilesRead) {
        store.ancillaryFilesRead = true;
        AncillaryReadFiles();
    }
    if (!store.wasRead[grid]) {
        zel::printMissingGrid(grid, " FetchAncillary", printGridError);
        zel::terminate(-1);
    }
    return zel::gridCell(store.cells, grid, lat, lon);
}

float ComputeSunglint(float sz, float vz, float az)
{
    return zel::sunglint(sz, vz, az);
}

void ZELInitializeOlsonEcosystem(const char* path)
{
    initializeGrid(zel::olsonGrid, path,
                   "ZELInitializeOlsonEcosystem: error: cannot read Olson Ecosystem file");
}

void ZELInitializeTerrain(const char* path)
{
    initializeGrid(zel::terrainGrid, path, "ZELInitializeTerrain: error: cannot read Terrain file");
}

unsigned char FetchOlsonEcosystem(float lat, float lon)
{
    if (!store.wasRead[zel::olsonGrid])
        zel::failWithError("ZELFetchOlsonEcosystem: ecosystem data not initialized: "
                           "call ZELInitializeOlsonEcosystem first\n");
    return FetchEPA(lat, lon, zel::olsonGrid);
}

unsigned char FetchTerrain(float lat, float lon)
{
    if (!store.wasRead[zel::terrainGrid])
        zel::failWithError("ZELFetchTerrain: terrain data not initialized: "
                           "call ZELInitiailizeTerrain first\n");
    return FetchEPA(lat, lon, zel::terrainGrid);
}

unsigned char FetchEPA(float lat, float lon, int grid)
{
    if (ZELBadLatLon(lat, lon) || !isGrid(grid)) return zel::missingCell;
    const int row = cellIndex(zel::gridRow(lat), zel::gridRows, "latitude", lat);
    const int column = cellIndex(zel::gridColumn(lon), zel::gridColumns, "longitude", lon);
    return store.cells[grid][row][column];
}

namespace zel {

void resetFeatureGrids()
{
    store.filesLookedFor = store.ancillaryFilesRead = false;
    std::memset(store.wasRead, 0, sizeof store.wasRead);
    std::memset(store.cells, 0, sizeof store.cells);
}

}  // namespace zel
