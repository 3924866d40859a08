#include <tools/selection/TimeRange.hpp>

#include <tools/UsageError.hpp>
#include <tools/terminal/text.hpp>

#include <limits>

namespace logging2::tools {

double TimeRange::least() const noexcept {
    return from.value_or(-std::numeric_limits<double>::infinity());
}

double TimeRange::greatest() const noexcept {
    return to.value_or(std::numeric_limits<double>::infinity());
}

bool TimeRange::contains(double time) const noexcept {
    return isWhole() || (least() <= time && time <= greatest());
}

void add_time_options(CLI::App& command, TimeRange& range, const std::string& endOption) {
    command.add_option("--from", range.from, "Only steps at this time or later")->type_name("T");
    command.add_option(endOption, range.to, "Only steps at this time or earlier")->type_name("T");
}

void check_range(const TimeRange& range, const std::string& run) {
    if (!(range.least() <= range.greatest())) {
        throw UsageError(run + ": the range from " + number_text(range.least()) + " to " +
                         number_text(range.greatest()) + " contains no time");
    }
}

} // namespace logging2::tools
