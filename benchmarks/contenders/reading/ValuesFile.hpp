#pragma once

#include <benchmarks/contenders/Contender.hpp>
#include <benchmarks/contenders/checks.hpp>

#include <filesystem>
#include <fstream>
#include <utility>
#include <vector>

namespace logging2::core::bench {

/// A file with the values of a workload that has one group and one channel. The file is read as a
/// whole. It has just been written, so it is read from the system's cache and not from the disk.
class ValuesFile : public Contender {
public:
    using Contender::Contender;

    void prepare() override {
        std::ofstream file(path, std::ios::binary);
        rows.forEach([&](std::size_t, double, const double* values, std::size_t n) {
            file.write(reinterpret_cast<const char*>(values),
                       static_cast<std::streamsize>(n * sizeof(double)));
        });
    }

    std::size_t check() override {
        const auto [values, count] = result();
        check_count(count, rows.workload().valueCount());
        const double* row = values;
        for (std::size_t step = 0; step < rows.workload().stepCount; ++step) {
            check_row(rows, 0, step, Rows::time(step), row);
            row += rows.workload().groups[0].valueCount();
        }
        return 0;
    }

protected:
    /// Returns what was read: a pointer to the first value, and the number of values.
    virtual std::pair<const double*, std::size_t> result() const = 0;

    std::size_t byteCount() const { return rows.workload().valueCount() * sizeof(double); }

    const std::filesystem::path path = directory / "values";
};

/// The base of the contenders that read into a fresh vector.
class FreshVectorReader : public ValuesFile {
public:
    using ValuesFile::ValuesFile;

protected:
    std::pair<const double*, std::size_t> result() const override {
        return {values.data(), values.size()};
    }

    std::vector<double> values;
};

} // namespace logging2::core::bench
