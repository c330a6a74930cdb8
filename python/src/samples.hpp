// Feature files of samples.
#pragma once

#include <string>
#include <vector>

#include "python.hpp"

namespace zel_python {

// All samples of a file: an array for each field, the features [sample][feature], and what the
// header says. Throws LibraryError.
py::dict readSamples(const std::string& name);

// (label, expression), either of them empty for none.
using Commands = std::vector<std::pair<std::string, std::string>>;

// What the header of a file says of its samples. Features and requirements may name definitions.
struct SampleRules {
    Commands definitions, requirements, features;
};

// Writes a file under a name, with another one in its header. classes: (number, name, red, green,
// blue). columns as readSamples gives them. Throws LibraryError.
void writeSamples(const std::string& name, const std::string& nameInHeader,
                  const SampleRules& rules, const py::list& classes, const py::dict& columns,
                  const std::string& title);

}  // namespace zel_python
