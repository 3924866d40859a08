#include <logging2/backends/columnar/columnar.hpp>
#include <logging2/runs/runs.hpp>

#include <logging2/conformance/detail/memory_oracle.hpp>
#include <tests/fuzz/RowSource.hpp>
#include <tests/fuzz/expectations.hpp>
#include <tests/fuzz/fuzz_target.hpp>
#include <tests/fuzz/script_setups.hpp>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

// Scripts of operations on a columnar writer, with and without a limit. Stores, runs and snapshots
// are compared with the plain oracle; stores that were taken earlier must not change.

namespace logging2::core::test {
namespace {

using Doubles = std::vector<double>;
using Store = MemoryOracle::Store;

class ColumnarScript {
public:
    explicit ColumnarScript(ByteScript& bytes) : script(bytes), oracle({}, false, std::nullopt) {
        StreamingAttributes attributes;
        attributes.rollbackOnTimeRegression = script.flag();
        const std::size_t mode = script.below(4);
        options.byteLimit = mode < 2 ? 0 : 1024 * (4 + script.below(60));
        options.beyondLimit = mode == 2 ? BeyondLimit::refuse : BeyondLimit::discardOldest;
        GroupSetup setup;
        GroupSetup numbered;
        for (std::size_t left = (script.below(4) + 1) % 4; left > 0; --left) {
            const LoggedPathsSetupData data = scriptedGroup(script);
            ids.push_back(left * (script.flag() ? 1 : 0x9E3779B97F4A7C15U));
            setup.insert(Group(ids.back()), data);
            numbered.insert(Group(ids.size() - 1), data);
        }
        writer = std::make_unique<ColumnarStreamWriter>(attributes, setup, options);
        oracle = MemoryOracle(numbered, attributes.rollbackOnTimeRegression, std::nullopt);
        run = writer->run();
    }

    void execute() {
        while (!script.atEnd()) {
            step();
        }
        end();
        compareTaken();
        writer.reset();
        compareTaken();
        compareRun(true);
    }

private:
    struct Taken {
        std::unique_ptr<StreamReader> reader;
        Store expected;
    };

    bool discardsOldest() const {
        return options.byteLimit != 0 && options.beyondLimit == BeyondLimit::discardOldest;
    }

    void step() {
        using Operation = void (ColumnarScript::*)();
        static constexpr Operation operations[] = {
            &ColumnarScript::writeOne,  &ColumnarScript::writeOne,     &ColumnarScript::writeMany,
            &ColumnarScript::writeMany, &ColumnarScript::rollback,     &ColumnarScript::rollback,
            &ColumnarScript::rollback,  &ColumnarScript::takeStores,   &ColumnarScript::refresh,
            &ColumnarScript::snapshot,  &ColumnarScript::moveTheWriter};
        if (ids.empty()) {
            script.byte();
            return;
        }
        group = script.below(ids.size());
        (this->*script.oneOf(operations))();
    }

    double lastTime() const {
        return oracle.times[group].empty() ? 0.0 : oracle.times[group].back();
    }

    void write(double time) {
        if (rowsLeft == 0) {
            return;
        }
        --rowsLeft;
        const Doubles row = rows.row(rowLength(oracle.setup.find(Group(group))->second));
        try {
            expect(writer->write(ids[group], time, row.data(), row.size()), "write is false");
            oracle.write(group, time, row);
        } catch (const std::length_error&) {
            expect(options.byteLimit != 0, "refused without a limit");
        }
        if (discardsOldest()) {
            forgetOldest();
        }
    }

    /// The oracle forgets the oldest steps that the writer has discarded.
    void forgetOldest() {
        run->refresh();
        const std::vector<GroupInfo> found = run->groups();
        for (std::size_t g = 0; g < found.size(); ++g) {
            Doubles& times = oracle.times[g];
            expect(found[g].stepCount <= times.size(), "group ", g, " has too many steps");
            const auto count = static_cast<std::ptrdiff_t>(times.size() - found[g].stepCount);
            times.erase(times.begin(), times.begin() + count);
            oracle.rows[g].erase(oracle.rows[g].begin(), oracle.rows[g].begin() + count);
        }
    }

    void writeOne() { write(script.time(lastTime())); }

    /// Writes enough rows for several pieces.
    void writeMany() {
        static constexpr double steps[] = {1.0, 0.25, 0.0, -1.0};
        const double step = script.oneOf(steps);
        double time = script.time(lastTime());
        for (std::size_t left = script.below(200); left > 0; --left) {
            write(time);
            time += step;
        }
    }

    void rollback() {
        const double time = script.time(lastTime());
        writer->rollback(ids[group], time);
        oracle.rollbackToTime(group, time);
    }

    std::map<ValuePath, Store> expectedStores() const {
        MemoryOracle copy = oracle;
        copy.flush();
        return copy.stores;
    }

    void takeStores() {
        if (takesLeft == 0) {
            return;
        }
        --takesLeft;
        writer->flushIntermediate();
        takeAll();
    }

    void takeAll() {
        for (const auto& [path, expected] : expectedStores()) {
            taken.push_back(
                {std::make_unique<ColumnarStreamReader>(writer->dataStore(path)), expected});
            compare(*taken.back().reader, expected);
        }
    }

    void compareTaken() const {
        for (const Taken& each : taken) {
            compare(*each.reader, each.expected);
        }
    }

    static void compare(const StreamReader& reader, const Store& expected) {
        const auto [times, values] = reader.timeseries();
        expectSameBits(times, expected.first, "times");
        expectSameBits(values, expected.second, "values");
        expectSameBits(reader.times(), times, "times alone");
    }

    void refresh() {
        if (takesLeft > 0) {
            --takesLeft;
            compareRun(false);
        }
    }

    void compareRun(bool hasEnded) {
        run->refresh();
        expect(run->info().state == (hasEnded ? RunState::finished : RunState::running), "state");
        for (const auto& [path, expected] : expectedStores()) {
            const Series series = run->series(path);
            expectSameBits({series.times().begin(), series.times().end()}, expected.first, "run");
            expectSameBits({series.values().begin(), series.values().end()}, expected.second,
                           "values of the run");
        }
    }

    void snapshot() {
        const double from = script.time(lastTime());
        const double to = script.time(lastTime());
        if (takesLeft == 0) {
            return;
        }
        --takesLeft;
        const std::unique_ptr<Run> part = writer->snapshot(from, to);
        const auto isInside = [=](double time) { return from <= time && time <= to; };
        for (const auto& [path, whole] : expectedStores()) {
            const Doubles& times = whole.first;
            const auto first = std::find_if(times.begin(), times.end(), isInside);
            const auto last = std::find_if(times.rbegin(), times.rend(), isInside).base();
            const Series series = part->series(path);
            expectSameBits({series.times().begin(), series.times().end()},
                           first < last ? Doubles(first, last) : Doubles(), "snapshot");
        }
    }

    void moveTheWriter() { writer = std::make_unique<ColumnarStreamWriter>(std::move(*writer)); }

    void end() {
        script.flag() ? writer->flush() : writer->close();
        for (std::size_t p = 0; p < scriptedPathCount; ++p) {
            const ValuePath path = scriptedPath(p);
            if (expectedStores().count(path) == 0) {
                expectThrows<std::out_of_range>([&] { writer->dataStore(path); }, path);
            }
        }
        takeAll();
    }

    ByteScript& script;
    RowSource rows;
    ColumnarOptions options;
    std::vector<std::size_t> ids; // by position
    std::unique_ptr<ColumnarStreamWriter> writer;
    MemoryOracle oracle;
    std::unique_ptr<Run> run;
    std::vector<Taken> taken;
    std::size_t group = 0;
    std::size_t rowsLeft = 400;
    std::size_t takesLeft = 12;
};

} // namespace

void runScript(ByteScript& script) {
    ColumnarScript(script).execute();
}

} // namespace logging2::core::test
