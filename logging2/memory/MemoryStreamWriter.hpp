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
    MemoryStreamWriter(StreamingAttributes configuration,
                       SequenceMap<Group, LoggedPathsSetupData> setup);
    MemoryStreamWriter(MemoryStreamWriter&& other) noexcept;
    MemoryStreamWriter& operator=(MemoryStreamWriter&& other) noexcept;
    ~MemoryStreamWriter() override;
};

} // namespace logging2::core
