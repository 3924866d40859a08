#pragma once

#include <logging2/backends/columnar/detail/PathIndex.hpp>
#include <logging2/backends/columnar/detail/Samples.hpp>
#include <logging2/backends/columnar/detail/Watch.hpp>
#include <logging2/runs/Run.hpp>

#include <cstddef>
#include <memory>
#include <vector>

namespace logging2::core::detail {

/// A run in memory. It outlives its writer.
class ColumnarRun final : public Run {
public:
    ColumnarRun(const std::shared_ptr<Samples>& writtenSamples, std::optional<Interval> interval);

    RunInfo info() const override;
    std::vector<GroupInfo> groups() const override;
    std::vector<SignalInfo> signals() const override;
    Series series(const lang::core::ValuePath& path) const override;
    Series series(const lang::core::ValuePath& path, double from, double to) const override;
    Series series(const lang::core::ValuePath& path, StepRange steps) const override;
    StepRange steps(std::size_t group, double from, double to) const override;
    SignalSummary summary(const lang::core::ValuePath& path) const override;
    Overview overview(const lang::core::ValuePath& path, double from, double to,
                      std::size_t bucketCount) const override;
    Outline outline(const lang::core::ValuePath& path, std::size_t element, double from, double to,
                    std::size_t bucketCount) const override;
    bool refresh() override;
    std::vector<Series> pieces(const lang::core::ValuePath& path) const override;

private:
    const GroupView& groupOf(const PathIndex::Entry& entry) const;
    const ColumnPlace& columnOf(const PathIndex::Entry& entry) const;

    std::weak_ptr<Samples> samples; // gone when the writer is
    std::shared_ptr<const PathIndex> paths;
    std::shared_ptr<Watch> watch;
    RunContent content;
};

} // namespace logging2::core::detail
