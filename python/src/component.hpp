// A plain file, or a component of a container: its header, and the places that its pixels have.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "file.hpp"
#include "python.hpp"
#include "zel.h"

namespace zel_python {

// A record that holds a header and nothing of lines.
struct FreeHeader {
    void operator()(ZELType* record) const;
};
using Header = std::unique_ptr<ZELType, FreeHeader>;

// What a line has before its navigation points.
struct Scan {
    double time = 0;
    float altitude = 0;
    std::int32_t left = 0, right = 0, nadir = 0;
    float nadirLat = 0, nadirLon = 0;
};

class Component {
public:
    // Reads nothing yet. size 0 is "to the end of the file".
    Component(std::shared_ptr<File> file, int offset, int size);

    // What the header says. Throws LibraryError.
    py::dict facts();

    // Values by stored number, without any for a channel that is not scaled.
    Array<float> scalingTable(int slot);

    // The classifier mask of a channel as a file has it; empty without one.
    py::bytes maskOf(int slot);

    // Of count lines, first, first + step ...: times, altitudes, padding and nadirs, [line];
    // latitudes and longitudes of navigation points, [line][point], and of pixels, [line][pixel];
    // solar zenith, view zenith and azimuth, [line][pixel].
    py::dict scans(int first, int step, int count);
    py::tuple points(int first, int step, int count);
    py::tuple positions(int first, int step, int count);
    py::tuple angles(int first, int step, int count);

private:
    struct Places {
        std::int64_t time, altitude, left, right, nadir, nadirLat, nadirLon, lat, lon;
    };
    template <class UseLine>
    void forLines(int first, int step, int count, UseLine use);
    void requireHeader();
    void requireDefaults();
    void readDefaults();
    void checkLines(int first, int step, int count);
    void loadLine(int line);
    template <class T>
    void take(std::int64_t place, T* values, int count) const;

    std::shared_ptr<File> file_;
    int offset_;
    int size_;
    Header header_;  // null until it is needed for more than the facts
    Places places_{};
    Scan defaults_;  // of what lines of old layouts do not have
    bool isSwapped_ = false;
    std::vector<char> line_;  // the line's record before its pixels
    std::vector<float> lat_, lon_;
};

// What a record says of the file and its channels, for Python.
py::dict factsOf(ZELType& record, const std::vector<int>& luts);

// For each slot the place of its LUT in the list, or -1. A call of the library.
std::vector<int> lutsOf(ZELType& record);

}  // namespace zel_python
