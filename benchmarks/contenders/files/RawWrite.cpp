#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/files/Descriptor.hpp>
#include <benchmarks/contenders/files/channel_files.hpp>

#include <algorithm>
#include <vector>

namespace logging2::core::bench {
namespace {

/// The contents of one file, prepared before the measurement.
struct PreparedFile {
    std::filesystem::path path;
    std::size_t width;
    std::vector<double> values;
};

/// Only calls write(2) to append the bytes of each batch to each file of its group.
class RawWrite : public Contender {
public:
    RawWrite(const Rows& workloadRows, const std::filesystem::path& emptyDirectory)
        : Contender(workloadRows, emptyDirectory),
          files(rows, directory),
          batchStepCounts(batch_step_counts(rows.workload())) {}

    void prepare() override {
        prepared.resize(batchStepCounts.size());
        for (std::size_t group = 0; group < prepared.size(); ++group) {
            addFile(group, files.times(group), 1);
            const std::vector<std::size_t>& widths = rows.workload().groups[group].widths;
            for (std::size_t channel = 0; channel < widths.size(); ++channel) {
                addFile(group, files.values(group, channel), widths[channel]);
            }
        }
        rows.forEach([this](std::size_t group, double time, const double* values, std::size_t) {
            prepared[group][0].values.push_back(time);
            for (std::size_t j = 1; j < prepared[group].size(); ++j) {
                PreparedFile& file = prepared[group][j];
                file.values.insert(file.values.end(), values, values + file.width);
                values += file.width;
            }
        });
    }

    void run() override {
        const std::size_t stepCount = rows.workload().stepCount;
        for (std::size_t group = 0; group < prepared.size(); ++group) {
            for (std::size_t step = 0; step < stepCount; step += batchStepCounts[group]) {
                writeBatch(group, step, std::min(batchStepCounts[group], stepCount - step));
            }
        }
    }

    std::size_t check() override {
        files.check();
        return 0;
    }

private:
    void addFile(std::size_t group, const std::filesystem::path& path, std::size_t width) {
        prepared[group].push_back({path, width, {}});
        prepared[group].back().values.reserve(rows.workload().stepCount * width);
    }

    void writeBatch(std::size_t group, std::size_t step, std::size_t count) const {
        for (const PreparedFile& file : prepared[group]) {
            const Descriptor target(file.path, O_WRONLY | O_CREAT | O_APPEND);
            target.writeAll(file.values.data() + step * file.width,
                            count * file.width * sizeof(double));
        }
    }

    ChannelFiles files;
    std::vector<std::size_t> batchStepCounts;
    std::vector<std::vector<PreparedFile>> prepared; // by group, the times first
};

[[maybe_unused]] const bool added = add_contender<RawWrite>("raw-write", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
