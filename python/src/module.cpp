// The module zel._core: what the package needs of the library, as plain as it comes.
#include "component.hpp"
#include "constants.hpp"
#include "embed/library_call.hpp"
#include "formula.hpp"
#include "library.hpp"
#include "pixels.hpp"
#include "python.hpp"
#include "samples.hpp"
#include "view.hpp"
#include "writer.hpp"

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
        .def("mask", &Component::maskOf, "slot"_a)
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
        .def_property_readonly("lines_made", &View::linesMade)
        .def_property_readonly("lines_kept", &View::linesKept)
        .def("close", &View::close);
}

// Values at positions: lat and lon, or sz, vz and az, of one size.
Array<float> groundAt(int grid, const Array<float>& lat, const Array<float>& lon)
{
    if (lat.size() != lon.size()) throw py::value_error("arrays of different sizes");
    Array<float> values(lat.size());
    const float *lats = lat.data(), *lons = lon.data();
    float* out = values.mutable_data();
    const py::ssize_t count = lat.size();
    callLibrary([&] {
        for (py::ssize_t i = 0; i < count; ++i) out[i] = FetchAncillary(grid, lats[i], lons[i]);
        return 0;
    });
    return values;
}

Array<float> sunGlint(const Array<float>& sz, const Array<float>& vz, const Array<float>& az)
{
    if (sz.size() != vz.size() || sz.size() != az.size())
        throw py::value_error("arrays of different sizes");
    Array<float> values(sz.size());
    float* out = values.mutable_data();
    for (py::ssize_t i = 0; i < sz.size(); ++i)
        out[i] = ComputeSunglint(sz.data()[i], vz.data()[i], az.data()[i]);
    return values;
}

void addFormula(py::module_& m)
{
    py::class_<Formula>(m, "Formula")
        .def(py::init<const Formula::Labels&, std::string, const Formula::Texts&, bool>(),
             "labels"_a, "text"_a, "definitions"_a, "is_program"_a)
        .def("facts", &Formula::facts)
        .def("run", &Formula::run, "channels"_a, "variables"_a, "count"_a);
    m.def("ground", groundAt, "grid"_a, "lat"_a, "lon"_a);
    m.def("sun_glint", sunGlint, "sz"_a, "vz"_a, "az"_a);
}

void addWriter(py::module_& m)
{
    py::class_<Writer>(m, "Writer")
        .def(py::init([](const py::bytes& name, const py::dict& header, const py::list& channels,
                         const py::list& luts) {
                 return std::make_unique<Writer>(name, header, channels, luts);
             }),
             "name"_a, "header"_a, "channels"_a, "luts"_a)
        .def("write_lines", &Writer::writeLines, "lines"_a, "planes"_a)
        .def("set_histogram", &Writer::setHistogram, "slot"_a, "min"_a, "max"_a, "counts"_a)
        .def("misfits", &Writer::misfits)
        .def("finish", &Writer::finish);
}

}  // namespace
}  // namespace zel_python

PYBIND11_MODULE(_core, m)
{
    using namespace zel_python;
    using namespace py::literals;
    zel_embed::prepareForForks();
    py::register_exception<LibraryError>(m, "LibraryError");
    py::register_exception<FormulaError>(m, "FormulaError");
    addConstants(m);
    addFile(m);
    addComponent(m);
    addView(m);
    addFormula(m);
    addWriter(m);
    m.def(
        "read_samples", [](const py::bytes& name) { return readSamples(name); }, "name"_a);
    m.def(
        "write_samples",
        [](const py::bytes& name, const py::bytes& nameInHeader, const Commands& definitions,
           const Commands& requirements, const Commands& features, const py::list& classes,
           const py::dict& columns, const std::string& title) {
            writeSamples(name, nameInHeader, {definitions, requirements, features}, classes,
                         columns, title);
        },
        "name"_a, "name_in_header"_a, "definitions"_a, "requirements"_a, "features"_a, "classes"_a,
        "columns"_a, "title"_a);
}
