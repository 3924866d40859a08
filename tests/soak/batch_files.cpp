#include <tests/soak/batch_files.hpp>
#include <tests/soak/samples.hpp>

#include <algorithm>
#include <fstream>
#include <vector>

namespace logging2::core::test {
namespace {

constexpr std::size_t blockRowCount = 65536;

/// The next doubles of the file, up to one block.
std::vector<double> next_block(std::ifstream& file) {
    std::vector<double> block(blockRowCount);
    file.read(reinterpret_cast<char*>(block.data()), blockRowCount * sizeof(double));
    block.resize(static_cast<std::size_t>(file.gcount()) / sizeof(double));
    return block;
}

/// Checks the rows of a file in turn.
class RowCheck {
public:
    RowCheck(std::size_t batch, Findings& found) : batchRowCount(batch), findings(found) {}

    void add(double time, double value) {
        const auto row = static_cast<std::size_t>(time);
        const bool right = row >= firstPossible && row < findings.rowCount &&
                           row % batchRowCount == index % batchRowCount && time == time_of(row) &&
                           value == value_of(row);
        ++(right ? findings.right : findings.wrong);
        firstPossible = row + 1;
        ++index;
    }

private:
    std::size_t batchRowCount;
    Findings& findings;
    std::size_t firstPossible = 0;
    std::size_t index = 0;
};

} // namespace

void count_rows(const std::filesystem::path& times, const std::filesystem::path& values,
                std::size_t batchRowCount, Findings& findings) {
    std::ifstream timesFile(times, std::ios::binary);
    std::ifstream valuesFile(values, std::ios::binary);
    RowCheck check(batchRowCount, findings);
    for (;;) {
        const std::vector<double> timesBlock = next_block(timesFile);
        const std::vector<double> valuesBlock = next_block(valuesFile);
        const std::size_t count = std::min(timesBlock.size(), valuesBlock.size());
        for (std::size_t i = 0; i < count; ++i) {
            check.add(timesBlock[i], valuesBlock[i]);
        }
        if (count < blockRowCount) {
            findings.wrong += std::max(timesBlock.size(), valuesBlock.size()) - count;
            return;
        }
    }
}

} // namespace logging2::core::test
