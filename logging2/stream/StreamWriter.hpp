#pragma once

#include <logging2/export.hpp>
#include <logging2/host/lang/ValuePath.hpp>
#include <logging2/stream/DataStoreInfo.hpp>

#include <boost/any.hpp>

#include <cstddef>
#include <optional>

namespace logging2::core {

/// Stores the samples of a run while it goes on.
///
/// Use: construct, `write` and `rollback` at will, `flushIntermediate` at will, then `flush` once
/// (or `close`, if the writer's `close` flushes), then `dataStore` for each logged path. A sample
/// is one step of one group: its time, in the host's unit, and its row, the values of the group's
/// channels one after the other.
///
/// Arguments are not validated: the group must be one of the setup, the row must be as long as
/// the widths of the group's channels add up to.
///
/// Threads: one writer is driven from one thread at a time.
///
/// The order of the virtual operations is fixed: back-ends are built apart from the library.
class LOGGING2_EXPORT StreamWriter {
public:
    virtual ~StreamWriter();

    /// Appends one sample of the group: its time and the n doubles at values, which are copied.
    /// The built-in writers return true.
    virtual bool write(std::size_t group, double time, const double* values, std::size_t n) = 0;

    /// Takes back the group's samples that are later than the time (a rejected solver step); the
    /// concrete writer tells which exactly. A writer may decline; it then issues a warning, keeps
    /// the samples and returns normally.
    virtual void rollback(std::size_t group, double time) = 0;

    /// The stored data of one logged path, for a reader of the same back-end. The path must be
    /// one of the setup, and the samples must have been made final.
    virtual boost::any dataStore(const lang::core::ValuePath& path) const = 0;

    /// An extra description of the data stores; empty for every built-in writer.
    virtual std::optional<DataStoreInfo> dataStoreInfo() const = 0;

    /// Makes all written samples final and readable. To be called once. What may fail is the
    /// concrete writer's to say.
    virtual void flush() = 0;

    /// Makes the samples so far readable while writing goes on; may do nothing.
    virtual void flushIntermediate() = 0;

    /// Ends writing.
    virtual void close() = 0;

protected:
    StreamWriter() = default;
    StreamWriter(const StreamWriter&) = default;
    StreamWriter(StreamWriter&&) = default;
    StreamWriter& operator=(const StreamWriter&) = default;
    StreamWriter& operator=(StreamWriter&&) = default;
};

} // namespace logging2::core
