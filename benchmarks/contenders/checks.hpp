#pragma once

#include <benchmarks/workload/Rows.hpp>

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace logging2::core::bench {

/// Thrown if the stored data differs from the data that was given.
class Mismatch : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One column of a workload.
struct ColumnId {
    std::size_t group;
    std::size_t channel;
};

/// The steps from `first` to the one before `last`.
struct StepRange {
    std::size_t first;
    std::size_t last;
};

inline bool operator==(const StepRange& left, const StepRange& right) {
    return left.first == right.first && left.last == right.last;
}

/// Compares one column piece by piece, in the order in which it was stored.
class ColumnCheck {
public:
    ColumnCheck(const Rows& rows, ColumnId column);

    /// Compares the next `count` times and their values. Throws Mismatch if a time is not in the
    /// workload or is not later than the previous one, or if a value differs.
    void take(const double* times, const double* values, std::size_t count);

    /// Returns the number of steps that were found.
    std::size_t stepCount() const { return found; }

    /// Returns the workload's steps that were not found, in their order.
    std::vector<StepRange> missingSteps() const;

    /// Returns the number of doubles per step.
    std::size_t width() const { return valueCount; }

private:
    const Rows& rows;
    std::size_t group;
    std::size_t offset = 0;
    std::size_t valueCount;
    std::size_t found = 0;
    std::size_t nextStep = 0;    // after the last step that was found
    std::vector<StepRange> gaps; // missing steps before nextStep
};

/// Compares a whole column. Throws Mismatch unless it holds the workload's last stepCount steps.
void check_column(const Rows& rows, ColumnId column, const std::vector<double>& times,
                  const std::vector<double>& values, std::size_t stepCount);

/// Compares one row. Throws Mismatch if it differs.
void check_row(const Rows& rows, std::size_t group, std::size_t step, double time,
               const double* values);

/// Compares all rows, step by step. Each row follows its time. Throws Mismatch if a row differs.
void check_rows(const Rows& rows, const double* found);

/// Compares a values file and its times file with the rows, in pieces. Returns the steps that are
/// in neither file.
std::vector<StepRange> check_files(const Rows& rows, ColumnId column,
                                   const std::filesystem::path& times,
                                   const std::filesystem::path& values);

/// Throws Mismatch unless the two numbers are equal.
void check_count(std::size_t found, std::size_t expected);

} // namespace logging2::core::bench
