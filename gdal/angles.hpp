// The angles of sun and view of every pixel, as the library computes them, as a dataset of its own.
#pragma once

#include "scene.hpp"

namespace zel_gdal {

// A component of a file: the part that names it, its place, and its size (0: to the end).
struct Component {
    std::string part;
    int offset = 0;
    int size = 0;
};

// Null after a CPLError.
GDALDataset* openAngles(OpenedVsi file, ZELType& header, const std::string& name,
                        const Component& component, GDALOpenInfo* info);

}  // namespace zel_gdal
