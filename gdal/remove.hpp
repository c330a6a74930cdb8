// Removing files.
#pragma once

#include <gdal_priv.h>

namespace zel_gdal {

// Removes a file and those that GDAL has made beside it; of a part of a file nothing. Not CE_None
// after a CPLError.
CPLErr removeZel(const char* name);

}  // namespace zel_gdal
