// A file as the library reads it, line by line: a container on one grid, or a plain file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "line_cache.hpp"
#include "python.hpp"
#include "zel.h"

namespace zel_python {

class View {
public:
    // Throws LibraryError.
    explicit View(std::string name);
    ~View();
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    py::dict facts();

    // For each slot its pixels in lines first, first + step ..., [line][pixel]: stored numbers, or
    // values. A line of a view is made for all channels at once, and kept for a while for the
    // others.
    py::list read(const std::vector<int>& slots, int first, int step, int count, bool decode);

    // Latitudes and longitudes, or solar zenith, view zenith and azimuth, [line][pixel].
    py::tuple positions(int first, int step, int count);
    py::tuple angles(int first, int step, int count);

    void close();

    // How many lines were made, and how many at a time are kept.
    std::int64_t linesMade() const { return linesMade_; }
    std::size_t linesKept() const { return cache_ ? cache_->size() : 0; }

private:
    template <class UseLine>
    void forLines(int first, int step, int count, UseLine use);

    void makeLine(int line);

    std::string name_;
    std::unique_ptr<ZELType> record_;
    std::unique_ptr<LineCache> cache_;
    std::int64_t linesMade_ = 0;
    int byteOrder_ = 0;
    bool isOpen_ = false;
};

}  // namespace zel_python
