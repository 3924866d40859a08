#include <tools/terminal/ProgressBar.hpp>

#include <algorithm>
#include <string>

namespace logging2::tools {
namespace {

constexpr std::size_t barWidth = 30;
constexpr std::chrono::seconds delay{1};
constexpr std::chrono::milliseconds interval{100};

} // namespace

ProgressBar::ProgressBar(const Terminal& ownerTerminal)
    : ProgressBar(ownerTerminal, ownerTerminal.hasProgress) {}

ProgressBar ProgressBar::ofRows(const Terminal& ownerTerminal) {
    return {ownerTerminal, ownerTerminal.hasProgress && ownerTerminal.isFile};
}

ProgressBar::ProgressBar(const Terminal& ownerTerminal, bool isVisible)
    : terminal(ownerTerminal),
      visible(isVisible),
      nextDraw(Clock::now() + delay) {}

ProgressBar::~ProgressBar() {
    if (isDrawn) {
        terminal.error << "\r\x1b[K" << std::flush;
    }
}

void ProgressBar::show(std::uint64_t done, std::uint64_t total) {
    if (!visible || Clock::now() < nextDraw) {
        return;
    }
    nextDraw = Clock::now() + interval;
    isDrawn = true;
    const double share =
        total == 0 ? 1.0 : std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
    const auto filled = static_cast<std::size_t>(share * static_cast<double>(barWidth));
    terminal.error << "\r[" << std::string(filled, '#') << std::string(barWidth - filled, '.')
                   << "] " << static_cast<int>(share * 100) << " %" << std::flush;
}

} // namespace logging2::tools
