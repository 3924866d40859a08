#pragma once

#include <benchmarks/workload/Rows.hpp>

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <utility>

namespace logging2::core::bench {

/// One way to store, or to read, the rows of a workload.
class Contender {
public:
    /// The rows must outlive the contender. The contender puts its files into the directory, which
    /// is empty at first and which the caller removes.
    Contender(const Rows& workloadRows, std::filesystem::path emptyDirectory)
        : rows(workloadRows),
          directory(std::move(emptyDirectory)) {}
    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;
    virtual ~Contender() = default;

    /// Prepares everything that exists before the first row is stored. Not timed.
    virtual void prepare() {}

    /// Stores every row, or reads everything if the contender is a reader. Timed.
    virtual void run() = 0;

    /// Does the remaining work until the data can be read. Timed separately.
    virtual void finish() {}

    /// Reads everything back and compares it. Throws Mismatch if anything differs. Returns the
    /// number of missing rows, which must be 0 unless the contender is known to lose rows.
    virtual std::size_t check() = 0;

    /// Returns further results of run() by their names.
    virtual std::map<std::string, double> results() const { return {}; }

protected:
    const Rows& rows;
    const std::filesystem::path directory;
};

} // namespace logging2::core::bench
