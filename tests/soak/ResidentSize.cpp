#include <tests/soak/ResidentSize.hpp>

#include <unistd.h>

#include <algorithm>
#include <fstream>

namespace logging2::core::test {
namespace {

std::size_t resident_byte_count() {
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

} // namespace

void ResidentSize::sample(std::size_t row) {
    const std::size_t warmRow = rowCount / 5;
    if (row < warmRow) {
        return;
    }
    std::size_t& peak = row < warmRow + (rowCount - warmRow) / 2 ? earlierPeak : laterPeak;
    peak = std::max(peak, resident_byte_count());
}

bool ResidentSize::isFlat() const {
    constexpr std::size_t least = std::size_t{4} * 1024 * 1024;
    return earlierPeak > 0 && laterPeak > 0 &&
           laterPeak <= earlierPeak + std::max(earlierPeak / 20, least);
}

} // namespace logging2::core::test
