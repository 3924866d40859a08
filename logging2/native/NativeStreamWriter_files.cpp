#include <logging2/native/NativeStreamWriter.hpp>

#include <logging2/columns/append_rows.hpp>
#include <logging2/host/filesystem/ofstream.hpp>

#include <utility>

// Writes the buffers to the files, on the background thread and on the caller's thread.

namespace logging2::core {
namespace {

detail::ChannelWidths widths_of(const RowLayout& layout) {
    detail::ChannelWidths widths;
    widths.reserve(layout.size());
    for (const auto& entry : layout) {
        widths.push_back(entry.second);
    }
    return widths;
}

} // namespace

void NativeStreamWriter::writer() {
    std::unique_lock lock(mutex);
    do {
        condition.wait(lock, [this] { return dataReady; });
        if (!streamedBuffer.empty()) {
            transposeData(streamedGroup);
            writeData(streamedGroup);
        }
        dataReady = false;
        // The stop is tested last, because flush() may request it before the thread has taken the
        // batch in the slot.
    } while (!stopRequested);
}

void NativeStreamWriter::flushIntermediate() {
    const std::lock_guard lock(mutex);
    for (const auto& entry : metadata.groupChannels()) {
        writeBufferedRows(entry.first);
    }
    // If no group had rows, a batch may still wait in the slot. The thread wakes up and writes it.
    dataReady = true;
    condition.notify_one();
}

void NativeStreamWriter::flush() {
    if (writerThread) {
        {
            const std::lock_guard lock(mutex);
            dataReady = true;
            stopRequested = true;
            condition.notify_one();
        }
        writerThread->join();
    }
    for (const auto& entry : metadata.groupChannels()) {
        writeBufferedRows(entry.first);
    }
    clearBuffer();
}

void NativeStreamWriter::close() {}

void NativeStreamWriter::clearBuffer() {
    const std::lock_guard lock(mutex);
    columns.clear();
    for (auto& entry : rowCounts) {
        entry.second = 0;
    }
    groupBuffers.clear();
    streamedBuffer = std::vector<double>();
}

void NativeStreamWriter::moveToSlot(std::size_t group) {
    // Everything that may throw comes first, so that streamedGroup always matches the slot.
    const std::size_t rowWidth = rowWidths[group];
    std::vector<double>& buffer = groupBuffers[group];
    streamedGroup = group;
    streamedRowWidth = rowWidth;
    streamedBuffer = std::exchange(buffer, {});
}

void NativeStreamWriter::writeBufferedRows(std::size_t group) {
    if (rowCounts[group] != 0) {
        moveToSlot(group);
        transposeOrKeep(group);
        writeData(group);
    }
}

void NativeStreamWriter::transposeOrKeep(std::size_t group) {
    try {
        transposeData(group);
    } catch (...) {
        groupBuffers[group] = std::exchange(streamedBuffer, {});
        throw;
    }
}

void NativeStreamWriter::transposeData(std::size_t group) {
    if (!streamedBuffer.empty()) {
        turnToColumnsOf(group);
        detail::append_rows(streamedBuffer, streamedRowWidth, widths_of(layoutOf(group)),
                            columnsOf(group));
        streamedBuffer.clear();
    }
}

// Frees the columns of the former group, so that the next columns reuse their memory. That costs
// less than fresh memory.
void NativeStreamWriter::turnToColumnsOf(std::size_t group) {
    const auto former = columns.find(columnsGroup);
    columnsGroup = group;
    if (former == columns.end() || former->first == group) {
        return;
    }
    for (std::vector<double>& column : former->second) {
        // The column of a channel that no path shows still holds values and is kept.
        if (column.empty()) {
            column = std::vector<double>();
        }
    }
}

void NativeStreamWriter::writeData(std::size_t group) {
    std::deque<std::vector<double>>& groupColumns = columnsOf(group);
    appendColumn(timesPaths[group], groupColumns[0]);
    std::size_t column = 1;
    for (const auto& [channel, width] : layoutOf(group)) {
        // Intended: the column of a channel that no path shows stays in memory until clearBuffer().
        if (const auto path = valuesPaths.find(channel); path != valuesPaths.end()) {
            appendColumn(path->second, groupColumns[column]);
        }
        ++column;
    }
}

void NativeStreamWriter::appendColumn(const std::string& path, std::vector<double>& column) {
    // Intended: if a file cannot be opened, its samples of this batch are lost and not reported.
    write(path, reinterpret_cast<const char*>(column.data()), column.size() * sizeof(double));
    column.clear();
}

// A member, because it belongs to the writer's public operations.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
bool NativeStreamWriter::write(const std::string& path, const char* data, std::size_t bytes) {
    fl::filesystem::ofstream file(path, std::ios::out | std::ios::binary | std::ios::app);
    if (!file.is_open()) {
        return false;
    }
    file.write(data, static_cast<std::streamsize>(bytes));
    file.close();
    return true;
}

std::deque<std::vector<double>>& NativeStreamWriter::columnsOf(std::size_t group) {
    std::deque<std::vector<double>>& groupColumns = columns[group];
    if (const std::size_t count = layoutOf(group).size() + 1; groupColumns.size() < count) {
        groupColumns.resize(count);
    }
    return groupColumns;
}

const RowLayout& NativeStreamWriter::layoutOf(std::size_t group) const {
    static const RowLayout* const nothing = new RowLayout;
    const auto found = metadata.logBufferData().find(group);
    return found == metadata.logBufferData().end() ? *nothing : found->second;
}

} // namespace logging2::core
