// What a file has for each line besides pixels and positions, as a dataset of its own: a column of
// numbers in each band.
#pragma once

#include "scene.hpp"

namespace zel_gdal {

// part names the component. Null after a CPLError.
GDALDataset* openScan(OpenedVsi file, ZELType& header, const std::string& name,
                      const std::string& part, GDALOpenInfo* info);

}  // namespace zel_gdal
