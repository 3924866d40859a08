#pragma once

#include <logging2/backends/columnar/ColumnarOptions.hpp>
#include <logging2/backends/columnar/export.hpp>
#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/runs/Run.hpp>
#include <logging2/stream/StreamWriter.hpp>
#include <logging2/stream/StreamingAttributes.hpp>

#include <boost/any.hpp>

#include <cstddef>
#include <memory>
#include <optional>

namespace logging2::core {

namespace detail {
class Samples;
} // namespace detail

/// Keeps every sample of the run in memory, column by column, at about the speed of the memory
/// itself, and can undo samples.
///
/// Results are those of MemoryStreamWriter. In addition, group ids may have any value, samples can
/// be read while the run goes on, and the memory can be limited. `rollbackOnTimeRegression` is
/// obeyed; `pointLimit` is ignored.
///
/// Nothing is written to disk and no thread is started. The destructor does not flush. Stores,
/// readers and runs keep the samples that they show, also after the writer is destroyed.
///
/// Memory: stored values are never moved. They take at most 1.02 times their bytes, plus 4 MiB, 4
/// KiB per group and about 32 bytes per path. What a rollback frees is reused for all rows that fit
/// into it; after many rollbacks, free memory may take a few percent more. Steps that a reader held
/// when they were undone keep their memory as long as steps before them in the same piece are kept.
///
/// Threads: one thread at a time uses the writer. However, `flushIntermediate`, `dataStore`, `run`
/// and `snapshot` may be called on other threads meanwhile, as may all operations of readers and
/// runs.
class LOGGING2_COLUMNAR_EXPORT ColumnarStreamWriter final : public StreamWriter {
public:
    /// Makes a writer without samples, which shares the data of the setup with the caller's handle.
    ColumnarStreamWriter(const StreamingAttributes& attributes,
                         const SequenceMap<Group, LoggedPathsSetupData>& setup,
                         const ColumnarOptions& options = {});

    /// Takes over the samples and the stores. The other writer can only be destroyed or assigned
    /// to.
    ColumnarStreamWriter(ColumnarStreamWriter&& other) noexcept;
    /// Discards its samples and takes over those of the other writer, which can then only be
    /// destroyed or assigned to.
    ColumnarStreamWriter& operator=(ColumnarStreamWriter&& other) noexcept;
    ~ColumnarStreamWriter() override;

    /// Appends one sample and returns true. If `rollbackOnTimeRegression` is set and the time is
    /// not later than the group's last time, the sample replaces the samples from its time on.
    ///
    /// The values are copied once. Memory is allocated once per piece of up to 4 MiB.
    ///
    /// Throws std::out_of_range if the group is not in the setup, std::invalid_argument if n is not
    /// the sum of the widths of its channels, std::length_error if the limit is reached and steps
    /// may not be discarded, and std::bad_alloc. Nothing is changed then; only the oldest steps
    /// may have been discarded before std::bad_alloc, to keep to the limit.
    bool write(std::size_t group, double time, const double* values, std::size_t n) override;

    /// Discards the group's first sample that is strictly later than the time, and every sample
    /// that was written after it. Samples at exactly the time stay.
    ///
    /// Costs what it discards while the group's times ascend; otherwise it may examine one piece
    /// more. If it discards steps that a reader holds, each later view of the group has one part
    /// more and takes slightly longer to make. Throws std::out_of_range if the group is not in the
    /// setup. Throws std::bad_alloc, and changes nothing then, only if it discards steps that
    /// a reader holds.
    void rollback(std::size_t group, double time) override;

    /// The samples of the path at the time of `flush` or else of the last `flushIntermediate`, but
    /// without those that were undone or discarded since. Throws std::out_of_range if neither was
    /// called, or if the path is not in the setup, and std::bad_alloc.
    boost::any dataStore(const lang::core::ValuePath& path) const override;

    /// Always empty.
    std::optional<DataStoreInfo> dataStoreInfo() const override;

    /// Makes the samples final and gives them to the stores; copies none of them. Samples that are
    /// written after it never reach a store. Throws std::bad_alloc, and changes nothing then.
    void flush() override;

    /// Lets stores that are taken afterwards show the samples so far; copies none of them. Later
    /// rollbacks do not change stores that were taken before. Costs only a few operations per
    /// group.
    void flushIntermediate() override;

    /// Calls `flush`, unless it was called before.
    void close() override;

    /// The run so far. Run::refresh() goes on to the present state, also on another thread while
    /// writing continues. The run outlives the writer and then shows the state at its end.
    std::unique_ptr<Run> run() const;

    /// The steps from the first to the last one with from <= time <= to, in each group.
    ///
    /// `to` may lie in the future: Run::refresh() adds what was written since. As long as the
    /// returned run lives, these steps are kept even if they are the oldest ones beyond the limit.
    /// Where times do not ascend, other steps may lie between them.
    std::unique_ptr<Run> snapshot(double from, double to) const;

private:
    std::shared_ptr<detail::Samples> samples;
};

} // namespace logging2::core
