#include <logging2/native/NativeStreamReader.hpp>
#include <logging2/native/NativeStreamWriter.hpp>

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <tests/fuzz/DrivenWriter.hpp>
#include <tests/fuzz/RowSource.hpp>
#include <tests/fuzz/expectations.hpp>
#include <tests/fuzz/fuzz_target.hpp>
#include <tests/fuzz/script_setups.hpp>
#include <tests/native/native_oracle.hpp>
#include <tests/support/WarningRecorder.hpp>
#include <tests/support/files.hpp>

#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

// Scripts of operations on the file-backed writer. The files are compared with the plain oracle and
// then read back. The script decides when the thread takes a batch, so the result does not depend
// on its speed.

namespace logging2::core::test {
namespace {

using Doubles = std::vector<double>;

GroupSetup scriptedSetup(ByteScript& script) {
    static constexpr std::size_t ids[] = {0, 1, 12, 200, std::size_t{1} << 32U};
    GroupSetup setup;
    for (std::size_t left = 1 + script.below(4); left > 0; --left) {
        const Group group(script.oneOf(ids));
        setup.insert(group, scriptedGroup(script));
    }
    return setup;
}

StreamingAttributes named(const std::string& name) {
    StreamingAttributes attributes;
    attributes.name = BasicTableString<char>(name);
    return attributes;
}

/// Widens each byte as a signed number.
std::u16string widened(const std::string& bytes) {
    std::u16string text;
    for (const char byte : bytes) {
        text += static_cast<char16_t>(static_cast<std::int16_t>(static_cast<signed char>(byte)));
    }
    return text;
}

class NativeScript {
public:
    explicit NativeScript(ByteScript& bytes)
        : script(bytes),
          startsHeld(script.flag()),
          name(script.text(4)),
          setup(scriptedSetup(script)),
          writer(named(name), setup, script.flag()),
          oracle(setup, shrunkenBuffers(),
                 startsHeld ? NativeOracle::Thread::takesAtStop
                            : NativeOracle::Thread::takesAtOnce) {
        if (startsHeld) {
            writer.holdThread();
        }
    }

    void run() {
        while (!script.atEnd()) {
            step();
            writer.settle();
        }
        writer.flush();
        oracle.flush();
        compareFiles();
        readBack();
    }

private:
    using Names = std::pair<std::string, std::string>;

    std::map<std::size_t, std::size_t> shrunkenBuffers() {
        static constexpr std::size_t capacities[] = {1, 2, 3, 5, 9, 63, 64, 65, 130};
        std::map<std::size_t, std::size_t> chosen;
        for (const auto& entry : setup) {
            const std::size_t capacity = script.oneOf(capacities);
            chosen.emplace(entry.first.id(), capacity);
            Access::setBufferSize(*writer, entry.first.id(), capacity);
        }
        return chosen;
    }

    void step() {
        using Operation = void (NativeScript::*)();
        static constexpr Operation operations[] = {
            &NativeScript::write,         &NativeScript::write,
            &NativeScript::write,         &NativeScript::writeMany,
            &NativeScript::writeMany,     &NativeScript::flushIntermediate,
            &NativeScript::clearBuffer,   &NativeScript::rollback,
            &NativeScript::letTake,       &NativeScript::removeFiles,
            &NativeScript::compareSettled};
        (this->*script.oneOf(operations))();
    }

    /// Usually the channels' total width, sometimes another length.
    std::size_t chosenRowLength(const LoggedPathsSetupData& data) {
        return script.below(8) == 7 ? script.below(24) : rowLength(data);
    }

    void writeRow(std::size_t group, double time, const Doubles& row) {
        if (rowsLeft == 0) {
            return;
        }
        --rowsLeft;
        expect(writer->write(group, time, row.data(), row.size()), "write is false");
        oracle.write(group, time, row);
        writer.settle();
    }

    void write() {
        const auto& [group, data] = *(setup.begin() + script.below(setup.size()));
        const double time = script.time(1.0);
        writeRow(group.id(), time, rows.row(chosenRowLength(data)));
    }

    void writeMany() {
        const auto& [group, data] = *(setup.begin() + script.below(setup.size()));
        const std::size_t length = chosenRowLength(data);
        double time = script.time(1.0);
        for (std::size_t left = script.below(140); left > 0; --left) {
            writeRow(group.id(), time, rows.row(length));
            time += 1.0;
        }
    }

    void flushIntermediate() {
        if (costlyLeft > 0) {
            --costlyLeft;
            writer->flushIntermediate();
            oracle.flushIntermediate();
        }
    }

    void clearBuffer() {
        writer->clearBuffer();
        oracle.clearBuffer();
    }

    void rollback() {
        const WarningRecorder recorder;
        writer->rollback(0, script.time(1.0));
        expectEqual(recorder.warnings.size(), 1U, "number of warnings");
        const foundation::Message& message = recorder.warnings.front();
        expectEqual(message.catalog(), "vantrel:common:logging2:core:common", "catalogue");
        expectEqual(message.key(), "RollbackNotSupported", "key of the warning");
        expect(message.arguments() == std::vector{widened(name)}, "the warning has another name");
    }

    /// From here on, the thread takes each batch at once.
    void letTake() {
        writer.openGate();
        writer.settle();
        oracle.startTaking();
    }

    /// Later writes create the files again.
    void removeFiles() {
        for (const auto& [file, doubles] : filesIn(directory)) {
            std::filesystem::remove(pathOf(file));
        }
        oracle.files.clear();
    }

    void compareSettled() {
        if (costlyLeft > 0) {
            --costlyLeft;
            writer.settle();
            compareFiles();
        }
    }

    std::filesystem::path pathOf(const std::string& file) const {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(directory.path())) {
            if (shortName(entry.path()) == file) {
                return entry.path();
            }
        }
        return {};
    }

    /// The name without the unique stem: "times_0" or "values_0_1".
    static std::string shortName(const std::filesystem::path& file) {
        const std::string name = file.filename();
        return name.substr(name.find('_') + 1);
    }

    static std::map<std::string, Doubles> filesIn(const SystemTempDirectory& directory) {
        std::map<std::string, Doubles> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(directory.path())) {
            if (!entry.is_directory()) {
                const std::string name = shortName(entry.path());
                expectEqual(entry.file_size() % sizeof(double), 0U, "odd bytes of ", name);
                expect(files.emplace(name, doublesOf(entry.path())).second, name, " exists twice");
            }
        }
        return files;
    }

    void compareFiles() const {
        const auto files = filesIn(directory);
        for (const auto& [file, doubles] : oracle.files) {
            expect(files.count(file) == 1, file, " is missing");
        }
        for (const auto& [file, doubles] : files) {
            const auto expected = oracle.files.find(file);
            expect(expected != oracle.files.end(), file, " is not expected");
            expectSameBits(doubles, expected->second, file);
        }
    }

    /// The names of the files of each path that has a store.
    std::map<ValuePath, Names> storedPaths() const {
        std::map<ValuePath, Names> names;
        for (const auto& [group, data] : setup) {
            const std::string g = std::to_string(group.id());
            for (const LoggedPath& logged : data.paths()) {
                names.emplace(logged.path, Names("times_" + g, "values_" + g + "_" +
                                                                   std::to_string(logged.id())));
            }
        }
        return names;
    }

    Doubles expectedIn(const std::string& file) const {
        const auto found = oracle.files.find(file);
        return found == oracle.files.end() ? Doubles() : found->second;
    }

    /// All readers live until all of them have read, because each deletes its files.
    void readBack() const {
        std::vector<std::unique_ptr<StreamReader>> readers;
        auto left = oracle.files;
        for (const auto& [path, names] : storedPaths()) {
            readers.push_back(std::make_unique<NativeStreamReader>(writer->dataStore(path)));
            const auto [times, values] = readers.back()->timeseries();
            expectSameBits(times, expectedIn(names.first), "times of ", path);
            expectSameBits(values, expectedIn(names.second), "values of ", path);
            left.erase(names.first);
            left.erase(names.second);
        }
        readers.clear();
        expectThrows<std::out_of_range>([&] { writer->dataStore(ValuePath("absent")); },
                                        "store of a path that is not logged");
        const auto files = filesIn(directory);
        expectEqual(files.size(), left.size(), "number of files that no reader deletes");
        for (const auto& [file, doubles] : left) {
            expect(files.count(file) == 1, file, " was deleted although it belongs to no reader");
        }
    }

    ByteScript& script;
    SystemTempDirectory directory;
    bool startsHeld;
    std::string name;
    GroupSetup setup;
    DrivenWriter writer;
    NativeOracle oracle;
    RowSource rows;
    std::size_t rowsLeft = 500;
    std::size_t costlyLeft = 12;
};

} // namespace

void runScript(ByteScript& script) {
    NativeScript(script).run();
}

} // namespace logging2::core::test
