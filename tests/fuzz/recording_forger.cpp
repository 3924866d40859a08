#include <logging2/backends/recording/recording.hpp>

#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/backends/recording/repaired_hashes.hpp>
#include <tests/fuzz/ForgedFiles.hpp>
#include <tests/fuzz/expectations.hpp>
#include <tests/fuzz/fuzz_target.hpp>
#include <tests/support/files.hpp>
#include <tests/support/setups.hpp>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

// Recordings that were changed on purpose: their hashes fit, so that everything behind the hashes
// is reached. Nothing but a RecordingError may come of it, and a recording without findings can be
// read and copied.

namespace logging2::core::test {
namespace {

namespace fs = std::filesystem;

/// Wider channels are not drawn, because the caller's buckets would need the memory.
constexpr std::size_t greatestDrawnWidth = 4096;

GroupSetup forgedSetup() {
    return {
        {Group(0), LoggedPathsSetupData(paths({{"x", 1}}), channels({{1, 1}}))},
        {Group(5), LoggedPathsSetupData(paths({{"y", 7}, {"z", 2}}), channels({{7, 1}, {2, 3}}))}};
}

/// The files of a finished recording.
struct Original {
    std::string samples;
    std::string index;

    explicit Original(Compression compression) {
        const TemporaryDirectory directory;
        RecordingOptions options;
        options.directory = directory.path().string();
        options.compression = compression;
        options.commitInterval = std::chrono::hours(1);
        RecordingStreamWriter writer(StreamingAttributes{}, forgedSetup(), options);
        const auto writeTo = [&](std::size_t first, std::size_t end) {
            for (std::size_t s = first; s < end; ++s) {
                const auto time = static_cast<double>(s);
                const double row[] = {time * time, 1.0 / (time + 1.0), -time, 3.0};
                writer.write(0, time, row, 1);
                if (s % 20 == 0) {
                    writer.write(5, time, row, 4);
                }
            }
        };
        writeTo(0, 9000);
        writer.flushIntermediate();
        writer.rollback(0, 8900);
        writeTo(8950, 9100);
        writer.flush();
        samples = bytesOf(fs::path(writer.location()) / "samples.bin");
        index = bytesOf(fs::path(writer.location()) / "index.sqlite");
    }
};

const Original& original(bool isPacked) {
    static const Original packed(Compression::lz4);
    static const Original plain(Compression::none);
    return isPacked ? packed : plain;
}

/// A table of the index: the columns that tell its rows apart, and the others.
struct Table {
    const char* name;
    const char* key;
    std::vector<const char*> columns;
};

const Table tables[] = {
    {"run", "key", {"value"}},
    {"property", "key", {"value"}},
    {"signal_group", "position", {"position", "id", "steps", "shown_steps"}},
    {"channel", "signal_group, position", {"signal_group", "position", "number"}},
    {"path", "text", {"signal_group", "channel", "text"}},
    {"chunk",
     "signal_group, first_step",
     {"signal_group", "first_step", "sequence", "steps", "stored_steps", "offset", "byte_count",
      "first_time", "last_time", "least_time", "greatest_time", "nan_times", "ascends",
      "greatest_so_far"}}};

class ForgerScript {
public:
    explicit ForgerScript(ByteScript& bytes)
        : script(bytes),
          files(original(bytes.flag())),
          data(files.samples, {{1}, {1, 3}}) {}

    void run() {
        for (std::size_t left = 6; left > 0 && !script.atEnd(); --left) {
            change();
        }
        data.repair();
        data.content().resize(data.content().size() * keptShare / 1000);
        fs::create_directory(directory);
        writeBytes(directory / "samples.bin", data.content());
        writeBytes(directory / "index.sqlite", files.index);
        try {
            change_index(directory / "index.sqlite", statements);
        } catch (const std::runtime_error&) {
            return; // SQLite refuses the change.
        }
        ask();
    }

private:
    void change() {
        switch (script.below(8)) {
        case 0:
        case 1:
        case 2:
            changeRow();
            break;
        case 3:
            changeRowCount();
            break;
        case 4:
            data.put(anyRecord() + 8 * script.below(16), number());
            break;
        case 5:
            data.put(anyRecord() + 128 + 8 * script.below(2000), number());
            break;
        case 6:
            changeWidth();
            break;
        default:
            keptShare = script.below(1000);
        }
    }

    std::size_t anyRecord() {
        const auto& records = data.recordOffsets();
        return records[script.below(records.size())];
    }

    std::uint64_t number() {
        const std::uint64_t special[] = {0,
                                         1,
                                         2,
                                         63,
                                         64,
                                         100,
                                         128,
                                         8192,
                                         std::uint64_t{1} << 20,
                                         std::uint64_t{1} << 31,
                                         std::uint64_t{1} << 32,
                                         std::uint64_t{1} << 40,
                                         std::uint64_t{1} << 53,
                                         std::uint64_t{1} << 59,
                                         std::uint64_t{1} << 62,
                                         std::uint64_t{1} << 63,
                                         0x7ff8000000000000,
                                         0x7ff0000000000000,
                                         0x3ff0000000000000,
                                         files.samples.size()};
        switch (script.below(4)) {
        case 0:
            return script.below(65536);
        case 1:
            return 0 - special[script.below(std::size(special))];
        default:
            return special[script.below(std::size(special))] + script.below(3) - 1;
        }
    }

    std::string value(const char* column) {
        const std::string sign = script.flag() ? " + " : " - ";
        switch (script.below(6)) {
        case 0:
            return std::string(column) + sign + std::to_string(script.below(10000));
        case 1:
            return script.flag() ? "NULL" : "1e999";
        case 2:
            return quoted(script.text(16));
        case 3:
            return std::string("(SELECT max(") + column + ") FROM chunk)";
        default:
            return std::to_string(static_cast<std::int64_t>(number()));
        }
    }

    static std::string quoted(const std::string& text) {
        std::string result = "CAST(x'";
        for (const char character : text) {
            const auto byte = static_cast<unsigned char>(character);
            result += "0123456789abcdef"[byte / 16];
            result += "0123456789abcdef"[byte % 16];
        }
        return result + "' AS TEXT)";
    }

    std::string oneRowOf(const Table& table) {
        return std::string(" WHERE (") + table.key + ") = (SELECT " + table.key + " FROM " +
               table.name + " LIMIT 1 OFFSET " + std::to_string(script.below(12)) + ");";
    }

    void changeRow() {
        const Table& table = script.flag() ? tables[5] : script.oneOf(tables);
        const char* const column = table.columns[script.below(table.columns.size())];
        statements += std::string("UPDATE OR IGNORE ") + table.name + " SET " + column + " = " +
                      value(column) + oneRowOf(table);
    }

    void changeRowCount() {
        const Table& table = script.oneOf(tables);
        if (script.flag()) {
            statements += std::string("DELETE FROM ") + table.name + oneRowOf(table);
        } else {
            statements += "INSERT OR IGNORE INTO chunk SELECT signal_group, first_step + " +
                          std::to_string(script.below(10000)) +
                          ", sequence, steps, stored_steps, offset, byte_count, first_time, "
                          "last_time, least_time, greatest_time, nan_times, ascends, "
                          "greatest_so_far, hash FROM chunk" +
                          oneRowOf(tables[5]);
        }
    }

    /// In both files, so that the description fits.
    void changeWidth() {
        const bool isScalar = script.flag();
        const std::uint64_t width = number();
        std::string text = data.description();
        const std::size_t begin = text.find(isScalar ? "channel 7 " : "channel 2 ") + 10;
        if (begin < 10) {
            return;
        }
        text.replace(begin, text.find('\n', begin) - begin, std::to_string(width));
        text.resize(text.find_last_not_of('\0') + 1);
        const std::size_t distance = data.describe(text);
        data.setWidth(1, isScalar ? 0 : 1, width);
        drawn = drawn && width <= greatestDrawnWidth;
        statements +=
            "UPDATE channel SET width = " + std::to_string(static_cast<std::int64_t>(width)) +
            (isScalar ? " WHERE number = 7;" : " WHERE number = 2;") +
            "UPDATE chunk SET offset = offset + " +
            std::to_string(static_cast<std::int64_t>(distance)) + ";";
    }

    /// Whether the call succeeds. Other errors than those of a recording come out.
    template <class Call>
    static bool works(const Call& call) {
        try {
            call();
            return true;
        } catch (const RecordingError& error) {
            expect(std::string(error.what()).find("what was written is damaged") ==
                       std::string::npos,
                   error.what());
            return false;
        }
    }

    void ask() {
        const RecordingCheck check = check_recording(directory.string());
        const bool isWhole = check.findingCount == 0;
        expect(works([this] { readAll(); }) || !isWhole, "it cannot be read, but has no findings");
        list_recordings(parent.path().string());
        RecordingOptions options;
        const std::string copy = (parent.path() / "copy").string();
        if (works([&] { copy_recording(directory.string(), copy, options); })) {
            expect(check_recording(copy).findingCount == 0, "the copy is damaged");
        } else {
            expect(!isWhole, "it cannot be copied, but has no findings");
        }
        works([&] {
            rebuild_recording(directory.string(), (parent.path() / "rebuilt").string(), options);
        });
    }

    void readAll() {
        const auto run = open_recording(directory.string());
        run->refresh();
        run->info();
        run->groups();
        bool isReadable = true;
        for (const SignalInfo& signal : run->signals()) {
            isReadable = works([&] { run->series(signal.path); }) && isReadable;
            isReadable = works([&] { run->series(signal.path, 100.0, 8300.0); }) && isReadable;
            isReadable = works([&] {
                             if (drawn) {
                                 run->overview(signal.path, 0.0, 9000.0, 5);
                                 if (signal.width > 0) {
                                     run->outline(signal.path, 0, 0.0, 9000.0, 5);
                                 }
                             }
                         }) &&
                         isReadable;
        }
        if (!isReadable) {
            throw RecordingError(directory.string(), "a signal cannot be read");
        }
    }

    ByteScript& script;
    const Original& files;
    ForgedData data;
    std::string statements;
    std::size_t keptShare = 1000; ///< of the data file, in thousandths
    bool drawn = true;
    TemporaryDirectory parent;
    fs::path directory = parent.path() / "x.recording";
};

} // namespace

void runScript(ByteScript& script) {
    ForgerScript(script).run();
}

} // namespace logging2::core::test
