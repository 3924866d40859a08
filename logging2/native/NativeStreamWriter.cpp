#include <logging2/native/NativeStreamWriter.hpp>

#include <logging2/columns/storage.hpp>
#include <logging2/host/foundation/text_conversion.hpp>
#include <logging2/host/foundation/warnings.hpp>
#include <logging2/native/detail/file_names.hpp>
#include <logging2/native/detail/row_capacity.hpp>
#include <logging2/stream/detail/store_of.hpp>

#include <algorithm>
#include <new>
#include <utility>

// Construction, the buffering of samples, and the queries that the setup answers.
// NativeStreamWriter_files.cpp writes the buffers to the files.

namespace logging2::core {
namespace {

using lang::core::ValuePath;

RowLayout layout_of(const std::vector<LoggedChannel>& channels) {
    RowLayout layout;
    for (const LoggedChannel& channel : channels) {
        layout.emplace_back(channel.id(), channel.width);
    }
    return layout;
}

StreamMetadata metadata_of(const SequenceMap<Group, LoggedPathsSetupData>& setup) {
    std::map<ValuePath, ChannelProperties> channelMetadata;
    SequenceMap<std::size_t, RowLayout> logBufferData;
    std::map<std::size_t, std::size_t> groupChannels;
    for (const auto& [group, data] : setup) {
        groupChannels.emplace(group.id(), data.paths().size());
        for (const LoggedPath& logged : data.paths()) {
            channelMetadata.emplace(logged.path, ChannelProperties(group.id(), logged.id()));
        }
        logBufferData.insert(group.id(), layout_of(data.coreIds()));
    }
    return {channelMetadata, logBufferData, groupChannels};
}

} // namespace

// The setup is taken by value, as by every writer. It is released after its description is made.
NativeStreamWriter::NativeStreamWriter(
    StreamingAttributes configuration,
    SequenceMap<Group, LoggedPathsSetupData> setup) // NOLINT(performance-unnecessary-value-param)
    : attributes(std::move(configuration)),
      metadata(metadata_of(setup)),
      locationCreator(std::make_unique<StreamLocationCreator>()) {
    const auto& uniquePath = locationCreator->getUniquePath();
    for (const auto& [group, layout] : metadata.logBufferData()) {
        timesPaths.emplace(group, foundation::ustring_to_utf8_string(
                                      detail::times_file(uniquePath, group).text()));
    }
    for (const auto& [path, properties] : metadata.channelMetadata()) {
        const std::u16string values =
            detail::values_file(uniquePath, properties.groupId(), properties.channelKey()).text();
        valuesPaths.emplace(properties.channelKey(), foundation::ustring_to_utf8_string(values));
        const auto times = timesPaths.find(properties.groupId());
        if (times != timesPaths.end()) {
            dataStores.emplace(path, NativeDatastore(detail::widen_bytes(times->second), values));
        }
    }
    initialize();
}

NativeStreamWriter::NativeStreamWriter(NativeStreamWriter&& other) noexcept
    : attributes(std::move(other.attributes)),
      metadata(std::move(other.metadata)),
      dataStores(std::move(other.dataStores)),
      locationCreator(std::move(other.locationCreator)),
      valuesPaths(std::move(other.valuesPaths)),
      timesPaths(std::move(other.timesPaths)),
      bufferSizes(std::move(other.bufferSizes)),
      rowCounts(std::move(other.rowCounts)),
      groupBuffers(std::move(other.groupBuffers)) {
    takeFlags(other);
}

NativeStreamWriter& NativeStreamWriter::operator=(NativeStreamWriter&& other) noexcept {
    if (this == &other) {
        return *this;
    }
    attributes = std::move(other.attributes);
    metadata = std::move(other.metadata);
    dataStores = std::move(other.dataStores);
    locationCreator = std::move(other.locationCreator);
    valuesPaths = std::move(other.valuesPaths);
    timesPaths = std::move(other.timesPaths);
    bufferSizes = std::move(other.bufferSizes);
    rowCounts = std::move(other.rowCounts);
    groupBuffers = std::move(other.groupBuffers);
    takeFlags(other);
    return *this;
}

void NativeStreamWriter::takeFlags(NativeStreamWriter& other) {
    const std::scoped_lock lock(mutex, other.mutex);
    dataReady = other.dataReady;
    stopRequested = other.stopRequested;
    rowsCameByMove = std::any_of(groupBuffers.begin(), groupBuffers.end(),
                                 [](const auto& entry) { return !entry.second.empty(); });
}

NativeStreamWriter::~NativeStreamWriter() {
    // The thread is destroyed first. If it still runs, that ends the process, whereas destroying
    // the condition variable that it waits for would hang.
    writerThread.reset();
}

void NativeStreamWriter::initialize() {
    writerThread.reset();
    dataReady = false;
    for (const auto& [group, pathCount] : metadata.groupChannels()) {
        bufferSizes.emplace(group, detail::row_capacity(pathCount));
        rowCounts.emplace(group, 0);
        groupBuffers.emplace(group, std::vector<double>());
        columns.emplace(group, std::deque<std::vector<double>>(pathCount + 1));
    }
}

bool NativeStreamWriter::write(std::size_t group, double time, const double* values,
                               std::size_t n) {
    copyToStreamedBuffer(group, time, values, n);
    if (++rowCounts[group] >= bufferSizes[group]) {
        try {
            handOver(group);
        } catch (const std::bad_alloc&) {
            // There is no memory for the thread. The sample is removed, as if the buffer could not
            // grow.
            groupBuffers[group].resize(groupBuffers[group].size() - (n + 1));
            --rowCounts[group];
            throw;
        }
    }
    return true;
}

void NativeStreamWriter::copyToStreamedBuffer(std::size_t group, double time, const double* values,
                                              std::size_t n) {
    std::vector<double>& buffer = groupBuffers[group];
    const std::size_t formerSize = buffer.size();
    try {
        detail::make_room(buffer, n + 1);
        buffer.push_back(time);
        buffer.insert(buffer.end(), values, values + n);
        // If this writer began the buffer, the width of the rows is known and no look-up is needed.
        if (formerSize == 0 || rowsCameByMove) {
            rowWidths.emplace(group, n);
        }
    } catch (...) {
        buffer.resize(formerSize);
        throw;
    }
}

void NativeStreamWriter::handOver(std::size_t group) {
    if (!writerThread) {
        writerThread = std::make_unique<std::thread>(&NativeStreamWriter::writer, this);
    }
    const std::lock_guard lock(mutex);
    // Intended: a batch that still waits in the slot is replaced.
    moveToSlot(group);
    rowCounts[group] = 0;
    dataReady = true;
    condition.notify_one();
}

void NativeStreamWriter::rollback(std::size_t, double) {
    const std::string name(attributes.name.data(), attributes.name.size());
    foundation::issueWarning(foundation::Message("vantrel:common:logging2:core:common",
                                                 "RollbackNotSupported",
                                                 {detail::widen_bytes(name)}));
}

boost::any NativeStreamWriter::dataStore(const ValuePath& path) const {
    return detail::store_of(dataStores, path);
}

std::optional<DataStoreInfo> NativeStreamWriter::dataStoreInfo() const {
    return std::nullopt;
}

std::size_t NativeStreamWriter::numChannels(std::size_t group) const {
    return metadata.groupChannels().at(group) + 1;
}

std::size_t NativeStreamWriter::getBufferSize(std::size_t group) const {
    return bufferSizes.at(group);
}

} // namespace logging2::core
