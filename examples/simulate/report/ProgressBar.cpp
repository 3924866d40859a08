#include <examples/simulate/report/ProgressBar.hpp>

#include <algorithm>
#include <string>
#include <utility>

namespace simulate {
namespace {

constexpr std::size_t barWidth = 40;
constexpr std::chrono::milliseconds firstDraw(1000);
constexpr std::chrono::milliseconds drawInterval(100);
constexpr const char* eraseLine = "\r\x1b[K";

} // namespace

ProgressBar::ProgressBar(std::ostream& terminal, bool isEnabled, double totalValue,
                         std::function<Clock::time_point()> clock)
    : out(terminal),
      enabled(isEnabled),
      total(totalValue),
      now(std::move(clock)),
      nextDraw(now() + firstDraw) {}

ProgressBar::~ProgressBar() {
    if (drawn) {
        out << eraseLine << std::flush;
    }
}

void ProgressBar::show(double done) {
    if (!enabled) {
        return;
    }
    const Clock::time_point time = now();
    if (time > nextDraw) {
        nextDraw = time + drawInterval;
        draw(std::clamp(done / total, 0.0, 1.0));
    }
}

void ProgressBar::draw(double share) {
    const auto filled = static_cast<std::size_t>(share * static_cast<double>(barWidth));
    out << eraseLine << '[' << std::string(filled, '#') << std::string(barWidth - filled, ' ')
        << "] " << static_cast<int>(share * 100) << " %" << std::flush;
    drawn = true;
}

} // namespace simulate
