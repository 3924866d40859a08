#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/recordings/recorded_rows.hpp>

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
        RecordingOptions options = options_in(directory);
        options.compression = compression;
        writer.emplace(StreamingAttributes(), setup, options);
    }

    void run() override { write_all(*writer, rows); }

    void finish() override { writer->flush(); }

    std::size_t check() override {
        check_recording(rows, writer->location());
        return 0;
    }

private:
    Compression compression;
    // The host's memory, and not the writer's.
    const SequenceMap<Group, LoggedPathsSetupData> setup = setup_of(rows.workload());
    std::optional<RecordingStreamWriter> writer;
};

[[maybe_unused]] const bool added =
    add_contender<Recording>("recording", Suits::anyGroups, Compression::none) &&
    add_contender<Recording>("recording-lz4", Suits::anyGroups, Compression::lz4);

} // namespace
} // namespace logging2::core::bench
