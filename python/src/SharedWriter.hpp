#pragma once

#include <python/src/bindings.hpp>

#include <logging2/runs/Run.hpp>
#include <logging2/stream/StreamReader.hpp>
#include <logging2/stream/StreamWriter.hpp>

#include <pybind11/pybind11.h>

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace logging2::python {

/// A writer that several Python threads may use, one call at a time. Wrong calls throw
/// std::invalid_argument and change nothing.
///
/// In a forked child, which shares the files with its parent, calls throw std::invalid_argument
/// and the destructor does nothing.
class SharedWriter {
public:
    /// The lengths are those of the groups' rows. The location is the directory of a recording.
    SharedWriter(std::string backendName, std::unique_ptr<core::StreamWriter> ownedWriter,
                 std::vector<std::size_t> lengths, std::string place);

    ~SharedWriter();

    SharedWriter(const SharedWriter&) = delete;
    SharedWriter& operator=(const SharedWriter&) = delete;

    /// The values are numbers, or arrays of them, whose type NumPy turns into doubles safely.
    /// Integers beyond 2^53 are rounded to the nearest double. Masked arrays are refused.
    void write(pybind11::ssize_t group, double time, const pybind11::object& values);

    void rollback(pybind11::ssize_t group, double time);

    /// The times and values of a signal, after flush.
    std::pair<std::vector<double>, std::vector<double>> read(const std::string& path);

    /// Does nothing if everything is final already.
    void flush();

    /// Shows all steps so far to readers.
    void show();

    /// The run in memory, or only the steps of an interval.
    std::unique_ptr<core::Run> run(const std::optional<std::pair<double, double>>& interval);

    /// Lets go of the writer; a recording that was not flushed is interrupted.
    void abandon();

    const std::string& place() const noexcept { return location; }

private:
    bool isInherited() const { return fork_count() != forks; }
    std::size_t row_length(pybind11::ssize_t group) const;
    core::StreamWriter& opened() const;
    std::unique_ptr<core::StreamReader> make_reader(const std::string& path) const;
    std::pair<std::vector<double>, std::vector<double>> samples_of(const std::string& path);
    void discard();

    template <class Action>
    void locked(Action action);
    template <class Action>
    void change(Action action);

    std::string backend;
    std::string location;
    std::vector<std::size_t> rowLengths;
    int forks = fork_count();
    std::mutex mutex; // guards the rest
    std::unique_ptr<core::StreamWriter> writer;
    std::map<std::string, std::unique_ptr<core::StreamReader>> readers; // only of "native"
    bool isFinal = false;
};

} // namespace logging2::python
