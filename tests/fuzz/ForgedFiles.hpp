#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>
#include <logging2/backends/recording/detail/PackedLayout.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace logging2::core::test {

/// The bytes of a data file, in which the hashes are made to fit whatever was changed.
class ForgedData {
public:
    ForgedData(std::string fileBytes, std::vector<std::vector<std::size_t>> groupWidths)
        : bytes(std::move(fileBytes)),
          widths(std::move(groupWidths)) {
        for (std::size_t offset = 0; has(offset, sizeof(detail::RecordHeader));
             offset += sizeof(detail::RecordHeader) + headerAt(offset).payloadByteCount) {
            records.push_back(offset);
        }
    }

    /// Where the records begin, or did before they were changed.
    const std::vector<std::size_t>& recordOffsets() const { return records; }

    std::string& content() { return bytes; }

    void put(std::size_t offset, std::uint64_t number) {
        if (has(offset, sizeof number)) {
            std::memcpy(&bytes[offset], &number, sizeof number);
        }
    }

    void setWidth(std::size_t group, std::size_t channel, std::size_t width) {
        widths[group][channel] = width;
    }

    /// Replaces the text of the description by another one. Returns by how many bytes the records
    /// behind it have moved.
    std::size_t describe(std::string text) {
        detail::RecordHeader header = headerAt(0);
        const std::size_t former = header.payloadByteCount;
        text.resize(detail::aligned(text.size()), '\0');
        header.payloadByteCount = text.size();
        bytes.replace(sizeof header, former, text);
        std::memcpy(bytes.data(), &header, sizeof header);
        for (std::size_t k = 1; k < records.size(); ++k) {
            records[k] += text.size() - former;
        }
        return text.size() - former;
    }

    std::string description() const {
        return bytes.substr(sizeof(detail::RecordHeader), headerAt(0).payloadByteCount);
    }

    /// Gives every record hashes that fit it, as far as it can be one.
    void repair() {
        for (const std::size_t offset : records) {
            if (has(offset, sizeof(detail::RecordHeader))) {
                repairRecord(offset);
            }
        }
    }

private:
    bool has(std::uint64_t offset, std::uint64_t count) const {
        return offset <= bytes.size() && count <= bytes.size() - offset;
    }

    detail::RecordHeader headerAt(std::size_t offset) const {
        detail::RecordHeader header;
        std::memcpy(&header, &bytes[offset], sizeof header);
        return header;
    }

    std::uint64_t hashOf(std::size_t offset, std::size_t count) const {
        return detail::hash_of(&bytes[offset], count);
    }

    void repairRecord(std::size_t offset) {
        detail::RecordHeader header = headerAt(offset);
        const std::size_t payload = offset + sizeof header;
        if (header.kind == detail::RecordKind::description &&
            has(payload, header.payloadByteCount)) {
            header.payloadHash = hashOf(payload, header.payloadByteCount);
        } else if (header.group < widths.size() && has(payload, header.payloadByteCount) &&
                   isNarrow(header.group)) {
            repairChunk(header, payload);
        }
        header.headerHash = detail::hash_of(header);
        std::memcpy(&bytes[offset], &header, sizeof header);
    }

    /// A layout of other channels would be none.
    bool isNarrow(std::size_t group) const {
        return std::all_of(widths[group].begin(), widths[group].end(),
                           [](std::size_t width) { return width >> 32 == 0; });
    }

    void repairChunk(detail::RecordHeader& header, std::size_t payload) {
        try {
            const detail::ChunkLayout layout =
                detail::layout_of(widths[header.group], header.stepCount);
            const bool isPacked = header.kind == detail::RecordKind::packedChunk;
            const std::uint64_t directory =
                isPacked ? packed_directory_byte_count(layout) : layout.directoryByteCount;
            if (header.stepCount == 0 || directory > header.payloadByteCount) {
                return;
            }
            std::optional<detail::PackedLayout> packed;
            if (isPacked) {
                std::vector<std::uint32_t> sizes(segment_count(layout));
                std::memcpy(sizes.data(), &bytes[payload + segment_table_offset(layout)],
                            sizes.size() * sizeof sizes[0]);
                packed.emplace(layout, std::move(sizes));
            }
            if ((isPacked ? packed->byteCount() : layout.byteCount) <= header.payloadByteCount) {
                repairTrees(layout, packed ? &*packed : nullptr, payload);
            }
            header.payloadHash = hashOf(payload, directory);
        } catch (const std::length_error&) {
        }
    }

    void repairTrees(const detail::ChunkLayout& layout, const detail::PackedLayout* packed,
                     std::size_t payload) {
        for (std::size_t k = 0; k < layout.columns.size(); ++k) {
            const detail::ColumnLayout& column = layout.columns[k];
            const std::size_t sampleSize = column.width * sizeof(double);
            const std::size_t nodeSize = detail::node_double_count(column.width) * sizeof(double);
            const std::size_t values =
                payload + (packed ? packed->column(k).values : column.values);
            const std::size_t valuesEnd =
                packed ? packed->column(k).end : column.values + layout.stepCount * sampleSize;
            const bool hasValues = packed == nullptr || !packed->column(k).isPacked;
            std::size_t childCount = layout.stepCount;
            std::size_t childSize = sampleSize;
            std::size_t children = values;
            for (std::size_t level = 0; level <= column.levels.size(); ++level) {
                const bool isRoot = level == column.levels.size();
                const std::size_t count = isRoot ? 1 : column.nodeCounts[level];
                const std::size_t nodes =
                    payload +
                    (isRoot ? column.root : valuesEnd + (column.levels[level] - column.levels[0]));
                const std::size_t perNode = level == 0 ? detail::leafStepCount : detail::fanOut;
                for (std::size_t i = 0; i < count && (level > 0 || hasValues); ++i) {
                    const std::size_t part = std::min(perNode, childCount - i * perNode);
                    put(nodes + i * nodeSize,
                        hashOf(children + i * perNode * childSize, part * childSize));
                }
                children = nodes;
                childCount = count;
                childSize = nodeSize;
            }
        }
    }

    std::string bytes;
    std::vector<std::vector<std::size_t>> widths; ///< of the channels of each group
    std::vector<std::size_t> records;
};

} // namespace logging2::core::test
