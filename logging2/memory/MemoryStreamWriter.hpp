#pragma once

#include <logging2/export.hpp>
#include <logging2/memory/BasicMemoryStreamWriter.hpp>

#include <deque>
#include <vector>

namespace logging2::core {

namespace detail {
extern template class LOGGING2_EXPORT
    BasicMemoryStreamWriter<std::vector<double>, std::deque<RowHandle>>;
} // namespace detail

/// Keeps every sample of the run in memory, without limit, and can take samples back.
///
/// Nothing is written to disk and no thread is started. The destructor does not flush: samples
/// that were not flushed are discarded.
///
/// `flush` moves each group's times into the stores, so that `numSteps` is 0 afterwards. The rows
/// of a group without channels stay in `data`. `write` and `rollback` still work then, but a path
/// that has a store keeps it, so later samples of it are never given out.
class LOGGING2_EXPORT MemoryStreamWriter
    : public detail::BasicMemoryStreamWriter<std::vector<double>, std::deque<detail::RowHandle>> {
public:
    /// A writer without samples; shares the setup's block, and allocates per group only.
    MemoryStreamWriter(StreamingAttributes configuration,
                       SequenceMap<Group, LoggedPathsSetupData> setup);
    /// Takes over the samples. Intended: stores that were built stay with the source.
    MemoryStreamWriter(MemoryStreamWriter&& other) noexcept;
    /// Takes over the samples in place of its own. Intended: each keeps the stores it has built.
    MemoryStreamWriter& operator=(MemoryStreamWriter&& other) noexcept;
    ~MemoryStreamWriter() override;
};

} // namespace logging2::core
