// Writing files: from any raster.
#pragma once

#include <gdal_priv.h>

namespace zel_gdal {

// Null after a CPLError; no file is left then.
GDALDataset* createZel(const char* name, GDALDataset* source, int isStrict, char** options,
                       GDALProgressFunc progress, void* progressData);
GDALDataset* createVorn(const char* name, GDALDataset* source, int isStrict, char** options,
                        GDALProgressFunc progress, void* progressData);

}  // namespace zel_gdal
