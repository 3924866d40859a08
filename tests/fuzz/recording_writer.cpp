#include <logging2/backends/recording/recording.hpp>

#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <logging2/conformance/detail/memory_oracle.hpp>
#include <tests/fuzz/RowSource.hpp>
#include <tests/fuzz/expectations.hpp>
#include <tests/fuzz/fuzz_target.hpp>
#include <tests/fuzz/script_setups.hpp>

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

// Scripts of operations on the writer of a recording. What a reader finds is compared with the
// plain oracle of the memory writers.

namespace logging2::core::test {
namespace {

using Doubles = std::vector<double>;

GroupSetup scriptedSetup(ByteScript& script) {
    GroupSetup setup;
    for (std::size_t left = script.below(4); left > 0; --left) {
        setup.insert(Group(left - 1), scriptedGroup(script));
    }
    return setup;
}

std::vector<double> copy_of(const DoubleView& view) {
    std::vector<double> copy(view.size());
    std::copy(view.begin(), view.end(), copy.begin());
    return copy;
}

class RecordingScript {
public:
    explicit RecordingScript(ByteScript& bytes)
        : script(bytes),
          setup(scriptedSetup(bytes)),
          obeysRegression(bytes.flag()),
          oracle(setup, obeysRegression, std::nullopt) {
        StreamingAttributes attributes;
        attributes.rollbackOnTimeRegression = obeysRegression;
        RecordingOptions options;
        options.directory = directory.path().string();
        options.chunkByteCount = std::size_t{1} << (6 + script.below(10));
        options.bufferByteCount = std::size_t{1} << (13 + script.below(8));
        options.commitInterval = std::chrono::hours(1);
        options.heldBackSteps = script.below(20);
        writer = std::make_unique<RecordingStreamWriter>(attributes, setup, options);
    }

    void run() {
        while (!script.atEnd()) {
            step();
        }
        const std::string location = writer->location();
        const bool isFinished = script.flag();
        if (isFinished) {
            writer->flush();
            refuseWrites();
        }
        writer.reset();
        const auto run = open_recording(location);
        expect((run->info().state == RunState::finished) == isFinished, "wrong state");
        compareWith(*run);
    }

private:
    void step() {
        using Operation = void (RecordingScript::*)();
        static constexpr Operation operations[] = {
            &RecordingScript::write,     &RecordingScript::write,    &RecordingScript::writeMany,
            &RecordingScript::writeMany, &RecordingScript::rollback, &RecordingScript::rollback,
            &RecordingScript::store,     &RecordingScript::compare,  &RecordingScript::moveWriter};
        (this->*script.oneOf(operations))();
    }

    bool chooseGroup() {
        group = setup.empty() ? 0 : script.below(setup.size());
        return !setup.empty();
    }

    double lastTime() const {
        const Doubles& times = oracle.times[group];
        return times.empty() ? 0.0 : times.back();
    }

    void writeRow(double time) {
        if (rowsLeft > 0) {
            --rowsLeft;
            const Doubles row = rows.row(rowLength(setup.find(Group(group))->second));
            writer->write(group, time, row.data(), row.size());
            oracle.write(group, time, row);
        }
    }

    void write() {
        if (chooseGroup()) {
            writeRow(script.time(lastTime()));
        }
    }

    void writeMany() {
        if (chooseGroup()) {
            static constexpr double steps[] = {1.0, 0.25, 0.0, -1.0};
            const double step = script.oneOf(steps);
            double time = script.time(lastTime());
            for (std::size_t left = script.below(300); left > 0; --left) {
                writeRow(time);
                time += step;
            }
        }
    }

    void rollback() {
        if (chooseGroup()) {
            const double time = script.time(lastTime());
            writer->rollback(group, time);
            oracle.rollbackToTime(group, time);
        }
    }

    void store() { writer->flushIntermediate(); }

    void moveWriter() {
        auto moved = std::make_unique<RecordingStreamWriter>(std::move(*writer));
        writer = std::move(moved);
    }

    /// Steps that are held back are shown by flushIntermediate.
    void compare() {
        if (comparisonsLeft > 0) {
            --comparisonsLeft;
            writer->flushIntermediate();
            if (!reader) {
                reader = open_recording(writer->location());
            }
            reader->refresh();
            compareWith(*reader);
        }
    }

    void refuseWrites() {
        if (chooseGroup()) {
            const Doubles row = rows.row(rowLength(setup.find(Group(group))->second));
            expectThrows<std::logic_error>(
                [&] { writer->write(group, 0.0, row.data(), row.size()); }, "write after flush");
        }
    }

    void compareWith(const Run& run) const {
        const auto groups = run.groups();
        std::set<ValuePath> known;
        std::size_t position = 0;
        for (const auto& [described, data] : setup) {
            const std::size_t g = described.id();
            expectEqual(groups.at(position++).stepCount, oracle.times[g].size(), "steps of ", g);
            for (const LoggedPath& logged : data.paths()) {
                compareSeries(run, g, data, logged, known);
            }
        }
        expectEqual(run.signals().size(), known.size(), "number of signals");
    }

    /// A path belongs to the first group that has its channel.
    void compareSeries(const Run& run, std::size_t g, const LoggedPathsSetupData& data,
                       const LoggedPath& logged, std::set<ValuePath>& known) const {
        std::size_t offset = 0;
        for (const LoggedChannel& channel : data.coreIds()) {
            if (channel.id == logged.id) {
                if (known.insert(logged.path).second) {
                    const Series series = run.series(logged.path);
                    expectSameBits(copy_of(series.times()), oracle.times[g], "times of ",
                                   logged.path);
                    expectSameBits(copy_of(series.values()), column(g, offset, channel.width),
                                   "values of ", logged.path);
                }
                return;
            }
            offset += channel.width;
        }
    }

    Doubles column(std::size_t g, std::size_t offset, std::size_t width) const {
        Doubles values;
        for (const Doubles& row : oracle.rows[g]) {
            const auto first = row.begin() + static_cast<std::ptrdiff_t>(offset);
            values.insert(values.end(), first, first + static_cast<std::ptrdiff_t>(width));
        }
        return values;
    }

    ByteScript& script;
    TemporaryDirectory directory;
    GroupSetup setup;
    bool obeysRegression;
    MemoryOracle oracle;
    std::unique_ptr<RecordingStreamWriter> writer;
    std::unique_ptr<Run> reader;
    RowSource rows;
    std::size_t group = 0;
    std::size_t rowsLeft = 600;
    std::size_t comparisonsLeft = 6;
};

} // namespace

void runScript(ByteScript& script) {
    RecordingScript(script).run();
}

} // namespace logging2::core::test
