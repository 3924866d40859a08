#pragma once

#include <logging2/lookup/Backend.hpp>

#include <optional>
#include <string>

namespace logging2::core {

/// What a checked back-end demands of its caller beyond the rules that hold for every back-end.
///
/// A member without a value means what the built-in back-end of that name needs, and false for any
/// other back-end.
struct CheckedOptions {
    /// Whether the ids of N groups must be 0 to N - 1. Without a value: true for "memory" and
    /// "memory-restricted", which use the ids as indices.
    std::optional<bool> groupIdsAreIndices;

    /// Whether each channel number may be listed only once, in one group. Without a value: true for
    /// "native", which names a channel's file by that number alone.
    std::optional<bool> channelsAreUnique;

    /// Whether `close` alone makes the samples final, as `flush` does. Without a value: true for
    /// "memory" and "memory-restricted". Otherwise a closed stream must still be flushed.
    std::optional<bool> closeFlushes;

    /// Whether `rollback` throws if the back-end keeps the samples (`supportsRollback` is false).
    /// Otherwise the call goes through, and the back-end issues its warning.
    bool refuseUnsupportedRollback = false;
};

/// Registers the back-end "checked:NAME" beside the registered back-end NAME. It stores what NAME
/// stores, and it throws std::logic_error for a mistake of the caller that NAME does not notice.
/// Returns the two registrations.
///
/// These are mistakes. The message says what is wrong, with the group or path if there is one:
/// - when the writer is made: a path in two groups or for two channels, and what the options demand
///   of group ids and channel numbers;
/// - `write`: an unknown group, a row whose length is not the sum of the widths of its group's
///   channels, a null pointer instead of a row;
/// - `rollback`: an unknown group, and what the options demand;
/// - `dataStore`: an unknown path, or a path before `flush` (or before a `close` that flushes).
///   `flushIntermediate` does not suffice: it may do nothing, and files that are still being
///   written must not be read;
/// - `write`, `rollback` and `flushIntermediate` after `flush` or `close`, and a second `flush`,
///   also if the first one threw. After a `flush` that threw, `flushIntermediate` and `dataStore`
///   go through;
/// - any call while another thread is inside a call. Passing a writer on to another thread between
///   two calls is no mistake.
///
/// A refused call has no effect. Everything else behaves as with NAME, and what NAME throws comes
/// out unchanged.
///
/// A writer that is destroyed without a flush is flushed, and the warning "DestroyedWithoutFlush"
/// with the stream's name is issued. If that flush throws, the warning "FlushInDestructorFailed"
/// with the stream's name and the reason follows. The destructor never throws.
///
/// Writers and readers of NAME are looked up with get_stream_writer() and get_stream_reader() when
/// a checked one is made, so the context must belong to the host's service framework, and NAME must
/// stay registered: otherwise std::runtime_error is thrown. The readers are those of NAME, and the
/// stores of both back-ends can be exchanged.
///
/// Costs at most about 10 ns per `write`. Throws std::invalid_argument if there is no back-end
/// NAME, and what register_backend() throws. Nothing stays registered after an error. Any thread
/// may call.
BackendRegistrations register_checked_backend(cppmicroservices::BundleContext context,
                                              const std::string& name,
                                              const CheckedOptions& options = {});

} // namespace logging2::core
