#pragma once

#include <pybind11/pybind11.h>

namespace logging2::python {

/// Adds the class Run and the function list_recordings.
void bind_reading(pybind11::module_& module);

/// Adds the class Writer and the functions that deal with back-ends.
void bind_writing(pybind11::module_& module);

} // namespace logging2::python
