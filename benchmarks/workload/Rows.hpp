#pragma once

#include <benchmarks/workload/Workload.hpp>

#include <cstddef>
#include <vector>

namespace logging2::core::bench {

/// The rows of a workload. They are views of one small table that stays in the cache, and each row
/// begins at a different offset. Producing a row therefore costs almost nothing, and any stored row
/// can be compared with the expected one.
class Rows {
public:
    explicit Rows(Workload workload)
        : shape(std::move(workload)),
          table(values_table(offsetCount + shape.widestRow())) {
        for (const GroupShape& group : shape.groups) {
            rowWidths.push_back(group.valueCount());
        }
    }

    const Workload& workload() const { return shape; }

    /// Returns the time of a step. It is a multiple of a power of two, so that stepAt() is exact.
    static double time(std::size_t step) { return static_cast<double>(step) * timeStep; }

    /// Returns the step of a time.
    static std::size_t stepAt(double time) { return static_cast<std::size_t>(time / timeStep); }

    /// Returns the doubles of one row. Neighbouring steps and groups have different rows.
    const double* values(std::size_t group, std::size_t step) const {
        return table.data() + ((step * 37 + group * 101) & (offsetCount - 1));
    }

    /// Calls store(group, time, values, n) for each row, step by step.
    template <class Store>
    void forEach(Store store) const {
        forFirst(shape.stepCount, store);
    }

    /// Does the same as forEach(), but only for the first stepCount steps.
    template <class Store>
    void forFirst(std::size_t stepCount, Store store) const {
        for (std::size_t step = 0; step < stepCount; ++step) {
            for (std::size_t group = 0; group < rowWidths.size(); ++group) {
                store(group, time(step), values(group, step), rowWidths[group]);
            }
        }
    }

private:
    static constexpr double timeStep = 1.0 / 1024;
    static constexpr std::size_t offsetCount = 1024; // a power of two

    static std::vector<double> values_table(std::size_t count);

    Workload shape;
    std::vector<double> table;
    std::vector<std::size_t> rowWidths;
};

} // namespace logging2::core::bench
