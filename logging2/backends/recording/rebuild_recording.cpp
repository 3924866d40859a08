#include <logging2/backends/recording/rebuild_recording.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/check_recording.hpp>
#include <logging2/backends/recording/detail/ChunkLeaves.hpp>
#include <logging2/backends/recording/detail/ChunkReader.hpp>
#include <logging2/backends/recording/detail/NewDirectory.hpp>
#include <logging2/backends/recording/detail/RecordScanner.hpp>
#include <logging2/backends/recording/detail/RunWriter.hpp>
#include <logging2/backends/recording/detail/SegmentCodec.hpp>
#include <logging2/backends/recording/detail/StepMap.hpp>
#include <logging2/backends/recording/detail/buffer_plan.hpp>
#include <logging2/backends/recording/detail/find_description.hpp>
#include <logging2/backends/recording/detail/run_directory.hpp>

#include <algorithm>
#include <deque>
#include <utility>

namespace logging2::core {
namespace {

using detail::ChunkRow;
using detail::RecordHeader;
using detail::SampleSpan;

/// What the records of a data file say, in their order.
class Contents {
public:
    Contents(const detail::DataFile& dataFile, detail::DescriptionRecord description)
        : file(dataFile),
          first(std::move(description)),
          groups(first.description.groups.size()) {}

    void read(const RecordingProgress& progress) {
        detail::RecordScanner scanner(file, first);
        while (const auto record = scanner.next()) {
            add(record->header, record->offset);
            if (progress) {
                progress(record->offset, scanner.fileByteCount());
            }
        }
        result.lostBytes = scanner.unknownBytes();
        // Whatever followed is missing.
        result.mayLackRollback = result.mayLackRollback || !scanner.endsWithRecord();
    }

    detail::RunContent content() const {
        detail::RunContent run{file, first.description, revision, {"interrupted", ""}, {}};
        for (const detail::StepMap& group : groups) {
            run.groups.push_back(group.readable());
        }
        return run;
    }

    RecordingRebuild report() const {
        RecordingRebuild report = result;
        for (std::size_t group = 0; group < groups.size(); ++group) {
            for (const auto& [step, count] : groups[group].missing()) {
                report.lostSteps.push_back({first.description.groups[group].id, step, count});
            }
            for (const SampleSpan& span : groups[group].readable()) {
                report.stepCount += span.count;
            }
        }
        return report;
    }

private:
    void add(const RecordHeader& header, std::uint64_t offset) {
        repeatLostRollback(header);
        revision = header.revision;
        if (header.kind == detail::RecordKind::rollback) {
            groups[header.group].discardFrom(header.firstStep);
            ++rollbackCount;
        } else {
            addChunk(header, offset);
        }
    }

    /// The record tells of the last rollback before it; of the others it tells only how many.
    void repeatLostRollback(const RecordHeader& header) {
        if (header.rollbackCount <= rollbackCount || header.rollbackGroup >= groups.size()) {
            return;
        }
        groups[header.rollbackGroup].discardFrom(header.rollbackFirstStep);
        result.mayLackRollback = result.mayLackRollback || header.rollbackCount > rollbackCount + 1;
        rollbackCount = header.rollbackCount;
    }

    void addChunk(const RecordHeader& header, std::uint64_t offset) {
        ChunkRow row;
        row.sequence = header.sequence;
        row.group = header.group;
        row.firstStep = header.firstStep;
        row.stepCount = row.storedStepCount = header.stepCount;
        row.offset = offset;
        row.byteCount = sizeof header + header.payloadByteCount;
        chunks.push_back(row);
        groups[row.group].add(row, readableSpans(chunks.back()));
    }

    /// The steps of which every value fits its hash.
    std::vector<SampleSpan> readableSpans(const ChunkRow& row) const {
        const detail::ChunkLayout layout = detail::layout_of(
            detail::widths_of(first.description.groups[row.group]), row.storedStepCount);
        try {
            detail::ChunkReader chunk(file, first.run, row, layout, true);
            return readableSpans(row, layout, chunk);
        } catch (const RecordingError&) {
            return {}; // Nobody knows where the segments of a packed chunk are.
        }
    }

    std::vector<SampleSpan> readableSpans(const ChunkRow& row, const detail::ChunkLayout& layout,
                                          detail::ChunkReader& chunk) const {
        detail::ChunkLeaves leaves(chunk, layout);
        std::vector<SampleSpan> spans;
        bool isReadable = false;
        // A header that was made up may tell of more steps than the file can hold.
        const std::size_t ratio = chunk.isPacked(0) ? detail::greatestPackedRatio : 1;
        const std::uint64_t end =
            std::min<std::uint64_t>(row.storedStepCount, file.byteCount() / sizeof(double) * ratio);
        for (std::size_t step = 0; step < end; step += detail::leafStepCount) {
            const bool wasReadable = isReadable;
            isReadable = is_readable(leaves, layout, step / detail::leafStepCount);
            if (isReadable) {
                if (!wasReadable) {
                    spans.push_back({&row, step, 0});
                }
                spans.back().count += std::min(detail::leafStepCount, row.storedStepCount - step);
            }
        }
        return spans;
    }

    static bool is_readable(detail::ChunkLeaves& leaves, const detail::ChunkLayout& layout,
                            std::size_t leaf) {
        try {
            for (std::size_t column = 0; column < layout.columns.size(); ++column) {
                leaves.samples(column, leaf);
            }
            return true;
        } catch (const RecordingError&) {
            return false;
        }
    }

    const detail::DataFile& file;
    detail::DescriptionRecord first;
    std::deque<ChunkRow> chunks;
    std::vector<detail::StepMap> groups;
    std::uint64_t rollbackCount = 0;
    std::uint64_t revision = 0;
    RecordingRebuild result;
};

/// Tells the progress of one of three passes, which count the same.
RecordingProgress part_of(const RecordingProgress& progress, int pass, std::uint64_t byteCount) {
    if (!progress) {
        return {};
    }
    return [&progress, pass, byteCount](std::uint64_t read, std::uint64_t total) {
        const double done = pass + static_cast<double>(read) / static_cast<double>(total);
        progress(static_cast<std::uint64_t>(done * static_cast<double>(byteCount)), 3 * byteCount);
    };
}

} // namespace

RecordingRebuild rebuild_recording(const std::string& directory, const std::string& newDirectory,
                                   const RecordingOptions& options,
                                   const RecordingProgress& progress) {
    detail::check_options(options);
    detail::require_directory(directory);
    const auto data = detail::DataFile::open(directory + "/samples.bin");
    if (data.isClaimed()) {
        throw RecordingError(directory, "a host is still writing it; copy it instead");
    }
    const std::uint64_t byteCount = data.byteCount();
    detail::NewDirectory made(newDirectory, options.mode);
    Contents contents(data, detail::find_description(data, directory));
    contents.read(part_of(progress, 0, byteCount));
    const detail::RunContent content = contents.content();
    detail::RunWriter(content, made.path(), options, part_of(progress, 1, byteCount)).write();
    const RecordingCheck check = check_recording(made.path(), part_of(progress, 2, byteCount));
    if (check.findingCount > 0) {
        throw RecordingError(newDirectory, "what was written is damaged: " + check.findings[0]);
    }
    made.publish(options.durability);
    return contents.report();
}

} // namespace logging2::core
