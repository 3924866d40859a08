#include <logging2/backends/recording/detail/ChunkCheck.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/ColumnTree.hpp>
#include <logging2/backends/recording/detail/PackedLayout.hpp>
#include <logging2/backends/recording/detail/add_times.hpp>

#include <algorithm>
#include <stdexcept>

namespace logging2::core::detail {
namespace {

/// As SQLite stores them, all NaN are the same.
bool is_same_time(double a, double b) {
    return a == b || (a != a && b != b);
}

} // namespace

ChunkCheck::ChunkCheck(const DataFile& dataFile, std::uint64_t fileByteCount, const RunId& runId,
                       const DescribedGroup& describedGroup, const ChunkRow& chunkRow,
                       Findings& foundFaults)
    : file(dataFile),
      fileEnd(fileByteCount),
      run(runId),
      group(describedGroup),
      row(chunkRow),
      findings(foundFaults) {}

void ChunkCheck::check(double greatestTimeBefore) {
    try {
        if (hasPlace() && isExpected()) {
            chunk.emplace(file, run, row, layout, true);
            checkColumns();
            checkTimes(greatestTimeBefore);
        }
    } catch (const RecordingError& error) {
        add(error.what());
    }
}

std::string ChunkCheck::place(std::size_t firstStep, std::size_t stepCount) const {
    return "group " + std::to_string(group.id) + ", " +
           text_of_steps(row.firstStep + firstStep, stepCount);
}

void ChunkCheck::add(const std::string& fault) {
    findings.add(file.name(), "the chunk at byte " + std::to_string(row.offset) + " (" +
                                  place(0, row.storedStepCount) + "): " + fault);
}

/// Nothing is allocated before the chunk is known to fit into the file.
bool ChunkCheck::hasPlace() {
    try {
        layout = layout_of(widths_of(group), row.storedStepCount);
    } catch (const std::length_error& error) {
        add(error.what());
        return false;
    }
    const std::uint64_t expected = sizeof(RecordHeader) + layout.byteCount;
    if (row.byteCount > expected ||
        (is_packed(row, layout) &&
         row.byteCount < sizeof(RecordHeader) + packed_directory_byte_count(layout))) {
        add(text_of_difference("in the index, its byte_count", expected, row.byteCount));
        return false;
    }
    if (row.offset % alignment != 0) {
        add("in the index, its offset is not a multiple of 64");
        return false;
    }
    if (row.offset > fileEnd || row.byteCount > fileEnd - row.offset) {
        add("the file ends at byte " + std::to_string(fileEnd) + ", but the chunk has " +
            std::to_string(row.byteCount) + " bytes");
        return false;
    }
    return true;
}

/// Whether the samples can be looked at. If the header is damaged, they may be whole.
bool ChunkCheck::isExpected() {
    RecordHeader header;
    file.read(&header, sizeof header, row.offset);
    if (const char* const fault = fault_of(header); fault != nullptr) {
        add(fault);
        return true;
    }
    bool result = header.run == run;
    if (!result) {
        add("it belongs to another run");
    }
    const auto compare = [&](const char* name, std::uint64_t expected, std::uint64_t found) {
        if (found != expected) {
            add(text_of_difference(std::string("in its header, ") + name, expected, found));
            result = false;
        }
    };
    const RecordKind kind = is_packed(row, layout) ? RecordKind::packedChunk : RecordKind::chunk;
    compare("kind", static_cast<std::uint64_t>(kind), static_cast<std::uint64_t>(header.kind));
    compare("sequence", row.sequence, header.sequence);
    compare("group", row.group, header.group);
    compare("first_step", row.firstStep, header.firstStep);
    compare("step_count", row.storedStepCount, header.stepCount);
    compare("payload_byte_count", row.byteCount - sizeof header, header.payloadByteCount);
    if (result) {
        checkDirectory();
    }
    return result;
}

void ChunkCheck::checkDirectory() {
    try {
        const ChunkReader checked(file, run, row, layout, false);
    } catch (const RecordingError& error) {
        findings.add(error);
    }
}

void ChunkCheck::checkColumns() {
    for (column = 0; column < layout.columns.size(); ++column) {
        checkNode(layout.columns[column].levels.size(), 0, chunk->root(column).data());
    }
}

std::size_t ChunkCheck::stepCountOf(std::size_t level, std::size_t index) const {
    const std::size_t steps = ColumnLayout::stepsPerNode(level);
    return std::min(steps, layout.stepCount - index * steps);
}

/// A fault below a node does not hide those below its neighbours.
void ChunkCheck::checkNode(std::size_t level, std::size_t index, const double* node) {
    try {
        level == 0 ? checkLeaf(index, node) : checkChildren(level, index, node);
    } catch (const RecordingError& error) {
        findings.add(file.name(), std::string(error.what()).substr(file.name().size() + 2) + " (" +
                                      place(index * ColumnLayout::stepsPerNode(level),
                                            stepCountOf(level, index)) +
                                      ", column " + std::to_string(column) + ")");
        knowsTimes = knowsTimes && column != 0;
    }
}

void ChunkCheck::checkLeaf(std::size_t index, const double* node) {
    const std::size_t width = layout.columns[column].width;
    const std::size_t first = index * leafStepCount;
    const std::size_t count = stepCountOf(0, index);
    const std::vector<double> samples = chunk->samples(column, index, node);
    std::vector<ElementRange> ranges(width);
    add_samples(samples.data(), count, width, ranges.data());
    compareRanges(node, ranges, place(first, count));
    if (column == 0 && first < row.stepCount) {
        add_times(samples.data(), std::min(count, row.stepCount - first), times);
    }
}

void ChunkCheck::checkChildren(std::size_t level, std::size_t index, const double* node) {
    const std::size_t width = layout.columns[column].width;
    const std::vector<double> nodes = chunk->children(column, level - 1, index, node);
    const std::size_t stride = node_double_count(width);
    const std::size_t count = nodes.size() / stride;
    std::vector<ElementRange> ranges(width);
    for (std::size_t child = 0; child < count; ++child) {
        add_node(nodes.data() + child * stride, width, ranges.data());
    }
    compareRanges(node, ranges,
                  place(index * ColumnLayout::stepsPerNode(level), stepCountOf(level, index)));
    for (std::size_t child = 0; child < count; ++child) {
        checkNode(level - 1, index * fanOut + child, nodes.data() + child * stride);
    }
}

void ChunkCheck::compareRanges(const double* node, const std::vector<ElementRange>& actual,
                               const std::string& where) {
    const auto compare = [&](const char* name, std::size_t element, double expected, double found) {
        if (!(expected == found)) {
            add(text_of_difference(std::string("the ") + name + " of element " +
                                       std::to_string(element) + " of column " +
                                       std::to_string(column) + " (" + where + ")",
                                   expected, found));
        }
    };
    for (std::size_t element = 0; element < actual.size(); ++element) {
        const ElementRange stored = range_of_node(node, element);
        compare("least value", element, actual[element].least, stored.least);
        compare("greatest value", element, actual[element].greatest, stored.greatest);
        compare("number of NaN", element, actual[element].nanCount, stored.nanCount);
    }
}

void ChunkCheck::checkTimes(double greatestTimeBefore) {
    if (!knowsTimes) {
        return;
    }
    const auto compare = [this](const char* name, double expected, double found) {
        if (!is_same_time(expected, found)) {
            add(text_of_difference(std::string("in the index, its ") + name, expected, found));
        }
    };
    compare("first_time", times.firstTime, row.firstTime);
    compare("last_time", times.lastTime, row.lastTime);
    compare("least_time", times.leastTime, row.leastTime);
    compare("greatest_time", times.greatestTime, row.greatestTime);
    compare("nan_times", static_cast<double>(times.nanTimeCount),
            static_cast<double>(row.nanTimeCount));
    compare("ascends", times.ascends ? 1 : 0, row.ascends ? 1 : 0);
    compare("greatest_so_far", std::max(greatestTimeBefore, times.greatestTime), row.greatestSoFar);
}

} // namespace logging2::core::detail
