#include <benchmarks/contenders/TemporaryDirectory.hpp>
#include <benchmarks/micro/registrations.hpp>
#include <benchmarks/micro/timing.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <cmath>
#include <filesystem>
#include <random>
#include <string>

// What recordings need, in time and on disk, for signals of several kinds.

namespace logging2::core::bench {
namespace {

constexpr std::size_t channelCount = 8;
constexpr std::size_t stepCount = 1'000'000;

/// The signal k of a kind, step by step.
class Signal {
public:
    Signal(std::string kindOfSignal, std::size_t k)
        : kind(std::move(kindOfSignal)),
          factor(1.0 + 0.1 * static_cast<double>(k)),
          random(k) {}

    double next() {
        const double t = 1e-3 * step++;
        if (kind == "constant") {
            return factor;
        }
        if (kind == "switching") {
            return std::floor(std::fmod(t * factor, 2.0));
        }
        if (kind == "sine") {
            return std::sin(0.1 * factor * t);
        }
        if (kind == "noisy-sine") {
            return std::sin(0.1 * factor * t) + 1e-3 * noise(random);
        }
        return kind == "noise" ? noise(random) : nextHeight();
    }

private:
    /// Of a ball that bounces.
    double nextHeight() {
        speed -= 9.81e-3;
        height += 1e-3 * speed;
        if (height < 0) {
            height = -height;
            speed *= -0.99;
        }
        return height;
    }

    std::string kind;
    double factor;
    double step = 0;
    double height = factor;
    double speed = 0;
    std::mt19937_64 random;
    std::normal_distribution<double> noise;
};

std::vector<double> rows_of(const std::string& kind) {
    std::vector<double> rows(channelCount * stepCount);
    for (std::size_t k = 0; k < channelCount; ++k) {
        Signal signal(kind, k);
        for (std::size_t s = 0; s < stepCount; ++s) {
            rows[s * channelCount + k] = signal.next();
        }
    }
    return rows;
}

void write_rows(StreamWriter& writer, const std::vector<double>& rows) {
    for (std::size_t s = 0; s < stepCount; ++s) {
        writer.write(0, 1e-3 * static_cast<double>(s), &rows[s * channelCount], channelCount);
    }
    writer.flush();
}

RecordingStreamWriter make_recording(const TemporaryDirectory& directory, Compression compression) {
    RecordingOptions options;
    options.directory = directory.path().string();
    options.compression = compression;
    return {{}, setup_of(scalars(channelCount, stepCount)), options};
}

/// From the first row to the end of flush. The counter is the share of the rows' bytes that the
/// recording needs on disk.
void record(benchmark::State& state, const std::string& kind, Compression compression) {
    const std::vector<double> rows = rows_of(kind);
    for (auto _ : state) {
        const TemporaryDirectory directory;
        auto writer = make_recording(directory, compression);
        time_once(state, [&] { write_rows(writer, rows); });
        const auto byteCount = std::filesystem::file_size(writer.location() + "/samples.bin");
        state.counters["on_disk"] = static_cast<double>(byteCount) /
                                    (8.0 * static_cast<double>(stepCount * (channelCount + 1)));
    }
    count_rows(state, stepCount);
}

/// One signal of eight, with its times.
void read(benchmark::State& state, const std::string& kind, Compression compression) {
    const TemporaryDirectory directory;
    auto writer = make_recording(directory, compression);
    write_rows(writer, rows_of(kind));
    const auto run = open_recording(writer.location());
    for (auto _ : state) {
        time_once(state, [&] { benchmark::DoNotOptimize(run->series(path_of(0, 0)).values()); });
    }
    count_rows(state, stepCount);
}

} // namespace

void register_compress() {
    for (const char* kind : {"constant", "switching", "sine", "ball", "noisy-sine", "noise"}) {
        for (const auto compression : {Compression::none, Compression::lz4}) {
            const std::string name =
                std::string(kind) + (compression == Compression::none ? "/none" : "/lz4");
            benchmark::RegisterBenchmark(("recording/write/" + name).c_str(), record,
                                         std::string(kind), compression)
                ->UseManualTime();
            benchmark::RegisterBenchmark(("recording/read/" + name).c_str(), read,
                                         std::string(kind), compression)
                ->UseManualTime();
        }
    }
}

} // namespace logging2::core::bench
