#include <logging2/memory/MemoryStreamReader.hpp>
#include <logging2/memory/MemoryStreamRestrictedWriter.hpp>
#include <logging2/memory/MemoryStreamWriter.hpp>

#include <logging2/conformance/detail/memory_oracle.hpp>
#include <tests/fuzz/RowSource.hpp>
#include <tests/fuzz/expectations.hpp>
#include <tests/fuzz/fuzz_target.hpp>
#include <tests/fuzz/script_setups.hpp>

#include <iterator>
#include <memory>
#include <stdexcept>
#include <type_traits>

// Scripts of operations on a memory writer and on other writers that it is moved to. Everything
// that can be read is compared with the plain oracle.

namespace logging2::core::test {
namespace {

using Doubles = std::vector<double>;

/// Up to three groups, inserted in ascending or descending order of their ids.
GroupSetup scriptedSetup(ByteScript& script) {
    GroupSetup setup;
    const std::size_t groupCount = (script.below(4) + 1) % 4;
    const bool backward = script.flag();
    for (std::size_t i = 0; i < groupCount; ++i) {
        setup.insert(Group(backward ? groupCount - 1 - i : i), scriptedGroup(script));
    }
    return setup;
}

template <class Writer>
class MemoryScript {
public:
    explicit MemoryScript(ByteScript& bytes) : script(bytes) { add(); }

    void run() {
        while (!script.atEnd()) {
            step();
        }
        close();
        compareAll();
        refuseUnknownPaths();
        compareWhatOutlivesTheWriters();
    }

private:
    static constexpr bool isRestricted = std::is_same_v<Writer, MemoryStreamRestrictedWriter>;
    static constexpr std::size_t maxSubjectCount = 4;

    struct Subject {
        std::unique_ptr<Writer> writer;
        MemoryOracle oracle;
        bool movedFrom = false;
    };

    void step() {
        using Operation = void (MemoryScript::*)();
        static constexpr Operation operations[] = {&MemoryScript::write,
                                                   &MemoryScript::write,
                                                   &MemoryScript::writeMany,
                                                   &MemoryScript::writeMany,
                                                   &MemoryScript::writeHeldRow,
                                                   &MemoryScript::rollbackToTime,
                                                   &MemoryScript::rollbackToTime,
                                                   &MemoryScript::rollbackByCount,
                                                   &MemoryScript::flush,
                                                   &MemoryScript::flushIntermediate,
                                                   &MemoryScript::close,
                                                   &MemoryScript::compareAll,
                                                   &MemoryScript::add,
                                                   &MemoryScript::turnToAnother,
                                                   &MemoryScript::moveToNew,
                                                   &MemoryScript::moveToAnother};
        (this->*script.oneOf(operations))();
    }

    Subject& subject() { return subjects[current]; }

    /// Chooses a group; returns false if there is none.
    bool chooseGroup() {
        const std::size_t groupCount = subject().oracle.setup.size();
        group = groupCount == 0 ? 0 : script.below(groupCount);
        return groupCount != 0;
    }

    double lastTime() {
        const Doubles& times = subject().oracle.times[group];
        return times.empty() ? 0.0 : times.back();
    }

    std::size_t chosenRowLength() {
        // Values after the last channel are kept but belong to no channel.
        const std::size_t surplus = script.below(4) == 3 ? 2 : 0;
        return surplus + rowLength(subject().oracle.setup.find(Group(group))->second);
    }

    void add() {
        if (subjects.size() == maxSubjectCount) {
            return;
        }
        StreamingAttributes attributes;
        attributes.rollbackOnTimeRegression = script.flag();
        attributes.pointLimit = script.below(200);
        const GroupSetup setup = scriptedSetup(script);
        current = subjects.size();
        subjects.push_back({std::make_unique<Writer>(attributes, setup),
                            {setup, attributes.rollbackOnTimeRegression,
                             isRestricted ? std::optional(attributes.pointLimit) : std::nullopt}});
    }

    void writeRow(double time, const Doubles& row) {
        if (rowsLeft == 0) {
            return;
        }
        --rowsLeft;
        expect(subject().writer->write(group, time, row.data(), row.size()), "write is false");
        subject().oracle.write(group, time, row);
    }

    void write() {
        if (chooseGroup()) {
            const double time = script.time(lastTime());
            writeRow(time, rows.row(chosenRowLength()));
        }
    }

    /// Writes enough rows for a few tiles with four bytes of the script.
    void writeMany() {
        if (!chooseGroup()) {
            return;
        }
        static constexpr double steps[] = {1.0, 0.25, 0.0, -1.0};
        const double step = script.oneOf(steps);
        const std::size_t length = chosenRowLength();
        double time = script.time(lastTime());
        for (std::size_t left = script.below(200); left > 0; --left) {
            writeRow(time, rows.row(length));
            time += step;
        }
    }

    /// Writes values that lie in a row of the writer itself.
    void writeHeldRow() {
        if (!chooseGroup() || subject().oracle.rows[group].empty() || rowsLeft == 0) {
            return;
        }
        --rowsLeft;
        const std::size_t r = script.below(subject().oracle.rows[group].size());
        const double time = script.time(lastTime());
        const auto& held = *subject().writer->data(group)[r];
        const Doubles row = subject().oracle.rows[group][r];
        expect(subject().writer->write(group, time, held.data(), held.size()), "write is false");
        subject().oracle.write(group, time, row);
    }

    void rollbackToTime() {
        if (chooseGroup()) {
            const double time = script.time(lastTime());
            StreamWriter& writer = *subject().writer;
            writer.rollback(group, time);
            subject().oracle.rollbackToTime(group, time);
        }
    }

    void rollbackByCount() {
        if (chooseGroup()) {
            const std::size_t count = script.below(100);
            subject().writer->rollback(group, count);
            subject().oracle.rollbackByCount(group, count);
        }
    }

    /// A flush removes a ring's rows but keeps its times, so a ring is flushed only once.
    void flush() {
        if (!isRestricted || !subject().oracle.flushed) {
            subject().writer->flush();
            subject().oracle.flush();
            compareNow();
        }
    }

    void flushIntermediate() { subject().writer->flushIntermediate(); }

    void close() {
        subject().writer->close();
        subject().oracle.close();
    }

    void turnToAnother() {
        const std::size_t other = script.below(subjects.size());
        current = subjects[other].movedFrom ? current : other;
    }

    void moveToNew() {
        if (subjects.size() < maxSubjectCount) {
            Subject& from = subject();
            Subject moved{std::make_unique<Writer>(std::move(*from.writer)),
                          {{}, false, std::nullopt}};
            moved.oracle.takeOver(from.oracle);
            from.movedFrom = true;
            current = subjects.size();
            subjects.push_back(std::move(moved));
        }
    }

    void moveToAnother() {
        const std::size_t target = script.below(subjects.size());
        Subject& from = subject();
        Subject& to = subjects[target];
        *to.writer = std::move(*from.writer);
        if (target != current) {
            to.oracle.takeOver(from.oracle);
            from.movedFrom = true;
            to.movedFrom = false;
            current = target;
        }
    }

    void compareNow() {
        if (comparisonsLeft > 0) {
            --comparisonsLeft;
            compareAll();
        }
    }

    void compareAll() {
        for (const Subject& each : subjects) {
            compare(each);
        }
    }

    /// A moved-from writer has no groups but keeps its stores.
    static void compare(const Subject& each) {
        for (std::size_t g = 0; g < each.oracle.times.size(); ++g) {
            compareGroup(*each.writer, each.oracle, g);
        }
        expect(!each.writer->dataStoreInfo(), "dataStoreInfo has a value");
        for (const auto& expected : each.oracle.stores) {
            compareSeries(MemoryStreamReader(each.writer->dataStore(expected.first)), expected);
        }
    }

    static void compareGroup(Writer& writer, const MemoryOracle& oracle, std::size_t g) {
        expectEqual(writer.numSteps(g), oracle.times[g].size(), "number of steps of group ", g);
        const auto& times = writer.times(g);
        expectSameBits({times.begin(), times.end()}, oracle.times[g], "times of group ", g);
        const auto& held = writer.data(g);
        expectEqual(held.size(), oracle.rows[g].size(), "number of rows of group ", g);
        for (std::size_t r = 0; r < held.size(); ++r) {
            expectSameBits(*held[r], oracle.rows[g][r], "row ", r, " of group ", g);
        }
    }

    /// Called once per script, because exceptions are slow.
    void refuseUnknownPaths() const {
        for (const Subject& each : subjects) {
            for (std::size_t p = 0; p < scriptedPathCount; ++p) {
                const ValuePath path = scriptedPath(p);
                if (each.oracle.stores.count(path) == 0) {
                    expectThrows<std::out_of_range>([&] { each.writer->dataStore(path); },
                                                    "store of ", path);
                }
            }
        }
    }

    static void compareSeries(const StreamReader& reader,
                              const std::pair<const ValuePath, MemoryOracle::Store>& expected) {
        const auto [times, values] = reader.timeseries();
        expectSameBits(times, expected.second.first, "times of ", expected.first);
        expectSameBits(values, expected.second.second, "values of ", expected.first);
        expectSameBits(reader.times(), times, "times alone of ", expected.first);
    }

    void compareWhatOutlivesTheWriters() {
        for (Subject& each : subjects) {
            std::vector<std::unique_ptr<StreamReader>> readers;
            for (const auto& expected : each.oracle.stores) {
                const MemoryStreamReader reader(each.writer->dataStore(expected.first));
                readers.push_back(reader.clone());
            }
            each.writer.reset();
            auto reader = readers.begin();
            for (const auto& expected : each.oracle.stores) {
                compareSeries(**reader++, expected);
            }
        }
    }

    ByteScript& script;
    RowSource rows;
    std::vector<Subject> subjects;
    std::size_t current = 0;
    std::size_t group = 0;
    std::size_t rowsLeft = 250;
    std::size_t comparisonsLeft = 6;
};

} // namespace

void runScript(ByteScript& script) {
    if (script.flag()) {
        MemoryScript<MemoryStreamRestrictedWriter>(script).run();
    } else {
        MemoryScript<MemoryStreamWriter>(script).run();
    }
}

} // namespace logging2::core::test
