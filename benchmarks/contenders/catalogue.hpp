#pragma once

#include <benchmarks/contenders/Contender.hpp>
#include <benchmarks/workload/Rows.hpp>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace logging2::core::bench {

/// Makes a contender for the rows, which outlive it. Its files go into the directory, which is
/// empty, and which the caller removes.
using ContenderMaker = std::unique_ptr<Contender> (*)(const Rows& rows,
                                                      const std::filesystem::path& directory);

struct ContenderInfo {
    std::string name;
    std::string title;
    ContenderMaker make;

    /// Slow ones get fewer rows, so that a run of all stays short.
    double rowFraction = 1;

    /// Whether prepare() holds data in memory, so that its peak says nothing about the contender.
    bool preparesData = false;
};

/// Every contender there is.
const std::vector<ContenderInfo>& all_contenders();

/// Throws std::invalid_argument for an unknown name.
const ContenderInfo& contender_named(const std::string& name);

} // namespace logging2::core::bench
