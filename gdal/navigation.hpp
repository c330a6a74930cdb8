// The positions that a file stores: latitude and longitude at some pixels of every line.
#pragma once

#include <rawdataset.h>

#include <vector>

#include "zel.h"

namespace zel_gdal {

// A position that is none.
inline constexpr double noPosition = -9999.0;

// Where the numbers of a line are that are not pixels.
struct LinePlaces {
    vsi_l_offset firstLine = 0;  // in the file
    int lineSize = 0;
    int lines = 0;
    bool isSwapped = false;
    bool isLocal = false;
};

// The byte order of a file's numbers.
RawRasterBand::ByteOrder byteOrder(bool isSwapped);

struct Position {
    double lat;
    double lon;
};

struct ControlPoint {
    double pixel;  // the corner of the image is 0, 0
    double line;
    Position at;
};

// The navigation points of a file, as a grid with a column per point and a row per line. Where
// pixels lie outside of the points there are further columns, which go on as the points next to
// them do.
class Navigation {
public:
    Navigation() = default;
    Navigation(ZELType& record, const LinePlaces& places);

    // Whether positions between the points can be found.
    bool isGrid() const { return points_ > 1; }
    int columns() const { return before_ + points_ + after_; }
    int lines() const { return places_.lines; }
    int pixelStep() const { return interval_; }
    int firstPixel() const { return start_ - before_ * interval_; }

    // The stored points of a line; positions that are no places on Earth have noPosition twice.
    // False when the line cannot be read.
    bool readPoints(VSILFILE* file, int line, std::vector<Position>& points) const;
    // The same with the further columns.
    bool readLine(VSILFILE* file, int line, std::vector<Position>& positions) const;

    // Points of some lines and pixels, the first and the last among them.
    std::vector<ControlPoint> controlPoints(VSILFILE* file) const;

    // Whether the points are those of a north-up grid to a hundredth of a pixel, and its transform.
    bool isNorthUp(VSILFILE* file, double (&transform)[6]) const;

private:
    GIntBig pixelOf(int point) const { return start_ + static_cast<GIntBig>(point) * interval_; }
    bool isOnGrid(VSILFILE* file, const Position& origin, double latStep, double lonStep) const;

    LinePlaces places_;
    vsi_l_offset offset_ = 0;  // of the latitudes, in a line
    int points_ = 0;
    int start_ = 0;
    int interval_ = 1;
    int before_ = 0;
    int after_ = 0;
};

}  // namespace zel_gdal
