#include <logging2/backends/recording/detail/ChunkReader.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/ColumnTree.hpp>
#include <logging2/backends/recording/detail/doubles_at.hpp>

#include <algorithm>
#include <numeric>
#include <string>
#include <utility>

namespace logging2::core::detail {
namespace {

std::size_t byte_count(std::size_t nodeCount, std::size_t width) {
    return nodeCount * node_double_count(width) * sizeof(double);
}

} // namespace

ChunkReader::ChunkReader(const DataFile& dataFile, const RunId& run, const ChunkRow& chunkRow,
                         const ChunkLayout& chunkLayout, bool isTrusted)
    : file(dataFile),
      row(chunkRow),
      layout(chunkLayout) {
    if (!isTrusted) {
        verifyHead(run);
    }
    if (isPacked()) {
        readSegmentTable();
    }
}

void ChunkReader::fail(const char* what) const {
    throw RecordingError(file.name(), "the chunk at byte " + std::to_string(row.offset) +
                                          " is damaged: " + what);
}

std::uint64_t ChunkReader::payload() const {
    return row.offset + sizeof(RecordHeader);
}

void ChunkReader::verifyHead(const RunId& run) const {
    RecordHeader header;
    std::vector<char> directory(directoryByteCount());
    file.read({&header, sizeof header}, {directory.data(), directory.size()}, row.offset);
    if (const char* const fault = fault_of(header); fault != nullptr) {
        fail(fault);
    }
    const RecordKind kind = isPacked() ? RecordKind::packedChunk : RecordKind::chunk;
    if (header.kind != kind || header.run != run || header.sequence != row.sequence ||
        header.group != row.group || header.firstStep != row.firstStep ||
        header.stepCount != row.storedStepCount || row.stepCount > row.storedStepCount ||
        header.payloadByteCount != payloadByteCount()) {
        fail("the index expects another chunk there");
    }
    if (hash_of(directory.data(), directory.size()) != header.payloadHash) {
        fail("its directory has another hash");
    }
}

/// Whether the chunk is packed, which makes it smaller.
bool ChunkReader::isPacked() const noexcept {
    return payloadByteCount() < layout.byteCount;
}

bool ChunkReader::isPacked(std::size_t column) const {
    return packed && packed->column(column).isPacked;
}

std::uint64_t ChunkReader::payloadByteCount() const noexcept {
    return row.byteCount - std::min<std::uint64_t>(row.byteCount, sizeof(RecordHeader));
}

/// Nothing of this number is used before it is known that the file has so many bytes.
std::uint64_t ChunkReader::directoryByteCount() const {
    if (!isPacked()) {
        return layout.directoryByteCount;
    }
    const std::uint64_t result = packed_directory_byte_count(layout);
    const std::uint64_t fileByteCount = file.byteCount();
    if (row.byteCount > fileByteCount || row.offset > fileByteCount - row.byteCount) {
        throw RecordingError(file.name(), "it ends too early: bytes are missing");
    }
    if (result > payloadByteCount()) {
        fail("the index expects another chunk there");
    }
    return result;
}

void ChunkReader::readSegmentTable() {
    std::vector<std::uint32_t> byteCounts(segment_count(layout));
    file.read(byteCounts.data(), byteCounts.size() * sizeof(std::uint32_t),
              payload() + segment_table_offset(layout));
    packed.emplace(layout, std::move(byteCounts));
    if (packed->byteCount() != payloadByteCount()) {
        fail("its segments have another size");
    }
}

std::uint64_t ChunkReader::valuesAt(std::size_t column) const {
    return payload() + (packed ? packed->column(column).values : layout.columns[column].values);
}

std::uint64_t ChunkReader::valueByteCount(std::size_t column) const {
    if (packed) {
        return packed->column(column).end - packed->column(column).values;
    }
    return std::uint64_t{layout.stepCount} * layout.columns[column].width * sizeof(double);
}

std::uint64_t ChunkReader::nodesAt(std::size_t column, std::size_t level) const {
    const ColumnLayout& place = layout.columns[column];
    const std::uint64_t first = packed ? packed->column(column).end : place.levels.front();
    return payload() + first + (place.levels[level] - place.levels.front());
}

std::vector<double> ChunkReader::root(std::size_t column) const {
    const ColumnLayout& place = layout.columns[column];
    std::vector<double> node(node_double_count(place.width));
    file.read(node.data(), byte_count(1, place.width), payload() + place.root);
    return node;
}

std::vector<double> ChunkReader::children(std::size_t column, std::size_t level,
                                          std::size_t parentIndex, const double* parent) const {
    const ColumnLayout& place = layout.columns[column];
    const std::size_t first = parentIndex * fanOut;
    const std::size_t count = std::min(fanOut, place.nodeCounts[level] - first);
    std::vector<double> nodes(count * node_double_count(place.width));
    file.read(nodes.data(), byte_count(count, place.width),
              nodesAt(column, level) + byte_count(first, place.width));
    if (hash_of(nodes.data(), byte_count(count, place.width)) != hash_of_node(parent)) {
        fail("nodes of a column's tree have another hash");
    }
    return nodes;
}

std::size_t ChunkReader::leafStepCountAt(std::size_t leaf) const {
    return std::min(leafStepCount, layout.stepCount - leaf * leafStepCount);
}

std::vector<double> ChunkReader::samples(std::size_t column, std::size_t leafIndex,
                                         const double* leaf) const {
    std::vector<double> result(leafStepCountAt(leafIndex) * layout.columns[column].width);
    readPart(column, leafIndex, leaf, leafIndex * leafStepCount, leafStepCountAt(leafIndex),
             result.data());
    return result;
}

std::vector<double> ChunkReader::leaves(std::size_t column) const {
    const ColumnLayout& place = layout.columns[column];
    const std::size_t stride = node_double_count(place.width);
    std::vector<double> nodes = root(column);
    for (std::size_t level = place.levels.size(); level-- > 0;) {
        std::vector<double> below(place.nodeCounts[level] * stride);
        file.read(below.data(), below.size() * sizeof(double), nodesAt(column, level));
        for (std::size_t parent = 0; parent * stride < nodes.size(); ++parent) {
            const std::size_t count = std::min(fanOut, place.nodeCounts[level] - parent * fanOut);
            if (hash_of(below.data() + parent * fanOut * stride, byte_count(count, place.width)) !=
                hash_of_node(nodes.data() + parent * stride)) {
                fail("nodes of a column's tree have another hash");
            }
        }
        nodes = std::move(below);
    }
    return nodes;
}

void ChunkReader::verifyLeaves(std::size_t column, const std::vector<double>& nodes,
                               std::size_t firstLeaf, std::size_t endLeaf,
                               const double* samplesOfFirst) const {
    const std::size_t width = layout.columns[column].width;
    for (std::size_t leaf = firstLeaf; leaf < endLeaf; ++leaf) {
        const double* const part = samplesOfFirst + (leaf - firstLeaf) * leafStepCount * width;
        if (hash_of(part, leafStepCountAt(leaf) * width * sizeof(double)) !=
            hash_of_node(nodes.data() + leaf * node_double_count(width))) {
            fail("samples have another hash");
        }
    }
}

void ChunkReader::readPart(std::size_t column, std::size_t leaf, const double* node,
                           std::size_t firstStep, std::size_t count, double* to) const {
    const ColumnLayout& place = layout.columns[column];
    std::vector<double> whole(leafStepCountAt(leaf) * place.width);
    fetch(column, leaf * leafStepCount, leafStepCountAt(leaf), whole.data());
    if (hash_of(whole.data(), whole.size() * sizeof(double)) != hash_of_node(node)) {
        fail("samples have another hash");
    }
    std::copy_n(whole.data() + (firstStep - leaf * leafStepCount) * place.width,
                count * place.width, to);
}

void ChunkReader::read(std::size_t column, std::size_t firstStep, std::size_t count,
                       double* to) const {
    const ColumnLayout& place = layout.columns[column];
    const std::vector<double> nodes = leaves(column);
    if (isPacked(column)) {
        readPacked(column, nodes, firstStep, count, to);
        return;
    }
    const std::size_t end = firstStep + count;
    while (firstStep < end) {
        const std::size_t leaf = firstStep / leafStepCount;
        std::size_t part = std::min(end, (leaf + 1) * leafStepCount) - firstStep;
        if (firstStep % leafStepCount != 0 || part < leafStepCountAt(leaf)) {
            readPart(column, leaf, nodes.data() + leaf * node_double_count(place.width), firstStep,
                     part, to);
        } else {
            // All whole leaves together, the last one of the chunk included.
            const std::size_t endLeaf = end == layout.stepCount
                                            ? (end + leafStepCount - 1) / leafStepCount
                                            : end / leafStepCount;
            part = std::min(end, endLeaf * leafStepCount) - firstStep;
            fetch(column, firstStep, part, to);
            verifyLeaves(column, nodes, leaf, endLeaf, to);
        }
        firstStep += part;
        to += part * place.width;
    }
}

/// Each segment that holds some of the samples is unpacked once.
void ChunkReader::readPacked(std::size_t column, const std::vector<double>& nodes,
                             std::size_t firstStep, std::size_t count, double* to) const {
    const std::size_t width = layout.columns[column].width;
    const std::size_t firstLeaf = firstStep / leafStepCount;
    const std::size_t endLeaf = (firstStep + count + leafStepCount - 1) / leafStepCount;
    const std::size_t start = firstLeaf * leafStepCount;
    const std::size_t end = std::min(endLeaf * leafStepCount, layout.stepCount);
    if (start == firstStep && end == firstStep + count) {
        unpack(column, start, end, to);
        verifyLeaves(column, nodes, firstLeaf, endLeaf, to);
        return;
    }
    std::vector<double> whole((end - start) * width);
    unpack(column, start, end, whole.data());
    verifyLeaves(column, nodes, firstLeaf, endLeaf, whole.data());
    std::copy_n(whole.data() + (firstStep - start) * width, count * width, to);
}

/// Reads samples that are still to be compared with their hashes.
void ChunkReader::fetch(std::size_t column, std::size_t firstStep, std::size_t count,
                        double* to) const {
    if (isPacked(column)) {
        unpack(column, firstStep, firstStep + count, to);
        return;
    }
    const std::size_t sampleByteCount = layout.columns[column].width * sizeof(double);
    file.read(to, count * sampleByteCount, valuesAt(column) + firstStep * sampleByteCount);
}

/// Unpacks samples that are still to be compared with their hashes.
void ChunkReader::unpack(std::size_t column, std::size_t firstStep, std::size_t endStep,
                         double* to) const {
    const std::size_t width = layout.columns[column].width;
    const std::uint32_t* byteCounts = packed->byteCounts(packed->column(column).firstSegment);
    std::uint64_t offset = valuesAt(column);
    SegmentCodec codec;
    for (std::size_t start = 0; start < endStep; start += segmentStepCount) {
        const std::uint64_t byteCount =
            std::accumulate(byteCounts, byteCounts + width, std::uint64_t{0});
        if (start + segmentStepCount > firstStep) {
            std::vector<char> bytes(byteCount);
            file.read(bytes.data(), bytes.size(), offset);
            const std::size_t first = std::max(start, firstStep);
            const std::size_t end = std::min(start + segmentStepCount, endStep);
            unpackSegments(codec, {bytes.data(), byteCounts, start}, first, end, width, to);
            to += (end - first) * width;
        }
        byteCounts += width;
        offset += byteCount;
    }
}

void ChunkReader::unpackSegments(SegmentCodec& codec, Segments segments, std::size_t firstStep,
                                 std::size_t endStep, std::size_t width, double* to) const {
    const std::size_t stepCount = std::min(segmentStepCount, layout.stepCount - segments.firstStep);
    for (std::size_t element = 0; element < width; ++element) {
        const std::size_t byteCount = segments.byteCounts[element];
        if (!codec.unpack(segments.bytes, byteCount, stepCount, firstStep - segments.firstStep,
                          endStep - segments.firstStep, width, to + element)) {
            fail("samples cannot be unpacked");
        }
        segments.bytes += byteCount;
    }
}

const double* ChunkReader::verified(const char* mapping, std::size_t column, std::size_t firstStep,
                                    std::size_t count) const {
    const ColumnLayout& place = layout.columns[column];
    const auto* const values = doubles_at(mapping, valuesAt(column));
    const std::size_t firstLeaf = firstStep / leafStepCount;
    const std::size_t endLeaf = (firstStep + count + leafStepCount - 1) / leafStepCount;
    verifyLeaves(column, leaves(column), firstLeaf, endLeaf,
                 values + firstLeaf * leafStepCount * place.width);
    return values + firstStep * place.width;
}

} // namespace logging2::core::detail
