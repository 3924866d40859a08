#pragma once

#include <benchmarks/workload/Rows.hpp>

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace logging2::core::bench {

/// What was stored is not what was given.
class Mismatch : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One column of a workload.
struct ColumnId {
    std::size_t group;
    std::size_t channel;
};

/// Steps from the first to before the last.
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

    /// Takes the next count times and their values. Throws Mismatch where a time is none of the
    /// workload's or not later than the one before, or where a value differs.
    void take(const double* times, const double* values, std::size_t count);

    /// How many steps have been found.
    std::size_t stepCount() const { return found; }

    /// Which of the workload's steps have not been found, in order.
    std::vector<StepRange> missingSteps() const;

    /// Doubles per step.
    std::size_t width() const { return valueCount; }

private:
    const Rows& rows;
    std::size_t group;
    std::size_t offset = 0;
    std::size_t valueCount;
    std::size_t found = 0;
    std::size_t nextStep = 0;    // after the latest that was found
    std::vector<StepRange> gaps; // before that
};

/// Compares a whole column; throws Mismatch unless it holds the workload's last stepCount steps.
void check_column(const Rows& rows, ColumnId column, const std::vector<double>& times,
                  const std::vector<double>& values, std::size_t stepCount);

/// Compares one row; throws Mismatch where it differs.
void check_row(const Rows& rows, std::size_t group, std::size_t step, double time,
               const double* values);

/// Compares all rows, each after its time, step by step; throws Mismatch where one differs.
void check_rows(const Rows& rows, const double* found);

/// Compares a values file with its times file in pieces. Returns the steps that neither holds.
std::vector<StepRange> check_files(const Rows& rows, ColumnId column,
                                   const std::filesystem::path& times,
                                   const std::filesystem::path& values);

/// Throws Mismatch unless they are equal.
void check_count(std::size_t found, std::size_t expected);

} // namespace logging2::core::bench
