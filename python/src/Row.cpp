#include <python/src/Row.hpp>

namespace logging2::python {
namespace {

namespace py = pybind11;

/// Whether the value is a float or an integer of Python with less than 64 bits.
bool copy_number(PyObject* value, double& to) {
    if (PyFloat_Check(value)) {
        to = PyFloat_AS_DOUBLE(value);
        return true;
    }
    if (!PyLong_Check(value)) {
        return false;
    }
    int overflow = 0;
    to = static_cast<double>(PyLong_AsLongLongAndOverflow(value, &overflow));
    return overflow == 0;
}

bool is_masked(py::handle values) {
    const auto* const plainArray = py::detail::npy_api::get().PyArray_Type_;
    return py::isinstance<py::array>(values) && Py_TYPE(values.ptr()) != plainArray &&
           py::isinstance(values, py::module_::import("numpy.ma").attr("MaskedArray"));
}

/// NumPy would log what is below the mask.
void refuse_masked(py::handle values) {
    if (PyList_CheckExact(values.ptr()) || PyTuple_CheckExact(values.ptr())) {
        for (const py::handle value : values) {
            refuse_masked(value);
        }
    } else if (is_masked(values)) {
        throw py::type_error("a masked array cannot be logged; fill it first");
    }
}

} // namespace

Row::Row(const py::object& values) {
    if (!copyNumbers(values)) {
        // Only arrays are cast safely: the values of a list would be converted one by one.
        array.emplace(py::array(values));
        refuse_masked(values);
    }
}

/// Makes short rows fast.
bool Row::copyNumbers(py::handle values) {
    if (!PyList_CheckExact(values.ptr()) && !PyTuple_CheckExact(values.ptr())) {
        return false;
    }
    const auto count = static_cast<std::size_t>(PySequence_Fast_GET_SIZE(values.ptr()));
    PyObject* const* const items = PySequence_Fast_ITEMS(values.ptr());
    copies.resize(count);
    for (std::size_t item = 0; item < count; ++item) {
        if (!copy_number(items[item], copies[item])) {
            return false;
        }
    }
    return true;
}

} // namespace logging2::python
