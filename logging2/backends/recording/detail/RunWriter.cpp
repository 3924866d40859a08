#include <logging2/backends/recording/detail/RunWriter.hpp>

#include <logging2/backends/recording/detail/ChunkLeaves.hpp>
#include <logging2/backends/recording/detail/ChunkReader.hpp>
#include <logging2/backends/recording/detail/buffer_plan.hpp>

#include <algorithm>

namespace logging2::core::detail {
namespace {

/// Copies the samples [first, first + count) of a column to rows of the length, from the row's
/// element on.
void copy_column(ChunkLeaves& leaves, const ColumnLayout& column, std::size_t index,
                 std::size_t first, std::size_t count, double* element, std::size_t rowLength) {
    const std::size_t end = first + count;
    while (first < end) {
        const std::size_t leaf = first / leafStepCount;
        const std::vector<double> samples = leaves.samples(index, leaf);
        const std::size_t leafEnd = std::min(end, (leaf + 1) * leafStepCount);
        for (const double* from = samples.data() + (first - leaf * leafStepCount) * column.width;
             first < leafEnd; ++first, from += column.width, element += rowLength) {
            std::copy_n(from, column.width, element);
        }
    }
}

bool has_packed_chunk(const RunContent& content) {
    for (std::size_t group = 0; group < content.groups.size(); ++group) {
        const std::vector<std::size_t> widths = widths_of(content.description.groups[group]);
        for (const SampleSpan& span : content.groups[group]) {
            if (is_packed(*span.chunk, layout_of(widths, span.chunk->storedStepCount))) {
                return true;
            }
        }
    }
    return false;
}

/// The options with a compression that does not depend on the run.
RecordingOptions options_for(const RunContent& content, RecordingOptions options) {
    if (options.compression == Compression::original && has_packed_chunk(content)) {
        options.compression = Compression::lz4;
    }
    return options;
}

} // namespace

RunWriter::RunWriter(const RunContent& runContent, const std::string& directory,
                     const RecordingOptions& options, const RecordingProgress& progressSink)
    : content(runContent),
      progress(progressSink),
      chunkByteCount(options.chunkByteCount),
      run(run_id_of(content.description.id)),
      recorder(directory, options_for(content, options), content.description, content.revision) {
    for (const std::vector<SampleSpan>& spans : content.groups) {
        for (const SampleSpan& span : spans) {
            totalByteCount += span.chunk->byteCount;
        }
    }
}

void RunWriter::write() {
    for (std::size_t group = 0; group < content.groups.size(); ++group) {
        writeGroup(group);
    }
    Commit last;
    last.showAll = true;
    last.end = content.end;
    recorder.commit(last);
    recorder.publish();
}

void RunWriter::writeGroup(std::size_t group) {
    rowLength = row_length(content.description.groups[group]);
    capacity = rows_per_chunk(chunkByteCount, rowLength * sizeof(double));
    piece = {group, 0, nullptr, 0};
    for (const SampleSpan& span : content.groups[group]) {
        addRows(span);
        readByteCount += span.chunk->byteCount;
        if (progress) {
            progress(readByteCount, totalByteCount);
        }
    }
    store();
}

void RunWriter::addRows(const SampleSpan& span) {
    const ChunkLayout layout =
        layout_of(widths_of(content.description.groups[piece.group]), span.chunk->storedStepCount);
    ChunkReader chunk(content.data, run, *span.chunk, layout, true);
    ChunkLeaves leaves(chunk, layout);
    for (std::size_t done = 0; done < span.count;) {
        const std::size_t count = std::min(span.count - done, capacity - piece.rowCount);
        rows.resize((piece.rowCount + count) * rowLength);
        double* element = rows.data() + piece.rowCount * rowLength;
        for (std::size_t column = 0; column < layout.columns.size(); ++column) {
            copy_column(leaves, layout.columns[column], column, span.first + done, count, element,
                        rowLength);
            element += layout.columns[column].width;
        }
        piece.rowCount += count;
        done += count;
        if (piece.rowCount == capacity) {
            store();
        }
    }
}

void RunWriter::store() {
    if (piece.rowCount == 0) {
        return;
    }
    piece.rows = rows.data();
    Commit commit;
    commit.pieces.push_back(piece);
    recorder.commit(commit);
    piece.firstStep += piece.rowCount;
    piece.rowCount = 0;
}

} // namespace logging2::core::detail
