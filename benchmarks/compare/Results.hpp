#pragma once

#include <benchmarks/compare/Question.hpp>
#include <benchmarks/compare/Run.hpp>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace logging2::core::bench {

/// All runs, by contender and workload.
using Results = std::map<std::pair<std::string, std::string>, std::vector<Run>>;

/// Quartiles of one number over the verified runs.
struct Spread {
    double low = 0;
    double median = 0;
    double high = 0;
};

Spread spread_of(std::vector<double> values);

/// What a question's table tells about one entry on one workload.
struct Summary {
    Spread time;                   ///< nanoseconds per row or value
    double bytesPerSecond = 0;     ///< by the median
    std::size_t peakKib = 0;       ///< median, at the end of the phase; 0 where it says nothing
    std::size_t lostRowCount = 0;  ///< the most of any run
    std::size_t rowCount = 0;      ///< of one run
    std::size_t verifiedCount = 0; ///< runs
    std::size_t runCount = 0;
};

Summary summary_of(const Results& results, const Entry& entry, const std::string& workload,
                   Unit unit);

} // namespace logging2::core::bench
