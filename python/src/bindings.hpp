#pragma once

#include <logging2/runs/Run.hpp>

#include <pybind11/pybind11.h>

#include <memory>

namespace logging2::python {

/// Adds the class Run and the function list_recordings.
void bind_reading(pybind11::module_& module);

/// The run as an object of the class Run.
pybind11::object object_of(std::unique_ptr<core::Run> run);

/// Adds the class Writer and the functions that deal with back-ends.
void bind_writing(pybind11::module_& module);

} // namespace logging2::python
