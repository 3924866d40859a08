#include <logging2/logging2.hpp>

#include <algorithm>
#include <cstddef>
#include <iostream>

// Logs two groups together to files, and shows that no sample is lost.

namespace {

using lang::core::ValuePath;
using logging2::core::NativeStreamWriter;

/// More than getBufferSize() of either group.
constexpr std::size_t stepCount = 4'500'000;

double time_of(std::size_t step) {
    return 0.001 * static_cast<double>(step);
}

NativeStreamWriter make_writer() {
    using namespace logging2::core;
    const LoggedPathsSetupData motor({{ValuePath("motor.speed"), CoreDataId(0)}},
                                     {{CoreDataId(0), 1}});
    const LoggedPathsSetupData pump({{ValuePath("pump.pressure"), CoreDataId(1)}},
                                    {{CoreDataId(1), 1}});
    return {StreamingAttributes{}, {{Group(0), motor}, {Group(1), pump}}};
}

void log_run(NativeStreamWriter& writer) {
    // One row fewer than fills the smaller buffer.
    const std::size_t rowLimit = std::min(writer.getBufferSize(0), writer.getBufferSize(1)) - 1;
    std::size_t bufferedRows = 0; // of the group that is logged most often
    for (std::size_t step = 0; step < stepCount; ++step) {
        const double speed = static_cast<double>(step);
        const double pressure = -speed;
        writer.write(0, time_of(step), &speed, 1);
        writer.write(1, time_of(step), &pressure, 1);
        if (++bufferedRows >= rowLimit) {
            writer.flushIntermediate(); // appends all buffered rows to the files
            writer.clearBuffer();       // resets the row count of each buffer to 0
            bufferedRows = 0;
        }
    }
    writer.flush();
}

/// Whether every step was read, in its place, with the sign times its number as its value.
bool is_complete(const NativeStreamWriter& writer, const ValuePath& path, double sign) {
    const logging2::core::NativeStreamReader reader(writer.dataStore(path));
    const auto [times, values] = reader.timeseries();
    std::cout << path.text() << ": " << times.size() << " of " << stepCount << " steps\n";
    if (times.size() != stepCount || values.size() != stepCount) {
        return false;
    }
    for (std::size_t step = 0; step < stepCount; ++step) {
        if (times[step] != time_of(step) || values[step] != sign * static_cast<double>(step)) {
            return false;
        }
    }
    return true;
}

} // namespace

int main() {
    NativeStreamWriter writer = make_writer();
    log_run(writer);
    const bool motorIsComplete = is_complete(writer, ValuePath("motor.speed"), 1.0);
    const bool pumpIsComplete = is_complete(writer, ValuePath("pump.pressure"), -1.0);
    return motorIsComplete && pumpIsComplete ? 0 : 1;
}
