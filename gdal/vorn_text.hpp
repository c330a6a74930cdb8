// The text header of a Vorn raster: seven lines for each channel, of which the second is a word, a
// blank and the channel's label.
#pragma once

#include <string>
#include <vector>

namespace zel_gdal {

// The name of the text header beside a raster.
std::string vornTextName(const std::string& raster);

// As many labels as there are, at most count.
std::vector<std::string> readVornLabels(const std::string& name, int count);

// False after a CPLError.
bool writeVornLabels(const std::string& name, const std::vector<std::string>& labels);

}  // namespace zel_gdal
