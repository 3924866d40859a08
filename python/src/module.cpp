#include <python/src/bindings.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <atomic>
#include <pthread.h>
#include <stdexcept>

namespace {

namespace py = pybind11;
using logging2::python::text_of;

std::atomic<int> forkCount{0};

/// Turns errors of recordings into RecordingError, and unknown paths into KeyError. pybind11 turns
/// std::invalid_argument into ValueError, std::bad_alloc into MemoryError, and others into
/// RuntimeError.
void bind_errors(py::module_& module) {
    static py::exception<logging2::core::RecordingError> error(module, "RecordingError");
    // NOLINTNEXTLINE(performance-unnecessary-value-param): pybind11 passes it by value
    py::register_exception_translator([](std::exception_ptr pointer) {
        try {
            if (pointer) {
                std::rethrow_exception(pointer);
            }
        } catch (const logging2::core::RecordingError& caught) {
            PyErr_SetObject(error.ptr(), text_of(caught.what()).ptr());
        } catch (const std::out_of_range& caught) {
            PyErr_SetObject(PyExc_KeyError, text_of(caught.what()).ptr());
        }
    });
}

} // namespace

int logging2::python::fork_count() noexcept {
    return forkCount;
}

py::str logging2::python::text_of(const std::string& text) {
    return py::reinterpret_steal<py::str>(PyUnicode_DecodeUTF8(
        text.data(), static_cast<py::ssize_t>(text.size()), "surrogateescape"));
}

py::str logging2::python::name_of_file(const std::string& name) {
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeFSDefaultAndSize(name.data(), static_cast<py::ssize_t>(name.size())));
}

PYBIND11_MODULE(_core, module) {
    pthread_atfork(nullptr, nullptr, [] { ++forkCount; });
    bind_errors(module);
    logging2::python::bind_reading(module);
    logging2::python::bind_writing(module);
}
