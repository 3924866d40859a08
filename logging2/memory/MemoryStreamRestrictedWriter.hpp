#pragma once

#include <logging2/export.hpp>
#include <logging2/memory/BasicMemoryStreamWriter.hpp>

#include <boost/circular_buffer.hpp>

namespace logging2::core {

namespace detail {
extern template class LOGGING2_EXPORT
    BasicMemoryStreamWriter<boost::circular_buffer<double>, boost::circular_buffer<RowHandle>>;
} // namespace detail

/// Keeps the most recent `pointLimit` steps of each group in memory, in ring buffers, and can undo
/// them. A step that was overwritten does not come back. A limit of 0 discards every step.
///
/// The constructor allocates the rings, and they are never reallocated. `write` allocates its row
/// and at most one block of handles per 63 rows, and nothing else. Overwriting the oldest step
/// takes constant time.
///
/// Intended: `flush` copies the times out of their ring but removes the rows. Afterwards `numSteps`
/// still returns the number of flushed steps, while `data` is empty. Samples may be written and
/// undone after that, but `flush` must not be called again.
class LOGGING2_EXPORT MemoryStreamRestrictedWriter
    : public detail::BasicMemoryStreamWriter<boost::circular_buffer<double>,
                                             boost::circular_buffer<detail::RowHandle>> {
public:
    /// Makes a writer without samples and allocates the rings of all groups. The writer shares the
    /// data of the setup with the caller's handle.
    ///
    /// Throws std::length_error "circular_buffer" if there is a group and the limit is larger than
    /// a ring can hold (2^60 or more with 64-bit addresses). Throws std::bad_alloc if memory does
    /// not suffice for a smaller limit.
    MemoryStreamRestrictedWriter(StreamingAttributes configuration,
                                 SequenceMap<Group, LoggedPathsSetupData> setup);
    /// Takes over the rings. Intended: stores that were built stay with the source.
    MemoryStreamRestrictedWriter(MemoryStreamRestrictedWriter&& other) noexcept;
    /// Replaces its rings by those of the source. Intended: each writer keeps the stores that it
    /// has built.
    MemoryStreamRestrictedWriter& operator=(MemoryStreamRestrictedWriter&& other) noexcept;
    ~MemoryStreamRestrictedWriter() override;
};

} // namespace logging2::core
