#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/files/Descriptor.hpp>
#include <benchmarks/contenders/recordings/recorded_rows.hpp>

#include <algorithm>
#include <limits>
#include <map>
#include <string>
#include <vector>

// What is read from a recording of one scalar. It has just been written, so it is read from the
// system's cache and not from the disk.

namespace logging2::core::bench {
namespace {

class RecordedScalar : public Contender {
public:
    using Contender::Contender;

    void prepare() override {
        RecordingStreamWriter writer({}, setup_of(rows.workload()), options_in(directory));
        write_all(writer, rows);
        writer.flush();
        location = writer.location();
    }

protected:
    std::size_t stepCount() const { return rows.workload().stepCount; }

    /// Compares with the steps from the first one on.
    void checkSteps(const Series& series, std::size_t first, std::size_t count) const {
        check_count(series.size(), count);
        for (std::size_t s = 0; s < count; ++s) {
            check_row(rows, 0, first + s, series.times()[s], series.values().data() + s);
        }
    }

    const lang::core::ValuePath path = path_of(0, 0);
    std::string location;
};

/// The whole signal, from opening the recording on.
class WholeSeries final : public RecordedScalar {
public:
    using RecordedScalar::RecordedScalar;

    void run() override { series = open_recording(location)->series(path); }

    std::size_t check() override {
        checkSteps(series, 0, stepCount());
        return 0;
    }

private:
    Series series;
};

/// As many bytes of the data file as the whole signal has, with read(2).
class RecordedBytes final : public RecordedScalar {
public:
    RecordedBytes(const Rows& workloadRows, std::filesystem::path emptyDirectory, bool touched)
        : RecordedScalar(workloadRows, std::move(emptyDirectory)),
          isTouched(touched) {}

    void prepare() override {
        RecordedScalar::prepare();
        if (isTouched) {
            bytes = std::make_unique<char[]>(rows.workload().byteCount());
        }
    }

    void run() override {
        if (!isTouched) {
            bytes.reset(new char[rows.workload().byteCount()]); // not initialised
        }
        Descriptor(location + "/samples.bin", O_RDONLY)
            .readAll(bytes.get(), rows.workload().byteCount());
    }

    std::size_t check() override {
        check_recording(rows, location);
        return 0;
    }

private:
    bool isTouched;
    std::unique_ptr<char[]> bytes;
};

/// An open run.
class OpenRecording : public RecordedScalar {
public:
    using RecordedScalar::RecordedScalar;

    void prepare() override {
        RecordedScalar::prepare();
        opened = open_recording(location);
    }

protected:
    Series stepsFrom(std::size_t first, std::size_t count) const {
        return opened->series(path, Rows::time(first), Rows::time(first + count - 1));
    }

    std::unique_ptr<Run> opened;
};

/// One sample in a hundred, from the middle on.
class Range final : public OpenRecording {
public:
    using OpenRecording::OpenRecording;

    void run() override { series = stepsFrom(stepCount() / 2, stepCount() / 100); }

    std::size_t check() override {
        checkSteps(series, stepCount() / 2, stepCount() / 100);
        return 0;
    }

private:
    Series series;
};

/// Many ranges of a few samples, all over the run.
class SmallRanges final : public OpenRecording {
public:
    using OpenRecording::OpenRecording;

    void run() override {
        const auto start = std::chrono::steady_clock::now();
        for (std::size_t k = 0; k < rangeCount; ++k) {
            found += stepsFrom(firstOf(k), rangeStepCount).size();
        }
        const std::chrono::duration<double, std::micro> time =
            std::chrono::steady_clock::now() - start;
        microseconds = time.count() / static_cast<double>(rangeCount);
    }

    std::size_t check() override {
        check_count(found, rangeCount * rangeStepCount);
        for (std::size_t k = 0; k < rangeCount; k += 1000) {
            checkSteps(stepsFrom(firstOf(k), rangeStepCount), firstOf(k), rangeStepCount);
        }
        return 0;
    }

    std::map<std::string, double> results() const override {
        return {{"us_per_range", microseconds}};
    }

private:
    static constexpr std::size_t rangeCount = 100'000;
    static constexpr std::size_t rangeStepCount = 10;

    std::size_t firstOf(std::size_t k) const {
        return k * 7'919 * 1'013 % (stepCount() - rangeStepCount);
    }

    std::size_t found = 0;
    double microseconds = 0;
};

/// The whole signal in a thousand buckets.
class Glance final : public OpenRecording {
public:
    using OpenRecording::OpenRecording;

    void run() override { overview = opened->overview(path, 0.0, end(), bucketCount); }

    std::size_t check() override {
        std::vector<double> least(bucketCount, std::numeric_limits<double>::infinity());
        std::vector<double> greatest(bucketCount, -std::numeric_limits<double>::infinity());
        rows.forEach([&](std::size_t, double time, const double* value, std::size_t) {
            const std::size_t bucket = bucket_of(time, 0.0, end(), bucketCount);
            least[bucket] = std::min(least[bucket], *value);
            greatest[bucket] = std::max(greatest[bucket], *value);
        });
        if (overview.least != least || overview.greatest != greatest) {
            throw Mismatch("the overview differs");
        }
        return 0;
    }

private:
    static constexpr std::size_t bucketCount = 1000;

    double end() const { return Rows::time(stepCount() - 1); }

    Overview overview;
};

[[maybe_unused]] const bool added =
    add_contender<WholeSeries>("recorded-series", Suits::oneScalar) &&
    add_contender<RecordedBytes>("recorded-bytes-fresh", Suits::oneScalar, false) &&
    add_contender<RecordedBytes>("recorded-bytes-touched", Suits::oneScalar, true) &&
    add_contender<Range>("recorded-range", Suits::oneScalar) &&
    add_contender<SmallRanges>("recorded-small-ranges", Suits::oneScalar) &&
    add_contender<Glance>("recorded-overview", Suits::oneScalar);

} // namespace
} // namespace logging2::core::bench
