#pragma once

#include <benchmarks/workload/Rows.hpp>

#include <cstddef>
#include <filesystem>
#include <utility>

namespace logging2::core::bench {

/// One way to store, or to read, the rows of a workload.
class Contender {
public:
    /// The rows outlive the contender. Its files go into the directory, which is empty, and which
    /// the caller removes.
    Contender(const Rows& workloadRows, std::filesystem::path emptyDirectory)
        : rows(workloadRows),
          directory(std::move(emptyDirectory)) {}
    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;
    virtual ~Contender() = default;

    /// Makes whatever exists before the first row comes. Not timed.
    virtual void prepare() {}

    /// Takes every row; a contender that reads, reads everything. Timed.
    virtual void run() = 0;

    /// Does what is left to do until the data can be read. Timed on its own.
    virtual void finish() {}

    /// Reads everything back and compares it; throws Mismatch where it differs. Returns how many
    /// rows are missing, which is 0 for all contenders that are not known to lose any.
    virtual std::size_t check() = 0;

protected:
    const Rows& rows;
    const std::filesystem::path directory;
};

} // namespace logging2::core::bench
