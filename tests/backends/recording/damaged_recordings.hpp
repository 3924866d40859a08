#pragma once

#include <tests/backends/recording/recordings.hpp>

#include <tests/support/files.hpp>

#include <sqlite3.h>

#include <filesystem>
#include <stdexcept>

namespace logging2::core::test {

/// Runs statements on an SQLite database, which is made if it is missing.
inline void run_sql(const std::filesystem::path& file, const std::string& statements) {
    sqlite3* database = nullptr;
    sqlite3_open(file.c_str(), &database);
    char* message = nullptr;
    sqlite3_exec(database, statements.c_str(), nullptr, nullptr, &message);
    const std::string error = message == nullptr ? "" : message;
    sqlite3_free(message);
    sqlite3_close(database);
    if (!error.empty()) {
        throw std::runtime_error(error);
    }
}

/// The first value of a query's first row.
inline std::int64_t number_in(const std::filesystem::path& file, const char* query) {
    std::int64_t result = 0;
    sqlite3* database = nullptr;
    sqlite3_open(file.c_str(), &database);
    const auto keep = [](void* place, int, char** values, char**) {
        *static_cast<std::int64_t*>(place) = std::stoll(values[0]);
        return 0;
    };
    sqlite3_exec(database, query, keep, &result, nullptr);
    sqlite3_close(database);
    return result;
}

/// A finished recording with a chunk of 600 steps and one of 100, of "x" and the pair "v".
class DamagedRecordingTest : public RecordingTest {
protected:
    static constexpr std::size_t longStepCount = 600;
    static constexpr std::size_t stepCount = 700;

    explicit DamagedRecordingTest(Compression compression = Compression::none) {
        options.compression = compression;
        options.properties = {{"model", "ball"}};
        const GroupSetup setup{{Group(3), LoggedPathsSetupData(paths({{"x", 0}, {"v", 1}}),
                                                               channels({{0, 1}, {1, 2}}))}};
        const auto writer = makeWriter(setup);
        location = writer->location();
        for (std::size_t s = 0; s < stepCount; ++s) {
            const auto time = static_cast<double>(s);
            write(*writer, 3, time / 10.0, {time * time, -time, 1.0 / (time + 1.0)});
            if (s + 1 == longStepCount) {
                writer->flushIntermediate();
            }
        }
        writer->flush();
    }

    std::filesystem::path samples() const { return location / "samples.bin"; }
    std::filesystem::path index() const { return location / "index.sqlite"; }

    static void flip(const std::filesystem::path& file, std::size_t offset, int mask = 1) {
        std::string bytes = bytesOf(file);
        bytes.at(offset) = static_cast<char>(bytes.at(offset) ^ mask);
        writeBytes(file, bytes);
    }

    /// Where the header of the long chunk begins.
    std::size_t chunkOffset() const {
        return static_cast<std::size_t>(
            number_in(index(), "SELECT offset FROM chunk WHERE first_step = 0"));
    }

    std::unique_ptr<core::Run> opened() const { return open_recording(location.string()); }

    /// Asks for everything; the first error comes out.
    void readAll() const {
        const auto run = opened();
        run->info();
        run->groups();
        for (const SignalInfo& signal : run->signals()) {
            run->series(signal.path);
            run->series(signal.path, 10.0, 65.0);
            run->overview(signal.path, 0.0, 70.0, 7);
        }
    }

    std::filesystem::path location;
};

} // namespace logging2::core::test
