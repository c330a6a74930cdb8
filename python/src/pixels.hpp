// Pixels straight from their place in a file: without the library, and without its lock.
#pragma once

#include <cstdint>

#include "file.hpp"
#include "python.hpp"

namespace zel_python {

// A part of a plane: rows of columns numbers each, the first at place, stride bytes from one row to
// the next.
struct Window {
    std::int64_t place, stride;
    py::ssize_t rows, columns;
};

// The stored numbers, in the host's byte order. type is uint8, uint16 or float32.
py::array readNumbers(const File& file, const Window& window, const py::dtype& type,
                      bool isSwapped);

// Their values: table[number], or the number itself where the table is empty.
Array<float> readValues(const File& file, const Window& window, const py::dtype& type,
                        bool isSwapped, const Array<float>& table);

}  // namespace zel_python
