#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>
#include <benchmarks/workload/library_setup.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <filesystem>
#include <optional>
#include <utility>

namespace logging2::core::bench {
namespace {

/// The back-end "recording" with its defaults, packed or not: the samples survive the process.
class Recording final : public Contender {
public:
    Recording(const Rows& workloadRows, std::filesystem::path emptyDirectory, Compression how)
        : Contender(workloadRows, std::move(emptyDirectory)),
          compression(how) {}

    void prepare() override {
        RecordingOptions options;
        options.directory = directory.string();
        options.compression = compression;
        writer.emplace(StreamingAttributes(), setup_of(rows.workload()), options);
    }

    void run() override { write_all(*writer, rows); }

    void finish() override { writer->flush(); }

    std::size_t check() override {
        const std::unique_ptr<Run> run = open_recording(writer->location());
        const Workload& workload = rows.workload();
        for (std::size_t group = 0; group < workload.groups.size(); ++group) {
            for (std::size_t k = 0; k < workload.groups[group].widths.size(); ++k) {
                const auto [times, values, width] = run->series(path_of(group, k));
                ColumnCheck column(rows, {group, k});
                column.take(times.data(), values.data(), times.size());
                check_count(width, column.width());
                check_count(column.stepCount(), workload.stepCount);
            }
        }
        return 0;
    }

private:
    Compression compression;
    std::optional<RecordingStreamWriter> writer;
};

[[maybe_unused]] const bool added =
    add_contender<Recording>("recording", Suits::anyGroups, Compression::none) &&
    add_contender<Recording>("recording-lz4", Suits::anyGroups, Compression::lz4);

} // namespace
} // namespace logging2::core::bench
