#pragma once

#include <cstddef>

namespace logging2::core::test {

/// The process's resident memory over a run, sampled 2,000 times.
///
/// The first fifth of the rows is warm-up and does not count. In the rest, the peak of the second
/// half may exceed the peak of the first half by at most a twentieth or 4 MiB, whichever is more.
class ResidentSize {
public:
    explicit ResidentSize(std::size_t runRowCount) : rowCount(runRowCount) {}

    /// Must be called for every row in turn.
    void at(std::size_t row) {
        if (row >= nextRow) {
            nextRow = row + (rowCount + 1999) / 2000;
            sample(row);
        }
    }

    /// Samples the size now, at that row.
    void sample(std::size_t row);

    std::size_t firstHalfPeak() const { return earlierPeak; }
    std::size_t secondHalfPeak() const { return laterPeak; }
    bool isFlat() const;

private:
    std::size_t rowCount;
    std::size_t nextRow = 0;
    std::size_t earlierPeak = 0; // bytes
    std::size_t laterPeak = 0;   // bytes
};

} // namespace logging2::core::test
