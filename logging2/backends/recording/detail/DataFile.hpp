#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>

namespace logging2::core::detail {

/// An open file of a recording. Errors are thrown as RecordingError, with the file's name and the
/// system's reason. Threads: reading is safe on any thread.
class DataFile {
public:
    /// Makes a new file with these permissions, whatever the umask, for reading and writing.
    static DataFile create(const std::string& name, mode_t mode);

    /// Opens the file for reading only.
    static DataFile open(const std::string& name);

    DataFile(DataFile&& other) noexcept;
    DataFile(const DataFile&) = delete;
    DataFile& operator=(DataFile&&) = delete;
    DataFile& operator=(const DataFile&) = delete;
    ~DataFile();

    const std::string& name() const noexcept { return path; }

    std::uint64_t byteCount() const;

    /// Throws if the file was deleted: what is written to it would be lost.
    void checkPlace() const;

    /// Writes all of the bytes at the offset.
    void write(const void* bytes, std::size_t byteCount, std::uint64_t offset);

    /// Lets reserve() work, if the file system profits from it: ext4 then writes in a third less
    /// time.
    void reserveAhead();

    /// Reserves room on the disk for the bytes up to the end and more, unless that was done. If the
    /// room is missing, write() will tell.
    void reserve(std::uint64_t end) noexcept;

    /// Gives back what was reserved and not written.
    void giveBackReserved() noexcept;

    /// Waits until the disk has the content.
    void synchronize();

    /// Reads all of the bytes at the offset, into the two places one after the other. Throws if the
    /// file ends before.
    void read(void* to, std::size_t byteCount, std::uint64_t offset) const;
    void read(iovec first, iovec second, std::uint64_t offset) const;

    /// Reads so many elements at the offset. Throws before it allocates much if the file ends
    /// before. The size of the file is not asked for when little is read, because that would take
    /// a third of the time.
    template <class Element>
    std::vector<Element> elements(std::size_t count, std::uint64_t offset) const {
        if (count > uncheckedByteCount / sizeof(Element)) {
            requireBytes(count * sizeof(Element), offset);
        }
        std::vector<Element> result(count);
        read(result.data(), count * sizeof(Element), offset);
        return result;
    }

    /// Whether the file has so many bytes at the offset.
    bool hasBytes(std::uint64_t count, std::uint64_t offset) const;

    /// Throws if the file ends before.
    void requireBytes(std::uint64_t count, std::uint64_t offset) const;

    /// Claims the file for the process that writes it, as long as this object lives. Throws if
    /// another one has claimed it.
    void claim();

    /// Ends the claim.
    void release() const noexcept;

    /// Whether a writer has claimed the file.
    bool isClaimed() const;

    /// The first byteCount bytes of the file in memory, read-only. The mapping outlives this
    /// object.
    std::shared_ptr<const char> map(std::uint64_t byteCount) const;

private:
    static constexpr std::size_t uncheckedByteCount = std::size_t{64} * 1024;

    DataFile(std::string&& name, int fileDescriptor) noexcept;

    struct stat status() const;
    [[noreturn]] void failTooShort() const;
    int tryToClaim() noexcept;

    std::string path;
    int descriptor;
    std::uint64_t reservedEnd = std::numeric_limits<std::uint64_t>::max();
};

/// Waits until the disk has the entries of the directory.
void synchronize_directory(const std::string& name);

/// The system's text for an error number.
std::string text_of_error(int error);

} // namespace logging2::core::detail
