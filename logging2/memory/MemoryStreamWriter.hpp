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

/// Keeps every sample of the run in memory, without limit, and can undo samples.
///
/// Nothing is written to disk and no thread is started. The destructor does not flush, so samples
/// that were not flushed are discarded.
///
/// `flush` moves each group's times into the stores, so `numSteps` returns 0 afterwards. The rows
/// of a group without channels stay in `data`. `write` and `rollback` still work after a flush.
/// However, a path that has a store keeps it, so no store ever contains the later samples of that
/// path.
class LOGGING2_EXPORT MemoryStreamWriter
    : public detail::BasicMemoryStreamWriter<std::vector<double>, std::deque<detail::RowHandle>> {
public:
    /// Makes a writer without samples. It allocates memory per group only, and it shares the data
    /// of the setup with the caller's handle.
    MemoryStreamWriter(StreamingAttributes configuration,
                       SequenceMap<Group, LoggedPathsSetupData> setup);
    /// Takes over the samples. Intended: stores that were built stay with the source.
    MemoryStreamWriter(MemoryStreamWriter&& other) noexcept;
    /// Replaces its samples by those of the source. Intended: each writer keeps the stores that it
    /// has built.
    MemoryStreamWriter& operator=(MemoryStreamWriter&& other) noexcept;
    ~MemoryStreamWriter() override;
};

} // namespace logging2::core
