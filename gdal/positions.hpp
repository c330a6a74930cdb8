// The latitudes or the longitudes of a file as a dataset of its own, for the transformers of GDAL.
#pragma once

#include "scene.hpp"

namespace zel_gdal {

enum class Coordinate { latitude, longitude };

// Null after a CPLError.
GDALDataset* openPositions(OpenedVsi file, ZELType& record, const std::string& name,
                           Coordinate coordinate, GDALOpenInfo* info);

}  // namespace zel_gdal
