// How a raster's band is stored as a channel.
#pragma once

#include <gdal_priv.h>

#include <string>
#include <vector>

#include "zel.h"

namespace zel_gdal {

struct Storage {
    int code = ZEL_STORED_FLOAT;
    float min = 0;
    float max = 0;
    int bits = 32;
    int shift = 0;         // from a number of the band to the stored one
    bool applies = false;  // values, not numbers, are stored
    double scale = 1;
    double offset = 0;
    std::string loss;  // what is not kept; empty when all is
};

// The storage that keeps the band's numbers, with its scale and offset when a scale range can
// express them, or else its values.
Storage storageOf(GDALRasterBand& band);

// Gives the nodata values of a source to its copy, as stored numbers. The format has no place for
// them: GDAL keeps them beside the file.
void keepNodata(GDALDataset& source, GDALDataset& copy);

// The type in which a line of the band is read for it.
GDALDataType readType(const Storage& storage);

// A display LUT from a band's colours and class names; no entries when it has neither.
std::vector<ZELLUTType> lutEntries(GDALRasterBand& band);

}  // namespace zel_gdal
