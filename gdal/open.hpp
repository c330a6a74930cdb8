// Opening files: as a whole or in part.
#pragma once

#include <gdal_priv.h>

namespace zel_gdal {

// Null without an error for files of other formats, and after a CPLError for damaged ones.
GDALDataset* openZel(GDALOpenInfo* info);
GDALDataset* openVorn(GDALOpenInfo* info);

}  // namespace zel_gdal
