#pragma once

#include <logging2/export.hpp>

#include <memory>
#include <utility>
#include <vector>

namespace logging2::core {

/// Gives back the stored data of one logged path.
///
/// With S samples and w doubles per sample, the times are S doubles in the order in which the
/// samples were logged, and the values S·w doubles, sample-major: those of sample s are the
/// elements s·w to s·w + w - 1. Times are in the host's unit.
///
/// How long the data lives, and what may be read on several threads at once, is the concrete
/// reader's to say.
///
/// The order of the virtual operations is fixed: back-ends are built apart from the library.
class LOGGING2_EXPORT StreamReader {
public:
    virtual ~StreamReader();

    /// A new reader of the same concrete type over the same data, which is shared, not copied.
    virtual std::unique_ptr<StreamReader> clone() const = 0;

    /// A copy of the logged times.
    virtual std::vector<double> times() const = 0;

    /// A copy of the logged times (first) and of the path's values (second).
    virtual std::pair<std::vector<double>, std::vector<double>> timeseries() const = 0;

protected:
    StreamReader() = default;
    StreamReader(const StreamReader&) = default;
    StreamReader(StreamReader&&) = default;
    StreamReader& operator=(const StreamReader&) = default;
    StreamReader& operator=(StreamReader&&) = default;
};

} // namespace logging2::core
