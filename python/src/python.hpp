// What all parts of the extension need of Python.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <string_view>

namespace zel_python {

namespace py = pybind11;

template <class T>
using Array = py::array_t<T, py::array::c_style>;

// UTF-8 where the bytes are, else Latin-1: any bytes are a text.
inline py::str toText(std::string_view bytes)
{
    const auto size = static_cast<py::ssize_t>(bytes.size());
    PyObject* text = PyUnicode_DecodeUTF8(bytes.data(), size, nullptr);
    if (!text) {
        PyErr_Clear();
        text = PyUnicode_DecodeLatin1(bytes.data(), size, nullptr);
    }
    if (!text) throw py::error_already_set();
    return py::reinterpret_steal<py::str>(text);
}

}  // namespace zel_python
