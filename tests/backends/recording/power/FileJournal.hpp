#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace logging2::core::test {

/// A change of the files in a directory, or a note of the test between such changes.
struct FileEvent {
    enum class Kind {
        makeFile,
        makeDirectory,
        remove,
        write,
        truncate,
        synchronize,
        failedSynchronization,
        note
    };
    Kind kind = Kind::note;
    std::string path;
    std::string bytes;      ///< of a write
    std::size_t number = 0; ///< the offset of a write, the length of a truncation, or the note
};

/// Keeps what the process does to the files below a directory while the object lives, in the order
/// in which the system did it. What is written through mapped memory is missing.
///
/// Linking its source file puts functions of the same names before those of the C library. Use it
/// in a separate executable, one object at a time.
class FileJournal {
public:
    explicit FileJournal(const std::filesystem::path& directory);
    ~FileJournal();
    FileJournal(const FileJournal&) = delete;
    FileJournal& operator=(const FileJournal&) = delete;

    /// Adds a note.
    static void note(std::size_t number);

    /// From now on, a synchronization fails if the function says so.
    static void failSynchronizations(std::function<bool()> failsNow);

    /// What was done so far.
    static std::vector<FileEvent> events();
};

} // namespace logging2::core::test
