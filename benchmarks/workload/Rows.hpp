#pragma once

#include <benchmarks/workload/Workload.hpp>

#include <cstddef>
#include <vector>

namespace logging2::core::bench {

/// The rows of a workload. They lie in one small table that stays in the cache, each row at an
/// offset of its own, so that handing one out costs next to nothing and any row that was stored can
/// be compared with what it must be.
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

    /// A multiple of a power of two, so that no digit is lost on the way back.
    static double time(std::size_t step) { return static_cast<double>(step) * timeStep; }

    /// The step of a time.
    static std::size_t stepAt(double time) { return static_cast<std::size_t>(time / timeStep); }

    /// The doubles of one row; neighbouring steps and groups have different ones.
    const double* values(std::size_t group, std::size_t step) const {
        return table.data() + ((step * 37 + group * 101) & (offsetCount - 1));
    }

    /// Calls store(group, time, values, n) for each row, step by step.
    template <class Store>
    void forEach(Store store) const {
        forFirst(shape.stepCount, store);
    }

    /// The same for the first steps only.
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
