#pragma once

#include <logging2/backends/recording/RecordingOptions.hpp>
#include <logging2/backends/recording/detail/ChunkEncoder.hpp>
#include <logging2/backends/recording/detail/ChunkPacker.hpp>
#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace logging2::core::detail {

/// A chunk that is to be written.
struct PendingChunk {
    const ChunkEncoder* encoder;
    std::shared_ptr<const ChunkLayout> layout;
    const double* rows;
    RecordHeader header; ///< without kind, length and hashes
    ChunkRow row;        ///< filled by ChunkWriter
};

/// Makes the records of chunks and writes them to a data file, on the calling thread and on one of
/// its own. For one calling thread at a time.
class ChunkWriter {
public:
    /// The file must outlive the object.
    ChunkWriter(DataFile& dataFile, Compression compression);
    ChunkWriter(const ChunkWriter&) = delete;
    ChunkWriter& operator=(const ChunkWriter&) = delete;
    ~ChunkWriter();

    /// Writes the records one after the other from the offset on, fills their rows, and returns
    /// where they end. If it throws, some of them may be in the file.
    std::uint64_t write(std::vector<PendingChunk>& chunks, std::uint64_t offset);

private:
    using Lock = std::unique_lock<std::mutex>;

    /// What one thread works with.
    struct Workspace {
        std::unique_ptr<char[]> memory;
        std::size_t capacity = 0;
        std::optional<ChunkPacker> packer; ///< if chunks are to be packed

        char* first(std::size_t byteCount);
    };

    /// Chunks that are written by one call.
    struct Stretch {
        std::size_t first;
        std::size_t end;
    };

    void startHelper() noexcept;
    void help();
    void work(Workspace& workspace);
    Stretch takeStretch();
    std::size_t encode(Workspace& workspace, Stretch stretch);
    static std::size_t encode(Workspace& workspace, PendingChunk& chunk, char* place);
    std::optional<std::uint64_t> takePlace(Stretch stretch);
    void giveUp() noexcept;

    DataFile& file;
    std::array<Workspace, 2> workspaces; ///< of the calling thread and of the helper

    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by the mutex; the chunks of a stretch belong to the thread that has taken it.
    std::vector<PendingChunk>* pending = nullptr;
    std::size_t nextToEncode = 0;
    std::size_t nextToPlace = 0;
    std::uint64_t end = 0;
    std::exception_ptr failure;
    bool isHelping = false;
    bool isStopping = false;

    std::thread helper; ///< started for the first large call
};

} // namespace logging2::core::detail
