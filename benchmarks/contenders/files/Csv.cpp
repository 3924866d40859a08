#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>

#include <fmt/compile.h>
#include <fmt/os.h>

#include <charconv>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace logging2::core::bench {
namespace {

/// Returns the numbers between the commas of the line. Throws Mismatch if the line contains
/// anything else.
std::vector<double> numbers_in(const std::string& line) {
    std::vector<double> numbers;
    const char* const end = line.data() + line.size();
    for (const char* next = line.data(); next < end;) {
        const auto [stop, error] = std::from_chars(next, end, numbers.emplace_back());
        if (error != std::errc() || (stop != end && *stop != ',')) {
            throw Mismatch("this line contains something that is not a number: " + line);
        }
        next = stop + 1;
    }
    return numbers;
}

/// One text file per group. Each row is a line, and each number has the fewest digits that identify
/// it exactly.
class Csv : public Contender {
public:
    Csv(const Rows& workloadRows, const std::filesystem::path& emptyDirectory)
        : Contender(workloadRows, emptyDirectory) {
        for (std::size_t group = 0; group < rows.workload().groups.size(); ++group) {
            files.push_back(fmt::output_file(pathOf(group)));
        }
    }

    void run() override {
        fmt::memory_buffer line;
        rows.forEach([&](std::size_t group, double time, const double* values, std::size_t n) {
            line.clear();
            fmt::format_to(std::back_inserter(line), FMT_COMPILE("{}"), time);
            for (std::size_t i = 0; i < n; ++i) {
                fmt::format_to(std::back_inserter(line), FMT_COMPILE(",{}"), values[i]);
            }
            line.push_back('\n');
            files[group].print("{}", fmt::string_view(line.data(), line.size()));
        });
    }

    void finish() override {
        for (fmt::ostream& file : files) {
            file.close();
        }
    }

    std::size_t check() override {
        for (std::size_t group = 0; group < rows.workload().groups.size(); ++group) {
            check_group(group);
        }
        return 0;
    }

private:
    std::string pathOf(std::size_t group) const {
        return (directory / ("rows_" + std::to_string(group) + ".csv")).string();
    }

    void check_group(std::size_t group) const {
        std::ifstream file(pathOf(group));
        std::size_t step = 0;
        for (std::string line; std::getline(file, line); ++step) {
            const std::vector<double> numbers = numbers_in(line);
            check_count(numbers.size(), rows.workload().groups[group].valueCount() + 1);
            check_row(rows, group, step, numbers[0], numbers.data() + 1);
        }
        check_count(step, rows.workload().stepCount);
    }

    std::vector<fmt::ostream> files;
};

[[maybe_unused]] const bool added = add_contender<Csv>("csv", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
