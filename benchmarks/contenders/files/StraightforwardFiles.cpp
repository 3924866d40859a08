#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/files/BatchThread.hpp>
#include <benchmarks/contenders/files/channel_files.hpp>

#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace logging2::core::bench {
namespace {

void append(const std::filesystem::path& path, std::vector<double>& column) {
    std::ofstream file(path, std::ios::out | std::ios::binary | std::ios::app);
    file.write(reinterpret_cast<const char*>(column.data()),
               static_cast<std::streamsize>(column.size() * sizeof(double)));
    column.clear();
}

/// The straightforward implementation: it has the same buffers, batches, background thread and
/// files as the file-backed writer, but it copies each row out of the batch and appends it to the
/// columns value by value.
class StraightforwardFiles : public Contender {
public:
    StraightforwardFiles(const Rows& workloadRows, const std::filesystem::path& emptyDirectory)
        : Contender(workloadRows, emptyDirectory),
          files(rows, directory),
          batchStepCounts(batch_step_counts(rows.workload())),
          buffers(batchStepCounts.size()),
          buffered(batchStepCounts.size(), 0),
          columns(batchStepCounts.size()) {
        for (std::size_t group = 0; group < columns.size(); ++group) {
            columns[group].resize(rows.workload().groups[group].widths.size() + 1);
        }
    }

    void run() override {
        rows.forEach([this](std::size_t group, double time, const double* values, std::size_t n) {
            buffers[group].push_back(time);
            buffers[group].insert(buffers[group].end(), values, values + n);
            if (++buffered[group] == batchStepCounts[group]) {
                handOver(group);
            }
        });
    }

    void finish() override {
        thread.reset();
        for (std::size_t group = 0; group < buffers.size(); ++group) {
            if (!buffers[group].empty()) {
                store(group, buffers[group]);
            }
        }
        buffers.clear();
        columns.clear();
    }

    std::size_t check() override {
        files.check();
        return 0;
    }

private:
    void handOver(std::size_t group) {
        if (!thread) {
            thread.emplace([this](std::size_t batchGroup, const std::vector<double>& batch) {
                store(batchGroup, batch);
            });
        }
        thread->handOver(group, std::move(buffers[group]));
        buffers[group] = {};
        buffered[group] = 0;
    }

    void store(std::size_t group, const std::vector<double>& batch) {
        distribute(batch, rows.workload().groups[group], columns[group]);
        append(files.times(group), columns[group][0]);
        for (std::size_t j = 1; j < columns[group].size(); ++j) {
            append(files.values(group, j - 1), columns[group][j]);
        }
    }

    static void distribute(const std::vector<double>& batch, const GroupShape& shape,
                           std::vector<std::vector<double>>& columns) {
        const std::size_t rowWidth = shape.valueCount();
        for (auto time = batch.begin(); time != batch.end();) {
            columns[0].push_back(*time++);
            const std::vector<double> row(time, time + static_cast<std::ptrdiff_t>(rowWidth));
            auto value = row.begin();
            for (std::size_t j = 0; j < shape.widths.size(); ++j) {
                for (std::size_t e = 0; e < shape.widths[j]; ++e) {
                    columns[j + 1].push_back(*value++);
                }
            }
            time += static_cast<std::ptrdiff_t>(rowWidth);
        }
    }

    ChannelFiles files;
    std::vector<std::size_t> batchStepCounts;
    std::vector<std::vector<double>> buffers;
    std::vector<std::size_t> buffered;
    std::vector<std::vector<std::vector<double>>> columns;
    std::optional<BatchThread> thread;
};

[[maybe_unused]] const bool added =
    add_contender<StraightforwardFiles>("straightforward-files", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
