#pragma once

#include <logging2/lookup/Backend.hpp>

#include <optional>
#include <string>

namespace logging2::core {

/// Rules that a checked back-end enforces in addition to those that hold for every back-end.
///
/// A member without a value has the default that the built-in back-end of that name needs, even if
/// that back-end is checked already. For any other back-end the default is false.
struct CheckedOptions {
    /// Whether the ids of N groups must be 0 to N - 1. The default is true for "memory" and
    /// "memory-restricted", which use the ids as indices.
    std::optional<bool> groupIdsAreIndices;

    /// Whether each channel number may be listed only once, in one group. The default is true for
    /// "native", which finds a channel's file by that number alone.
    std::optional<bool> channelsAreUnique;

    /// Whether `close` alone makes the samples final, as `flush` does. If false, a closed stream
    /// must still be flushed. The default is true for "memory" and "memory-restricted".
    std::optional<bool> closeFlushes;

    /// Whether `rollback` throws if the back-end cannot undo steps (`supportsRollback` is false).
    /// If false, the call is passed on, and the back-end issues its warning.
    bool refuseUnsupportedRollback = false;
};

/// Registers the back-end "checked:NAME" in addition to the registered back-end NAME, and returns
/// the two registrations. The new back-end stores what NAME stores, and it throws std::logic_error
/// for mistakes of the caller that NAME does not notice.
///
/// The following are mistakes. The message says what was expected and what was found, and it names
/// the group or the path if there is one.
/// - Construction of a writer: a path in two groups or for two channels, and group ids or channel
///   numbers that break a rule of the options.
/// - `write`: an unknown group, a row whose length is not the sum of the widths of its group's
///   channels, or a null pointer instead of a row.
/// - `rollback`: an unknown group, or a back-end that cannot undo steps if the options refuse that.
/// - `dataStore`: an unknown path, or a call before `flush` (or before a `close` that flushes).
///   `flushIntermediate` is not enough: it may do nothing, and files that are still being written
///   must not be read.
/// - `write`, `rollback` and `flushIntermediate` after `flush` or `close`, and a second `flush`. A
///   `flush` that threw counts. However, `flushIntermediate` and `dataStore` are passed on after a
///   `flush` that threw.
/// - Any call while another thread is inside a call. A writer may be passed to another thread
///   between two calls.
///
/// A refused call has no effect. Everything else behaves as with NAME, and exceptions of NAME pass
/// through unchanged.
///
/// A writer that is destroyed without a flush is flushed, and the warning "DestroyedWithoutFlush"
/// with the stream's name is issued. If that flush throws, the warning "FlushInDestructorFailed"
/// with the stream's name and the reason follows. The name is converted from UTF-8 to UTF-16. The
/// destructor never throws.
///
/// Writers and readers of NAME are looked up with get_stream_writer() and get_stream_reader() when
/// a checked one is created. The context must therefore belong to the host's service framework, and
/// NAME must stay registered; otherwise the creation throws std::runtime_error. The readers are
/// those of NAME, so the data stores of both back-ends are interchangeable.
///
/// A check costs at most about 10 ns per `write`.
///
/// Throws std::invalid_argument if there is no back-end NAME, and what register_backend() throws.
/// Nothing stays registered after an error. Any thread may call.
BackendRegistrations register_checked_backend(cppmicroservices::BundleContext context,
                                              const std::string& name,
                                              const CheckedOptions& options = {});

} // namespace logging2::core
