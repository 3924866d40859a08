#pragma once

#include <logging2/runs/Run.hpp>

#include <pybind11/pybind11.h>

#include <cxxabi.h>
#include <memory>
#include <string>
#include <unistd.h>

namespace logging2::python {

/// Lets other Python threads run while it exists.
///
/// When the interpreter ends, it unwinds the daemon threads that wait for its lock. A destructor
/// cannot be unwound, so such a thread waits here for the end of the process.
class ReleasedInterpreter {
public:
    ReleasedInterpreter() : state(PyEval_SaveThread()) {}

    ~ReleasedInterpreter() {
        try {
            PyEval_RestoreThread(state);
        } catch (const abi::__forced_unwind&) {
            while (true) {
                pause();
            }
        }
    }

    ReleasedInterpreter(const ReleasedInterpreter&) = delete;
    ReleasedInterpreter& operator=(const ReleasedInterpreter&) = delete;

private:
    PyThreadState* state;
};

/// A number that a forked child has one more of than its parent. Any thread may call.
int fork_count() noexcept;

/// The text as a str. Bytes that are not UTF-8 become surrogates, as in Python's names of files.
pybind11::str text_of(const std::string& text);

/// The name of a file as a str, in the encoding that Python uses for these names.
pybind11::str name_of_file(const std::string& name);

/// Adds the class Run and the function list_recordings.
void bind_reading(pybind11::module_& module);

/// The run as an object of the class Run.
pybind11::object object_of(std::unique_ptr<core::Run> run);

/// Adds the class Writer and the functions that deal with back-ends.
void bind_writing(pybind11::module_& module);

} // namespace logging2::python
