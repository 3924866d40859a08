#include <logging2/backends/columnar/columnar.hpp>
#include <logging2/logging2.hpp>

#include <iostream>
#include <memory>
#include <vector>

// Keeps a run in memory, looks at it while it goes on, and keeps what happened around a trigger.

namespace {

using lang::core::ValuePath;

logging2::core::SequenceMap<logging2::core::Group, logging2::core::LoggedPathsSetupData> ball() {
    using namespace logging2::core;
    return {{Group(0), LoggedPathsSetupData({{ValuePath("ball.height"), CoreDataId(0)}},
                                            {{CoreDataId(0), 1}})}};
}

double height_at(double time) {
    return 10.0 - time;
}

double sum_of_all(const logging2::core::Run& run) {
    double sum = 0;
    for (const logging2::core::Series& piece : run.pieces(ValuePath("ball.height"))) {
        for (const double value : piece.values()) { // a view of the writer's memory
            sum += value;
        }
    }
    return sum;
}

void log_with_a_trigger() {
    using namespace logging2::core;
    ColumnarOptions options;
    options.byteLimit = 64 * 1024; // in bytes
    options.beyondLimit = BeyondLimit::discardOldest;
    ColumnarStreamWriter writer(StreamingAttributes{}, ball(), options);

    std::unique_ptr<Run> kept;
    for (int step = 0; step < 100000; ++step) {
        const double time = step / 100.0;
        const double height = height_at(time);
        writer.write(0, time, &height, 1);
        if (step == 2000) { // two seconds before and after the trigger at 20 s
            kept = writer.snapshot(18.0, 22.0);
        }
    }
    kept->refresh();
    const Series series = kept->series(ValuePath("ball.height"));
    std::cout << series.size() << " steps from " << series.times()[0] << " s on\n";
}

} // namespace

int main() {
    using namespace logging2::core;
    ColumnarStreamWriter writer(StreamingAttributes{}, ball());
    const std::unique_ptr<Run> run = writer.run();
    for (int step = 0; step < 1000; ++step) {
        const double height = 1.0;
        writer.write(0, step, &height, 1);
    }
    run->refresh();
    std::cout << "sum " << sum_of_all(*run) << '\n';
    log_with_a_trigger();
}
