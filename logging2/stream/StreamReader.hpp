#pragma once

#include <logging2/export.hpp>

#include <memory>
#include <utility>
#include <vector>

namespace logging2::core {

/// Returns the stored data of one logged path.
///
/// S is the number of samples and w the number of doubles that the path contributes to each sample.
/// The times are S doubles in the order in which the samples were logged. The values are S·w
/// doubles, sample-major: the values of sample s are the elements s·w to s·w + w - 1. Times are in
/// the host's unit and are not converted.
///
/// Threads: several threads may call the operations of one reader and of its clones at once.
///
/// The concrete reader documents how long the data lives, when a reader may be destroyed and what
/// the operations throw.
///
/// The order of the virtual operations never changes, because back-ends are compiled separately
/// from the library.
class LOGGING2_EXPORT StreamReader {
public:
    virtual ~StreamReader();

    /// Returns a new reader of the same concrete type. Both readers share the data; nothing is
    /// copied. The clone stays valid after this reader is destroyed.
    virtual std::unique_ptr<StreamReader> clone() const = 0;

    /// Returns a copy of the S logged times.
    virtual std::vector<double> times() const = 0;

    /// Returns copies of the S logged times (first) and of the path's S·w values (second).
    virtual std::pair<std::vector<double>, std::vector<double>> timeseries() const = 0;

protected:
    StreamReader() = default;
    StreamReader(const StreamReader&) = default;
    StreamReader(StreamReader&&) = default;
    StreamReader& operator=(const StreamReader&) = default;
    StreamReader& operator=(StreamReader&&) = default;
};

} // namespace logging2::core
