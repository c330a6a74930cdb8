#pragma once

#include "file.hpp"
#include "python.hpp"

namespace zel_python {

// ZEL_UNITS_KELVIN is UNITS_KELVIN of the module, and so on.
void addConstants(py::module_& m);

// Whether a file is a container, the place of its base component, and the (offset, size)
// of each component; a plain file is its own only one. Throws LibraryError.
py::dict readDirectory(const File& file);

}  // namespace zel_python
