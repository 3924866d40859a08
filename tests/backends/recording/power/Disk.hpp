#pragma once

#include <tests/backends/recording/power/FileJournal.hpp>

#include <tests/support/files.hpp>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace logging2::core::test {

/// What of its changes since the last synchronization a file may have after a loss of power.
class StoredFile {
public:
    void change(const FileEvent& event) {
        pending.push_back(event);
        apply(event, newest);
    }

    void synchronize() {
        durable = withChanges();
        pending.clear();
    }

    /// What has not reached the disk is lost, but the process still sees it: the system takes the
    /// changes for written and never tries again.
    void failToSynchronize(std::mt19937& random) {
        durable = remains(random);
        pending.clear();
    }

    /// As the process saw it.
    const std::string& content() const { return newest; }

    /// What the last synchronization has left.
    const std::string& certainContent() const { return durable; }

    /// What a loss of power may leave: some of the changes, in some order, torn at sectors. The
    /// disk may know of a greater length before it has the bytes, and the reverse; a truncation
    /// happens as a whole.
    std::string remains(std::mt19937& random) const {
        std::string bytes = durable;
        std::vector<FileEvent> kept = pending;
        switch (random() % 6) {
        case 0:
        case 1:
            return withChanges();
        case 2:
            kept.resize(random() % (kept.size() + 1));
            break;
        case 3:
            keepSome(kept, random);
            break;
        case 4:
            kept = sectorsOf(kept, random() % 2 == 0 ? 512 : 4096);
            keepSome(kept, random);
            break;
        default:
            kept = sectorsOf(kept, 512);
            std::shuffle(kept.begin(), kept.end(), random);
            keepSome(kept, random);
        }
        for (const FileEvent& event : kept) {
            apply(event, bytes);
        }
        if (random() % 4 == 0 && !isTruncated()) {
            changeLength(bytes, random);
        }
        return bytes;
    }

private:
    static void apply(const FileEvent& event, std::string& bytes) {
        if (event.kind == FileEvent::Kind::truncate) {
            bytes.resize(event.number);
            return;
        }
        bytes.resize(std::max(bytes.size(), event.number + event.bytes.size()));
        std::copy(event.bytes.begin(), event.bytes.end(),
                  bytes.begin() + static_cast<std::ptrdiff_t>(event.number));
    }

    std::string withChanges() const {
        std::string bytes = durable;
        for (const FileEvent& event : pending) {
            apply(event, bytes);
        }
        return bytes;
    }

    static void keepSome(std::vector<FileEvent>& events, std::mt19937& random) {
        // Often only a few are missing, or only a few are there.
        const std::size_t share = random() % 100;
        events.erase(std::remove_if(events.begin(), events.end(),
                                    [&](const FileEvent&) { return random() % 100 < share; }),
                     events.end());
    }

    static std::vector<FileEvent> sectorsOf(const std::vector<FileEvent>& events,
                                            std::size_t sectorByteCount) {
        std::vector<FileEvent> result;
        for (const FileEvent& event : events) {
            if (event.kind == FileEvent::Kind::truncate) {
                result.push_back(event);
                continue;
            }
            for (std::size_t first = 0; first < event.bytes.size();) {
                const std::size_t offset = event.number + first;
                const std::size_t count = sectorByteCount - offset % sectorByteCount;
                result.push_back(
                    {event.kind, event.path, event.bytes.substr(first, count), offset});
                first += count;
            }
        }
        return result;
    }

    bool isTruncated() const {
        return std::any_of(pending.begin(), pending.end(), [](const FileEvent& event) {
            return event.kind == FileEvent::Kind::truncate;
        });
    }

    void changeLength(std::string& bytes, std::mt19937& random) const {
        const std::size_t greatest = std::max(newest.size(), durable.size());
        bytes.resize(durable.size() + random() % (greatest - durable.size() + 1));
    }

    std::string durable;
    std::string newest;
    std::vector<FileEvent> pending;
};

/// A disk on which the events of a journal happen one after the other. A file's bytes are certain
/// to be there when the file was synchronized, its name when its directory was.
class Disk {
public:
    /// The directory exists for certain.
    explicit Disk(std::filesystem::path existing) : root(std::move(existing)) {}

    void happen(const FileEvent& event, std::mt19937& random) {
        switch (event.kind) {
        case FileEvent::Kind::makeFile:
        case FileEvent::Kind::makeDirectory:
            changeName({event.path, std::make_shared<StoredFile>(),
                        event.kind == FileEvent::Kind::makeDirectory});
            break;
        case FileEvent::Kind::remove:
            changeName({event.path, nullptr, false});
            break;
        case FileEvent::Kind::synchronize:
            synchronize(event.path);
            break;
        case FileEvent::Kind::failedSynchronization:
            newest.at(event.path).file->failToSynchronize(random);
            break;
        case FileEvent::Kind::note:
            break;
        default:
            if (const auto found = newest.find(event.path); found != newest.end()) {
                found->second.file->change(event);
            }
        }
    }

    /// The system writes to the disk what it likes, although nobody has asked for it.
    void writeBack(std::mt19937& random) {
        for (const auto& name : newest) {
            if (random() % 2 == 0) {
                synchronize(name.first);
            }
        }
    }

    /// Makes the files as the process saw them.
    void leaveAll(const std::filesystem::path& directory) const {
        write(newest, directory, [](const StoredFile& file) { return file.content(); });
    }

    /// Makes the files as far as they are certain to be there.
    void leaveCertain(const std::filesystem::path& directory) const {
        write(durable, directory, [](const StoredFile& file) { return file.certainContent(); });
    }

    /// Makes the files as a loss of power may leave them.
    void leaveSome(const std::filesystem::path& directory, std::mt19937& random) const {
        Names names = durable;
        // Mostly all of them.
        const std::size_t share = random() % 5;
        for (const Name& change : pending) {
            if (random() % 2 < share) {
                apply(change, names);
            }
        }
        write(names, directory, [&](const StoredFile& file) { return file.remains(random); });
    }

private:
    struct Name {
        std::string path;
        std::shared_ptr<StoredFile> file; ///< none if the name is removed
        bool isDirectory;
    };
    using Names = std::map<std::string, Name>;

    static void apply(const Name& change, Names& names) {
        if (change.file) {
            names[change.path] = change;
        } else {
            names.erase(change.path);
        }
    }

    void changeName(const Name& change) {
        apply(change, newest);
        pending.push_back(change);
    }

    void synchronize(const std::string& path) {
        if (const auto found = newest.find(path);
            found != newest.end() && !found->second.isDirectory) {
            found->second.file->synchronize();
            return;
        }
        const auto isThere = [&](const Name& change) {
            return std::filesystem::path(change.path).parent_path() == path;
        };
        for (const Name& change : pending) {
            if (isThere(change)) {
                apply(change, durable);
            }
        }
        pending.erase(std::remove_if(pending.begin(), pending.end(), isThere), pending.end());
    }

    /// A parent's name comes before its children's.
    template <class ContentOf>
    void write(const Names& names, const std::filesystem::path& directory,
               ContentOf contentOf) const {
        for (const auto& [path, name] : names) {
            const auto place = directory / std::filesystem::path(path).lexically_relative(root);
            if (!std::filesystem::exists(place.parent_path())) {
                continue;
            }
            if (name.isDirectory) {
                std::filesystem::create_directory(place);
            } else {
                writeBytes(place, contentOf(*name.file));
            }
        }
    }

    std::filesystem::path root;
    Names durable;
    Names newest;
    std::vector<Name> pending;
};

} // namespace logging2::core::test
