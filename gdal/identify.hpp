// Whether a file is one of ours, from its first bytes.
#pragma once

#include <gdal_priv.h>

namespace zel_gdal {

int identifyZel(GDALOpenInfo* info);
int identifyVorn(GDALOpenInfo* info);

}  // namespace zel_gdal
