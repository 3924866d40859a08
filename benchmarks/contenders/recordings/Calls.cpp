#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/recordings/recorded_rows.hpp>

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

// What single calls of `write` cost the host. The workloads have one group.

namespace logging2::core::bench {
namespace {

using Clock = std::chrono::steady_clock;

double nanoseconds_since(Clock::time_point start) {
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
}

/// The part of the numbers, from 0 to 1, that is not greater.
double quantile(std::vector<float> numbers, double part) {
    const auto place = numbers.begin() +
                       static_cast<std::ptrdiff_t>(part * static_cast<double>(numbers.size() - 1));
    std::nth_element(numbers.begin(), place, numbers.end());
    return *place;
}

/// Writes batches of rows with pauses between them, as a solver does that computes each step. Its
/// result is the median of what a row costs.
template <class Store>
class Batches : public Contender {
public:
    using Contender::Contender;

    void prepare() override {
        times.reserve(rows.workload().stepCount / batchStepCount + 1);
        store.prepare(rows, directory);
    }

    void run() override {
        const Workload& workload = rows.workload();
        const std::size_t valueCount = workload.groups[0].valueCount();
        for (std::size_t first = 0; first < workload.stepCount; first += batchStepCount) {
            const std::size_t end = std::min(first + batchStepCount, workload.stepCount);
            const Clock::time_point start = Clock::now();
            for (std::size_t step = first; step < end; ++step) {
                store.write(Rows::time(step), rows.values(0, step), valueCount);
            }
            times.push_back(
                static_cast<float>(nanoseconds_since(start) / static_cast<double>(end - first)));
            std::this_thread::sleep_for(std::chrono::microseconds(300));
        }
    }

    void finish() override { store.finish(); }

    std::size_t check() override {
        store.check(rows);
        return 0;
    }

    std::map<std::string, double> results() const override {
        return {{"median_batch_ns", quantile(times, 0.5)}};
    }

private:
    static constexpr std::size_t batchStepCount = 1000;

    Store store;
    std::vector<float> times;
};

class RecordingStore {
public:
    void prepare(const Rows& rows, const std::filesystem::path& directory) {
        writer.emplace(StreamingAttributes(), setup_of(rows.workload()), options_in(directory));
    }
    void write(double time, const double* values, std::size_t n) {
        writer->write(0, time, values, n);
    }
    void finish() { writer->flush(); }
    void check(const Rows& rows) const { check_recording(rows, writer->location()); }

private:
    std::optional<RecordingStreamWriter> writer;
};

class VectorStore {
public:
    void prepare(const Rows&, const std::filesystem::path&) {}
    void write(double time, const double* values, std::size_t n) {
        elements.push_back(time);
        elements.insert(elements.end(), values, values + n);
    }
    void finish() {}
    void check(const Rows& rows) const {
        check_count(elements.size() * sizeof(double), rows.workload().byteCount());
        check_rows(rows, elements.data());
    }

private:
    std::vector<double> elements;
};

/// A million rows per second. Its results are quantiles of what a single call takes.
class Paced final : public Contender {
public:
    using Contender::Contender;

    void prepare() override {
        times.assign(rows.workload().stepCount, 0.0F);
        store.prepare(rows, directory);
    }

    void run() override {
        const std::size_t valueCount = rows.workload().groups[0].valueCount();
        const Clock::time_point start = Clock::now();
        for (std::size_t step = 0; step < times.size(); ++step) {
            while (nanoseconds_since(start) < 1000.0 * static_cast<double>(step)) {
            }
            const Clock::time_point before = Clock::now();
            store.write(Rows::time(step), rows.values(0, step), valueCount);
            times[step] = static_cast<float>(nanoseconds_since(before));
        }
    }

    void finish() override { store.finish(); }

    std::size_t check() override {
        store.check(rows);
        return 0;
    }

    std::map<std::string, double> results() const override {
        return {{"call_us_median", 1e-3 * quantile(times, 0.5)},
                {"call_us_of_9999_in_10000", 1e-3 * quantile(times, 0.9999)}};
    }

private:
    RecordingStore store;
    std::vector<float> times;
};

[[maybe_unused]] const bool added =
    add_contender<Batches<RecordingStore>>("recording-batches", Suits::oneGroup) &&
    add_contender<Batches<VectorStore>>("flat-vector-batches", Suits::oneGroup) &&
    add_contender<Paced>("recording-paced", Suits::oneGroup);

} // namespace
} // namespace logging2::core::bench
