#pragma once

#include <logging2/export.hpp>
#include <logging2/memory/BasicMemoryStreamWriter.hpp>

#include <boost/circular_buffer.hpp>

namespace logging2::core {

namespace detail {
extern template class LOGGING2_EXPORT
    BasicMemoryStreamWriter<boost::circular_buffer<double>, boost::circular_buffer<RowHandle>>;
} // namespace detail

/// Keeps the most recent `pointLimit` steps of each group in ring buffers and can take them back;
/// a step that was overwritten does not come back.
///
/// The rings are allocated by the constructor and never reallocated: `write` allocates its row,
/// for every 63rd one at most a block for their handles, and nothing else; overwriting the oldest
/// step takes constant time. A limit of 0 discards every step.
///
/// Intended: `flush` copies the times out of their ring and takes the rows away, so that
/// `numSteps` still tells the number of flushed steps while `data` is empty. Samples may be
/// written and taken back after that, but a second `flush` must not be called.
class LOGGING2_EXPORT MemoryStreamRestrictedWriter
    : public detail::BasicMemoryStreamWriter<boost::circular_buffer<double>,
                                             boost::circular_buffer<detail::RowHandle>> {
public:
    /// Throws std::length_error "circular_buffer" where there is a group and the limit is larger
    /// than a ring can hold (2^60 and more with 64-bit addresses), std::bad_alloc where memory
    /// cannot give a smaller one.
    MemoryStreamRestrictedWriter(StreamingAttributes configuration,
                                 SequenceMap<Group, LoggedPathsSetupData> setup);
    /// Takes over the rings. Intended: stores that were built stay with the source.
    MemoryStreamRestrictedWriter(MemoryStreamRestrictedWriter&& other) noexcept;
    /// Takes over the rings in place of its own. Intended: each keeps the stores it has built.
    MemoryStreamRestrictedWriter& operator=(MemoryStreamRestrictedWriter&& other) noexcept;
    ~MemoryStreamRestrictedWriter() override;
};

} // namespace logging2::core
