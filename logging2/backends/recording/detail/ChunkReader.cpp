#include <logging2/backends/recording/detail/ChunkReader.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/ColumnTree.hpp>
#include <logging2/backends/recording/detail/doubles_at.hpp>

#include <algorithm>
#include <string>

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
    std::vector<char> directory(layout.directoryByteCount);
    file.read({&header, sizeof header}, {directory.data(), directory.size()}, row.offset);
    if (const char* const fault = fault_of(header); fault != nullptr) {
        fail(fault);
    }
    if (header.kind != RecordKind::chunk || header.run != run || header.sequence != row.sequence ||
        header.group != row.group || header.firstStep != row.firstStep ||
        header.stepCount != row.storedStepCount || row.stepCount > row.storedStepCount ||
        header.payloadByteCount != layout.byteCount) {
        fail("the index expects another chunk there");
    }
    if (hash_of(directory.data(), directory.size()) != header.payloadHash) {
        fail("its directory has another hash");
    }
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
              payload() + place.levels[level] + byte_count(first, place.width));
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
        file.read(below.data(), below.size() * sizeof(double), payload() + place.levels[level]);
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
    const std::uint64_t first = leaf * leafStepCount * place.width * sizeof(double);
    file.read(whole.data(), whole.size() * sizeof(double), payload() + place.values + first);
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
            file.read(to, part * place.width * sizeof(double),
                      payload() + place.values + firstStep * place.width * sizeof(double));
            verifyLeaves(column, nodes, leaf, endLeaf, to);
        }
        firstStep += part;
        to += part * place.width;
    }
}

const double* ChunkReader::verified(const char* mapping, std::size_t column, std::size_t firstStep,
                                    std::size_t count) const {
    const ColumnLayout& place = layout.columns[column];
    const auto* const values = doubles_at(mapping, payload() + place.values);
    const std::size_t firstLeaf = firstStep / leafStepCount;
    const std::size_t endLeaf = (firstStep + count + leafStepCount - 1) / leafStepCount;
    verifyLeaves(column, leaves(column), firstLeaf, endLeaf,
                 values + firstLeaf * leafStepCount * place.width);
    return values + firstStep * place.width;
}

} // namespace logging2::core::detail
