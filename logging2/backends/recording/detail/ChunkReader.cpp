#include <logging2/backends/recording/detail/ChunkReader.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/ColumnTree.hpp>
#include <logging2/backends/recording/detail/doubles_at.hpp>

#include <algorithm>
#include <string>
#include <utility>

namespace logging2::core::detail {
namespace {

std::size_t byte_count(std::size_t nodeCount, std::size_t width) {
    return nodeCount * node_double_count(width) * sizeof(double);
}

/// Samples are compared with their hashes in pieces of this size, while they are in the cache.
constexpr std::size_t pieceByteCount = std::size_t{128} * 1024;

} // namespace

bool is_packed(const ChunkRow& row, const ChunkLayout& layout) noexcept {
    return row.byteCount < sizeof(RecordHeader) + layout.byteCount;
}

ChunkReader::ChunkReader(const DataFile& dataFile, const RunId& run, const ChunkRow& chunkRow,
                         const ChunkLayout& chunkLayout, bool isTrusted)
    : file(dataFile),
      row(chunkRow),
      layout(chunkLayout) {
    if (!isTrusted) {
        verifyHead(run);
    }
    if (is_packed(row, layout)) {
        packed.emplace(file, layout, payload());
        if (packed->places().byteCount() != payloadByteCount()) {
            fail("its segments have another size");
        }
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
    const RecordKind kind = is_packed(row, layout) ? RecordKind::packedChunk : RecordKind::chunk;
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

bool ChunkReader::isPacked(std::size_t column) const {
    return packed && packed->places().column(column).isPacked;
}

std::uint64_t ChunkReader::payloadByteCount() const noexcept {
    return row.byteCount - std::min<std::uint64_t>(row.byteCount, sizeof(RecordHeader));
}

/// Nothing of this number is used before it is known that the file has so many bytes.
std::uint64_t ChunkReader::directoryByteCount() const {
    file.requireBytes(row.byteCount, row.offset);
    if (!is_packed(row, layout)) {
        return layout.directoryByteCount;
    }
    const std::uint64_t result = packed_directory_byte_count(layout);
    if (result > payloadByteCount()) {
        fail("the index expects another chunk there");
    }
    return result;
}

std::uint64_t ChunkReader::valuesAt(std::size_t column) const {
    return payload() +
           (packed ? packed->places().column(column).values : layout.columns[column].values);
}

std::uint64_t ChunkReader::valueByteCount(std::size_t column) const {
    if (packed) {
        return packed->places().column(column).end - packed->places().column(column).values;
    }
    return std::uint64_t{layout.stepCount} * layout.columns[column].width * sizeof(double);
}

std::uint64_t ChunkReader::nodesAt(std::size_t column, std::size_t level) const {
    const ColumnLayout& place = layout.columns[column];
    const std::uint64_t first = packed ? packed->places().column(column).end : place.levels.front();
    return payload() + first + (place.levels[level] - place.levels.front());
}

std::vector<double> ChunkReader::root(std::size_t column) const {
    const ColumnLayout& place = layout.columns[column];
    return file.elements<double>(node_double_count(place.width), payload() + place.root);
}

std::vector<double> ChunkReader::children(std::size_t column, std::size_t level,
                                          std::size_t parentIndex, const double* parent) const {
    return childrenOf(column, level, parentIndex, parentIndex + 1, parent).numbers;
}

/// The nodes that the parents [firstParent, endParent) describe.
ChunkReader::Nodes ChunkReader::childrenOf(std::size_t column, std::size_t level,
                                           std::size_t firstParent, std::size_t endParent,
                                           const double* parents) const {
    const ColumnLayout& place = layout.columns[column];
    const std::size_t stride = node_double_count(place.width);
    const std::size_t first = firstParent * fanOut;
    const std::size_t end = std::min(endParent * fanOut, place.nodeCounts[level]);
    Nodes nodes{first,
                file.elements<double>((end - first) * stride,
                                      nodesAt(column, level) + byte_count(first, place.width))};
    for (std::size_t child = first; child < end; child += fanOut, parents += stride) {
        const double* const described = nodes.numbers.data() + (child - first) * stride;
        if (hash_of(described, byte_count(std::min(fanOut, end - child), place.width)) !=
            hash_of_node(parents)) {
            fail("nodes of a column's tree have another hash");
        }
    }
    return nodes;
}

/// The leaves that describe the steps [firstStep, endStep), and maybe some beside them.
ChunkReader::Nodes ChunkReader::leavesOf(std::size_t column, std::size_t firstStep,
                                         std::size_t endStep) const {
    const std::size_t stride = node_double_count(layout.columns[column].width);
    Nodes nodes{0, root(column)};
    for (std::size_t level = layout.columns[column].levels.size(); level-- > 0;) {
        const std::size_t parentStepCount = ColumnLayout::stepsPerNode(level + 1);
        const std::size_t firstParent = firstStep / parentStepCount;
        const std::size_t endParent = (endStep - 1) / parentStepCount + 1;
        nodes = childrenOf(column, level, firstParent, endParent,
                           nodes.numbers.data() + (firstParent - nodes.first) * stride);
    }
    return nodes;
}

/// Behind the last step of the leaf that describes the step.
std::size_t ChunkReader::endOfLeaf(std::size_t step) const {
    return std::min((step / leafStepCount + 1) * leafStepCount, layout.stepCount);
}

void ChunkReader::verifyLeaf(const double* samples, std::size_t count, const double* leaf) const {
    if (hash_of(samples, count * sizeof(double)) != hash_of_node(leaf)) {
        fail("samples have another hash");
    }
}

/// The steps are those of whole leaves.
void ChunkReader::verify(std::size_t column, const Nodes& leaves, std::size_t firstStep,
                         std::size_t endStep, const double* samples) const {
    const std::size_t width = layout.columns[column].width;
    const double* leaf = leaves.numbers.data() +
                         (firstStep / leafStepCount - leaves.first) * node_double_count(width);
    while (firstStep < endStep) {
        const std::size_t count = endOfLeaf(firstStep) - firstStep;
        verifyLeaf(samples, count * width, leaf);
        firstStep += count;
        samples += count * width;
        leaf += node_double_count(width);
    }
}

std::vector<double> ChunkReader::samples(std::size_t column, std::size_t leafIndex,
                                         const double* leaf) {
    const std::size_t width = layout.columns[column].width;
    const std::size_t first = leafIndex * leafStepCount;
    const std::size_t end = endOfLeaf(first);
    std::vector<double> result =
        isPacked(column) ? packed->unpackPart(column, first, end)
                         : file.elements<double>((end - first) * width,
                                                 valuesAt(column) + first * width * sizeof(double));
    if (result.size() != (end - first) * width) {
        fail("samples cannot be unpacked");
    }
    verifyLeaf(result.data(), result.size(), leaf);
    return result;
}

/// Segments end where pieces end, so that each is unpacked once.
std::size_t ChunkReader::leavesPerPiece(std::size_t column) const {
    const std::size_t leafByteCount =
        leafStepCount * std::max<std::size_t>(layout.columns[column].width, 1) * sizeof(double);
    return isPacked(column) ? segmentStepCount / leafStepCount
                            : std::max<std::size_t>(pieceByteCount / leafByteCount, 1);
}

void ChunkReader::read(std::size_t column, std::size_t firstStep, std::size_t count,
                       double* to) const {
    const std::size_t width = layout.columns[column].width;
    const std::size_t end = firstStep + count;
    const Nodes leaves = leavesOf(column, firstStep, end);
    const std::size_t pieceStepCount = leavesPerPiece(column) * leafStepCount;
    std::vector<double> whole;
    while (firstStep < end) {
        const std::size_t start = firstStep / leafStepCount * leafStepCount;
        const std::size_t partEnd = std::min(end, (start / pieceStepCount + 1) * pieceStepCount);
        const std::size_t wholeEnd = endOfLeaf(partEnd - 1);
        if (start == firstStep && partEnd == wholeEnd) {
            readLeaves(column, leaves, start, wholeEnd, to);
        } else {
            whole.resize((wholeEnd - start) * width);
            readLeaves(column, leaves, start, wholeEnd, whole.data());
            std::copy_n(whole.data() + (firstStep - start) * width, (partEnd - firstStep) * width,
                        to);
        }
        to += (partEnd - firstStep) * width;
        firstStep = partEnd;
    }
}

/// The steps are those of whole leaves.
void ChunkReader::readLeaves(std::size_t column, const Nodes& leaves, std::size_t firstStep,
                             std::size_t endStep, double* to) const {
    const std::size_t sampleByteCount = layout.columns[column].width * sizeof(double);
    if (!isPacked(column)) {
        file.read(to, (endStep - firstStep) * sampleByteCount,
                  valuesAt(column) + firstStep * sampleByteCount);
    } else if (!packed->unpack(column, firstStep, endStep, to)) {
        fail("samples cannot be unpacked");
    }
    verify(column, leaves, firstStep, endStep, to);
}

const double* ChunkReader::verified(const char* mapping, std::size_t column, std::size_t firstStep,
                                    std::size_t count) const {
    const std::size_t width = layout.columns[column].width;
    const auto* const values = doubles_at(mapping, valuesAt(column));
    const std::size_t start = firstStep / leafStepCount * leafStepCount;
    const std::size_t end = firstStep + count;
    verify(column, leavesOf(column, firstStep, end), start, endOfLeaf(end - 1),
           values + start * width);
    return values + firstStep * width;
}

} // namespace logging2::core::detail
