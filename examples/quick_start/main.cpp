#include <logging2/logging2.hpp>

#include <iostream>

int main() {
    using namespace logging2::core;
    using lang::core::ValuePath;

    // One group: "ball.height" names channel 0 (one double), "ball.position" channel 1 (three).
    const SequenceMap<Group, LoggedPathsSetupData> setup{
        {Group(0), LoggedPathsSetupData({{ValuePath("ball.height"), CoreDataId(0)},
                                         {ValuePath("ball.position"), CoreDataId(1)}},
                                        {{CoreDataId(0), 1}, {CoreDataId(1), 3}})}};
    const auto writer = get_default_stream_writer(StreamingAttributes{}, setup);

    for (const double time : {0.0, 0.1, 0.2, 0.3}) {
        const double row[] = {1.0 - time, 0.0, 0.0, 1.0 - time}; // height, then position
        writer->write(0, time, row, 4);
    }
    writer->rollback(0, 0.1); // the solver rejects what came after 0.1
    writer->flush();

    const auto reader = get_default_stream_reader(writer->dataStore(ValuePath("ball.height")));
    const auto [times, values] = reader->timeseries();
    for (std::size_t s = 0; s < times.size(); ++s) {
        std::cout << times[s] << ' ' << values[s] << '\n';
    }
}
