// Positions of a source's pixels, for the navigation points of a new file.
#pragma once

#include <gdal_priv.h>

#include <vector>

namespace zel_gdal {

class Placement {
public:
    // Points every interval pixels, as far as the source has georeferencing that leads to the
    // Earth.
    Placement(GDALDataset& source, int interval);
    ~Placement();
    Placement(const Placement&) = delete;
    Placement& operator=(const Placement&) = delete;

    int points() const { return transformer_ ? points_ : 0; }
    int interval() const { return interval_; }

    // The points of a line; those that are nowhere have -9999 twice.
    void placeLine(int line, std::vector<float>& lats, std::vector<float>& lons);

private:
    void* transformer_ = nullptr;
    int points_ = 0;
    int interval_ = 1;
};

}  // namespace zel_gdal
