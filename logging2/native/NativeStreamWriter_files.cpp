#include <logging2/native/NativeStreamWriter.hpp>

#include <logging2/columns/append_rows.hpp>
#include <logging2/host/filesystem/ofstream.hpp>

#include <utility>

// The samples' way from the buffers into the files, on the background thread and on the caller's.

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
        // A stop is looked at last: flush() may come before the thread has looked into the slot.
    } while (!stopRequested);
}

void NativeStreamWriter::flushIntermediate() {
    const std::lock_guard lock(mutex);
    for (const auto& entry : metadata.groupChannels()) {
        writeBufferedRows(entry.first);
    }
    // Where no group had rows, a batch may still wait in the slot: the thread is to look.
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
    // What may throw comes first: a batch in the slot must never get the name of another group.
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

// Frees what the former group used, which the next columns get: it costs less than fresh memory.
void NativeStreamWriter::turnToColumnsOf(std::size_t group) {
    const auto former = columns.find(columnsGroup);
    columnsGroup = group;
    if (former == columns.end() || former->first == group) {
        return;
    }
    for (std::vector<double>& column : former->second) {
        // That of a channel that no path shows still holds its values.
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
    // Intended: a file that cannot be opened costs its own samples and is not reported.
    write(path, reinterpret_cast<const char*>(column.data()), column.size() * sizeof(double));
    column.clear();
}

// An operation of the writer, as its callers know it.
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
