#pragma once

#include <logging2/export.hpp>
#include <logging2/host/lang/ValuePath.hpp>
#include <logging2/stream/DataStoreInfo.hpp>

#include <boost/any.hpp>

#include <cstddef>
#include <optional>

namespace logging2::core {

/// Stores the samples of a simulation run while the run goes on.
///
/// A sample is one step of one group: a time in the host's unit, and a row. A row is the values of
/// the group's channels, one channel after the other, in the order of
/// LoggedPathsSetupData::coreIds().
///
/// Call order: construct the writer; call `write`, `rollback` and `flushIntermediate` as often as
/// needed; call `flush` once; then call `dataStore` for each logged path. If the back-end's `close`
/// flushes, `close` may replace `flush`.
///
/// Arguments are not checked. The group must be in the setup, and the length of a row must be the
/// sum of the widths of the group's channels. register_checked_backend() offers a back-end that
/// throws an exception for such a mistake.
///
/// Threads: only one thread at a time may use a writer. It need not always be the same thread.
///
/// Any operation except the destructor may throw. The concrete writer documents what it throws.
///
/// The order of the virtual operations never changes, because back-ends are compiled separately
/// from the library.
class LOGGING2_EXPORT StreamWriter {
public:
    virtual ~StreamWriter();

    /// Appends one sample to the group: the time and the n doubles at `values`. The values are
    /// copied. Returns true if the sample was stored; the built-in writers always return true.
    virtual bool write(std::size_t group, double time, const double* values, std::size_t n) = 0;

    /// Undoes rejected solver steps: discards the group's first sample that is strictly later than
    /// `time`, and every sample that was written after it. Samples at exactly `time` stay, unless
    /// they were written after a later one. NaN is not later than any time. Other groups are not
    /// affected.
    ///
    /// A back-end whose BackendInfo::supportsRollback is false keeps all samples instead. It issues
    /// one warning "RollbackNotSupported" with the stream's name and returns normally.
    virtual void rollback(std::size_t group, double time) = 0;

    /// Returns a handle to the stored data of one logged path, for a reader of the same back-end.
    /// The path must be in the setup, and `flush` (or a `close` that flushes) must have been
    /// called. The handle stays valid after the writer is destroyed.
    virtual boost::any dataStore(const lang::core::ValuePath& path) const = 0;

    /// Returns an extra description of the data stores. The built-in writers always return the
    /// empty optional.
    virtual std::optional<DataStoreInfo> dataStoreInfo() const = 0;

    /// Makes all written samples final, so that readers can return them. The host calls it once.
    virtual void flush() = 0;

    /// Makes the samples so far readable while writing goes on, if the back-end can do that.
    /// Otherwise it does nothing.
    virtual void flushIntermediate() = 0;

    /// Ends writing. Some back-ends flush here if `flush` was not called before; others do not.
    virtual void close() = 0;

protected:
    StreamWriter() = default;
    StreamWriter(const StreamWriter&) = default;
    StreamWriter(StreamWriter&&) = default;
    StreamWriter& operator=(const StreamWriter&) = default;
    StreamWriter& operator=(StreamWriter&&) = default;
};

} // namespace logging2::core
