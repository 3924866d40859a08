#pragma once

#include <benchmarks/workload/Rows.hpp>

#include <cstddef>
#include <filesystem>
#include <vector>

namespace logging2::core::bench {

/// The files of contenders that store like the file-backed writer: one times file per group and one
/// values file per channel.
class ChannelFiles {
public:
    ChannelFiles(const Rows& rows, std::filesystem::path directory);

    std::filesystem::path times(std::size_t group) const;
    std::filesystem::path values(std::size_t group, std::size_t channel) const;

    /// Compares all files with the rows. Throws Mismatch if they differ or if a step is missing.
    void check() const;

private:
    const Rows& rows;
    std::filesystem::path directory;
};

/// Makes the file-backed writers of this process put their files into the directory.
void set_temp_directory(const std::filesystem::path& directory);

/// Returns, for each group, the number of steps after which the file-backed writer hands over the
/// buffer.
std::vector<std::size_t> batch_step_counts(const Workload& workload);

} // namespace logging2::core::bench
