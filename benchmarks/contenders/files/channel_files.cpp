#include <benchmarks/contenders/files/channel_files.hpp>

#include <benchmarks/contenders/checks.hpp>
#include <benchmarks/workload/library_setup.hpp>

#include <logging2/host/filesystem/operations.hpp>
#include <logging2/host/foundation/text_conversion.hpp>

#include <string>
#include <utility>

namespace logging2::core::bench {

ChannelFiles::ChannelFiles(const Rows& workloadRows, std::filesystem::path where)
    : rows(workloadRows),
      directory(std::move(where)) {}

std::filesystem::path ChannelFiles::times(std::size_t group) const {
    return directory / ("times_" + std::to_string(group));
}

std::filesystem::path ChannelFiles::values(std::size_t group, std::size_t channel) const {
    return directory / ("values_" + std::to_string(group) + "_" + std::to_string(channel));
}

void ChannelFiles::check() const {
    const Workload& workload = rows.workload();
    for (std::size_t group = 0; group < workload.groups.size(); ++group) {
        for (std::size_t channel = 0; channel < workload.groups[group].widths.size(); ++channel) {
            const auto missing =
                check_files(rows, {group, channel}, times(group), values(group, channel));
            check_count(missing.size(), 0);
        }
    }
}

void set_temp_directory(const std::filesystem::path& directory) {
    const std::u16string name = foundation::utf8_string_to_ustring(directory.string());
    fl::filesystem::setTempDirectoryName([name] { return name; });
}

std::vector<std::size_t> batch_step_counts(const Workload& workload) {
    const NativeStreamWriter writer({}, setup_of(workload));
    std::vector<std::size_t> counts;
    for (std::size_t group = 0; group < workload.groups.size(); ++group) {
        counts.push_back(writer.getBufferSize(group));
    }
    return counts;
}

} // namespace logging2::core::bench
