// The module zel._core: what the package needs of the library, as plain as it comes.
#include "component.hpp"
#include "constants.hpp"
#include "library.hpp"
#include "pixels.hpp"
#include "python.hpp"
#include "view.hpp"

namespace zel_python {
namespace {

using namespace py::literals;

void addFile(py::module_& m)
{
    py::class_<File, std::shared_ptr<File>>(m, "File")
        .def(py::init([](const py::bytes& name) { return std::make_shared<File>(name); }))
        .def("close", &File::close)
        .def_property_readonly("closed", &File::isClosed)
        .def_property_readonly("size", [](const File& f) { return f.open()->size(); })
        .def("directory", readDirectory)
        .def(
            "read",
            [](const File& f, std::int64_t place, std::int64_t stride, py::ssize_t rows,
               py::ssize_t columns, const py::dtype& type, bool isSwapped) {
                return readNumbers(f, {place, stride, rows, columns}, type, isSwapped);
            },
            "place"_a, "stride"_a, "rows"_a, "columns"_a, "dtype"_a, "is_swapped"_a)
        .def(
            "read_values",
            [](const File& f, std::int64_t place, std::int64_t stride, py::ssize_t rows,
               py::ssize_t columns, const py::dtype& type, bool isSwapped,
               const Array<float>& table) {
                return readValues(f, {place, stride, rows, columns}, type, isSwapped, table);
            },
            "place"_a, "stride"_a, "rows"_a, "columns"_a, "dtype"_a, "is_swapped"_a, "table"_a);
}

void addComponent(py::module_& m)
{
    py::class_<Component>(m, "Component")
        .def(py::init<std::shared_ptr<File>, int, int>(), "file"_a, "offset"_a, "size"_a)
        .def("facts", &Component::facts)
        .def("scaling_table", &Component::scalingTable, "slot"_a)
        .def("scans", &Component::scans, "first"_a, "step"_a, "count"_a)
        .def("points", &Component::points, "first"_a, "step"_a, "count"_a)
        .def("positions", &Component::positions, "first"_a, "step"_a, "count"_a)
        .def("angles", &Component::angles, "first"_a, "step"_a, "count"_a);
}

void addView(py::module_& m)
{
    py::class_<View>(m, "View")
        .def(py::init([](const py::bytes& name) { return std::make_unique<View>(name); }))
        .def("facts", &View::facts)
        .def("read", &View::read, "slots"_a, "first"_a, "step"_a, "count"_a, "decode"_a)
        .def("positions", &View::positions, "first"_a, "step"_a, "count"_a)
        .def("angles", &View::angles, "first"_a, "step"_a, "count"_a)
        .def("close", &View::close);
}

}  // namespace
}  // namespace zel_python

PYBIND11_MODULE(_core, m)
{
    using namespace zel_python;
    prepareForForks();
    py::register_exception<LibraryError>(m, "LibraryError");
    addConstants(m);
    addFile(m);
    addComponent(m);
    addView(m);
}
