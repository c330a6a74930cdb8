// What a new file says of its scene and its channels: from creation options, or from the source.
#pragma once

#include <gdal_priv.h>

#include <optional>
#include <string>
#include <vector>

#include "storage.hpp"

namespace zel_gdal {

struct SceneFacts {
    int sensor = ZEL_SENSOR_GENERIC;
    int year = 1900;
    int day = 1;
    int satellite = 0;
    float altitude = 0;
    float resolution = 0;
    double beginHours = 0;
    double lineHours = 0;  // from line to line
    int navigationInterval = 10;
    bool keepsHistograms = true;
    std::string comment;
    std::string metadata;
    int metadataType = 0;
};

// Nothing after a CPLError.
std::optional<SceneFacts> sceneFacts(GDALDataset& source, CSLConstList options);

struct ChannelFacts {
    int slot = 0;
    Storage storage;
    std::string label;
    std::string comment;
    float wavelength = 0;
    int units = ZEL_UNITS_NONE;
    bool isBase = false;
    std::vector<ZELLUTType> lut;
};

// False after a CPLError: a band that cannot be stored, or, where strictness is asked for, not
// without a loss. Losses are warned of.
bool channelFacts(GDALDataset& source, bool isStrict, std::vector<ChannelFacts>& channels);

// The slots of the bands that hold angles: solar zenith, view zenith, azimuth; -1 for none.
void angleSlots(GDALDataset& source, const std::vector<ChannelFacts>& channels, int (&slots)[3]);

}  // namespace zel_gdal
