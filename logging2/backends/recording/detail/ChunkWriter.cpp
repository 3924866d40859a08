#include <logging2/backends/recording/detail/ChunkWriter.hpp>

#include <logging2/backends/recording/detail/add_times.hpp>
#include <logging2/backends/recording/detail/doubles_at.hpp>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <utility>

namespace logging2::core::detail {
namespace {

/// Records are written together up to this size.
constexpr std::size_t stretchByteCount = std::size_t{1} << 20;

std::size_t record_byte_count(const PendingChunk& chunk) {
    return sizeof(RecordHeader) + chunk.layout->byteCount;
}

} // namespace

/// Memory for so many bytes, aligned as records are.
char* ChunkWriter::Workspace::first(std::size_t byteCount) {
    if (byteCount > capacity) {
        capacity = 0;
        memory.reset();
        memory.reset(new char[byteCount + alignment]);
        capacity = byteCount;
    }
    void* place = memory.get();
    std::size_t space = capacity + alignment;
    return static_cast<char*>(std::align(alignment, capacity, place, space));
}

ChunkWriter::ChunkWriter(DataFile& dataFile, Compression compression) : file(dataFile) {
    if (compression == Compression::lz4) {
        for (Workspace& workspace : workspaces) {
            workspace.packer.emplace();
        }
    }
}

ChunkWriter::~ChunkWriter() {
    if (helper.joinable()) {
        {
            const Lock lock(mutex);
            isStopping = true;
        }
        changed.notify_all();
        helper.join();
    }
}

std::uint64_t ChunkWriter::write(std::vector<PendingChunk>& chunks, std::uint64_t offset) {
    const std::size_t byteCount = std::accumulate(
        chunks.begin(), chunks.end(), std::size_t{0},
        [](std::size_t sum, const PendingChunk& chunk) { return sum + record_byte_count(chunk); });
    if (byteCount > stretchByteCount && chunks.size() > 1 && !helper.joinable()) {
        startHelper();
    }
    {
        const Lock lock(mutex);
        nextToEncode = 0;
        nextToPlace = 0;
        end = offset;
        failure = nullptr;
        pending = &chunks;
    }
    changed.notify_all();
    work(workspaces[0]);
    Lock lock(mutex);
    changed.wait(lock, [this] { return !isHelping; });
    pending = nullptr;
    if (failure) {
        std::rethrow_exception(std::exchange(failure, nullptr));
    }
    return end;
}

/// Without a second thread, the calling one does everything.
void ChunkWriter::startHelper() noexcept {
    try {
        helper = std::thread([this] { help(); });
    } catch (const std::exception&) {
    }
}

void ChunkWriter::help() {
    for (Lock lock(mutex);;) {
        changed.wait(lock, [this] {
            return isStopping || (pending != nullptr && nextToEncode < pending->size());
        });
        if (isStopping) {
            return;
        }
        isHelping = true;
        lock.unlock();
        work(workspaces[1]);
        lock.lock();
        isHelping = false;
        changed.notify_all();
    }
}

void ChunkWriter::work(Workspace& workspace) {
    try {
        for (Stretch stretch = takeStretch(); stretch.first != stretch.end;
             stretch = takeStretch()) {
            const std::size_t byteCount = encode(workspace, stretch);
            if (const auto offset = takePlace(stretch)) {
                file.write(workspace.first(byteCount), byteCount, *offset);
            }
        }
    } catch (...) {
        giveUp();
    }
}

/// The next chunks to be encoded; none if there are no more.
ChunkWriter::Stretch ChunkWriter::takeStretch() {
    const Lock lock(mutex);
    Stretch stretch{nextToEncode, nextToEncode};
    for (std::size_t byteCount = 0; stretch.end < pending->size(); ++stretch.end) {
        byteCount += record_byte_count((*pending)[stretch.end]);
        if (byteCount > stretchByteCount && stretch.end > stretch.first) {
            break;
        }
    }
    nextToEncode = stretch.end;
    return stretch;
}

/// Makes the records side by side, and returns their size.
std::size_t ChunkWriter::encode(Workspace& workspace, Stretch stretch) {
    std::size_t limit = 0;
    for (std::size_t k = stretch.first; k < stretch.end; ++k) {
        limit += record_byte_count((*pending)[k]);
    }
    char* const first = workspace.first(limit);
    std::size_t byteCount = 0;
    for (std::size_t k = stretch.first; k < stretch.end; ++k) {
        byteCount += encode(workspace, (*pending)[k], first + byteCount);
    }
    return byteCount;
}

std::size_t ChunkWriter::encode(Workspace& workspace, PendingChunk& chunk, char* place) {
    const ChunkLayout& layout = *chunk.layout;
    RecordHeader& header = chunk.header;
    char* const payload = place + sizeof header;
    chunk.encoder->encode(layout, chunk.rows, payload);
    add_times(doubles_at(payload, layout.columns[0].values), layout.stepCount, chunk.row);
    const auto packed = workspace.packer ? workspace.packer->pack(layout, payload) : std::nullopt;
    header.kind = packed ? RecordKind::packedChunk : RecordKind::chunk;
    header.payloadByteCount = packed ? packed->byteCount : layout.byteCount;
    header.payloadHash =
        hash_of(payload, packed ? packed->directoryByteCount : layout.directoryByteCount);
    header.headerHash = hash_of(header);
    std::memcpy(place, &header, sizeof header);
    chunk.row.byteCount = sizeof header + header.payloadByteCount;
    return chunk.row.byteCount;
}

/// Waits until the chunks before the stretch have their places, and returns where it goes; nothing
/// if one of them has failed.
std::optional<std::uint64_t> ChunkWriter::takePlace(Stretch stretch) {
    Lock lock(mutex);
    changed.wait(lock, [&] { return nextToPlace == stretch.first || failure; });
    if (failure) {
        return std::nullopt;
    }
    const std::uint64_t offset = end;
    for (std::size_t k = stretch.first; k < stretch.end; ++k) {
        ChunkRow& row = (*pending)[k].row;
        row.offset = end;
        end += row.byteCount;
    }
    file.reserve(end);
    nextToPlace = stretch.end;
    changed.notify_all();
    return offset;
}

/// Keeps the first exception, and lets the other thread end.
void ChunkWriter::giveUp() noexcept {
    const Lock lock(mutex);
    if (!failure) {
        failure = std::current_exception();
    }
    nextToEncode = pending->size();
    changed.notify_all();
}

} // namespace logging2::core::detail
