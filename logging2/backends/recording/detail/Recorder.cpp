#include <logging2/backends/recording/detail/Recorder.hpp>

#include <logging2/backends/recording/detail/ChunkReader.hpp>
#include <logging2/backends/recording/detail/ColumnTree.hpp>
#include <logging2/backends/recording/detail/doubles_at.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include <sys/statfs.h>

namespace logging2::core::detail {
namespace {

/// Records are collected up to this size and written together.
constexpr std::size_t leastStagingByteCount = std::size_t{4} * 1024 * 1024;

/// Network file systems whose locks and shared memory SQLite's log cannot rely on.
bool is_remote(const std::string& directory) {
    struct statfs status {};
    if (statfs(directory.c_str(), &status) == -1) {
        return false;
    }
    // NFS, SMB, SMB2, CIFS, AFS, 9P, Ceph, FUSE
    constexpr std::array<std::uint32_t, 8> remote{0x6969,     0x517b,     0xfe534d42, 0xff534d42,
                                                  0x5346414f, 0x01021997, 0x00c36400, 0x65735546};
    return std::find(remote.begin(), remote.end(), static_cast<std::uint32_t>(status.f_type)) !=
           remote.end();
}

/// Sets what the row says about its times.
void describe_times(const double* times, std::size_t count, ChunkRow& row) {
    ElementRange range;
    add_samples(times, count, 1, &range);
    row.stepCount = count;
    row.firstTime = times[0];
    row.lastTime = times[count - 1];
    row.leastTime = range.least;
    row.greatestTime = range.greatest;
    row.nanTimeCount = static_cast<std::size_t>(range.nanCount);
    row.ascends = row.nanTimeCount == 0 && std::is_sorted(times, times + count);
}

} // namespace

bool allows_live_readers(const std::string& directory) {
    return !is_remote(directory);
}

Recorder::Recorder(const std::string& directory, const RecordingOptions& options,
                   const Description& description)
    : durability(options.durability),
      heldBack(options.heldBackSteps),
      run(run_id_of(description.id)),
      data(DataFile::create(directory + "/samples.bin", options.mode & 0666)),
      index(directory + "/index.sqlite", options.mode, options.durability,
            allows_live_readers(directory), description) {
    data.claim();
    for (const DescribedGroup& group : description.groups) {
        groups.push_back({ChunkEncoder(widths_of(group)), {}});
    }
    appendDescription(description);
    if (durability == Durability::power) {
        data.synchronize();
        synchronize_directory(directory);
    }
}

void Recorder::appendDescription(const Description& description) {
    const std::string text = text_of(description);
    Draft draft = draftOf({});
    RecordHeader header = headerOf(draft, RecordKind::description, 0);
    header.payloadByteCount = aligned(text.size());
    char* const place = stage(draft, sizeof header + header.payloadByteCount);
    char* const payload = place + sizeof header;
    std::fill_n(std::copy(text.begin(), text.end(), payload), header.payloadByteCount - text.size(),
                '\0');
    header.payloadHash = hash_of(payload, header.payloadByteCount);
    header.headerHash = hash_of(header);
    std::memcpy(place, &header, sizeof header);
    writeStaged(draft);
    end = draft.end;
    nextSequence = draft.nextSequence;
}

Recorder::Draft Recorder::draftOf(const Commit& commit) const {
    Draft draft{end, nextSequence, revision, {}, {}, 0};
    for (const Discard& discard : commit.discards) {
        draft.counts.emplace(discard.group, groups[discard.group].counts);
    }
    for (const Piece& piece : commit.pieces) {
        draft.counts.emplace(piece.group, groups[piece.group].counts);
    }
    for (std::size_t group = 0; commit.showAll && group < groups.size(); ++group) {
        draft.counts.emplace(group, groups[group].counts);
    }
    return draft;
}

void Recorder::commit(const Commit& commit) {
    data.checkPlace();
    index.checkPlace();
    Draft draft = draftOf(commit);
    for (const Discard& discard : commit.discards) {
        appendDiscard(draft, discard);
    }
    for (const Piece& piece : commit.pieces) {
        appendPiece(draft, piece);
    }
    writeStaged(draft);
    if (durability == Durability::power) {
        data.synchronize();
    }
    updateIndex(draft, commit);
    end = draft.end;
    nextSequence = draft.nextSequence;
    revision = draft.revision;
    for (const auto& [group, counts] : draft.counts) {
        groups[group].counts = counts;
    }
    hasEnded = commit.endState != nullptr;
}

void Recorder::publish() {
    index.announce();
    if (hasEnded) {
        index.finish();
    }
}

RecordHeader Recorder::headerOf(Draft& draft, RecordKind kind, std::size_t group) const {
    RecordHeader header;
    header.kind = kind;
    header.run = run;
    header.sequence = draft.nextSequence++;
    header.group = group;
    header.revision = draft.revision;
    return header;
}

/// Room for a record at the end of the staged ones.
char* Recorder::stage(Draft& draft, std::size_t byteCount) {
    if (draft.stagedByteCount + byteCount > stagingByteCount) {
        writeStaged(draft);
    }
    if (byteCount > stagingByteCount) {
        // First the old memory goes, so that not both are held.
        stagingByteCount = 0;
        staging.reset();
        const std::size_t wanted = std::max(leastStagingByteCount, byteCount);
        staging.reset(new char[wanted + alignment]);
        stagingByteCount = wanted;
    }
    void* first = staging.get();
    std::size_t space = stagingByteCount + alignment;
    std::align(alignment, stagingByteCount, first, space);
    char* const place = static_cast<char*>(first) + draft.stagedByteCount;
    draft.stagedByteCount += byteCount;
    draft.end += byteCount;
    return place;
}

void Recorder::writeStaged(Draft& draft) {
    if (draft.stagedByteCount == 0) {
        return;
    }
    void* first = staging.get();
    std::size_t space = stagingByteCount + alignment;
    std::align(alignment, stagingByteCount, first, space);
    data.write(first, draft.stagedByteCount, draft.end - draft.stagedByteCount);
    draft.stagedByteCount = 0;
}

void Recorder::appendDiscard(Draft& draft, const Discard& discard) {
    Counts& counts = draft.counts[discard.group];
    if (discard.firstStep < counts.shown) {
        counts.shown = discard.firstStep;
        draft.revision = revision + 1;
    }
    counts.steps = discard.firstStep;
    RecordHeader header = headerOf(draft, RecordKind::rollback, discard.group);
    header.firstStep = discard.firstStep;
    header.headerHash = hash_of(header);
    std::memcpy(stage(draft, sizeof header), &header, sizeof header);
}

void Recorder::appendPiece(Draft& draft, const Piece& piece) {
    ChunkEncoder& encoder = groups[piece.group].encoder;
    const ChunkLayout& layout = encoder.layout(piece.rowCount);
    RecordHeader header = headerOf(draft, RecordKind::chunk, piece.group);
    header.firstStep = piece.firstStep;
    header.stepCount = piece.rowCount;
    header.payloadByteCount = layout.byteCount;
    char* const place = stage(draft, sizeof header + layout.byteCount);
    char* const payload = place + sizeof header;
    encoder.encode(piece.rows, piece.rowCount, payload);
    header.payloadHash = hash_of(payload, layout.directoryByteCount);
    header.headerHash = hash_of(header);
    std::memcpy(place, &header, sizeof header);

    ChunkRow row;
    row.sequence = header.sequence;
    row.group = piece.group;
    row.firstStep = piece.firstStep;
    row.storedStepCount = piece.rowCount;
    row.byteCount = sizeof header + layout.byteCount;
    row.offset = draft.end - row.byteCount;
    describe_times(doubles_at(payload, layout.columns[0].values), piece.rowCount, row);
    draft.rows.push_back(row);
    draft.counts[piece.group].steps = piece.firstStep + piece.rowCount;
}

void Recorder::updateIndex(Draft& draft, const Commit& commit) {
    Transaction transaction(index.database(), Transaction::Kind::write);
    for (const Discard& discard : commit.discards) {
        discardInIndex(discard.group, discard.firstStep);
    }
    for (const ChunkRow& row : draft.rows) {
        addToIndex(row);
    }
    for (auto& [group, counts] : draft.counts) {
        const std::size_t settled =
            commit.showAll ? counts.steps : counts.steps - std::min(counts.steps, heldBack);
        counts.shown = std::max(counts.shown, settled);
        index.setSteps(group, counts.steps, counts.shown);
    }
    if (draft.revision != revision) {
        index.setRevision(draft.revision);
    }
    if (commit.endState != nullptr) {
        index.end(commit.endState, text_of_time(std::chrono::system_clock::now()));
    } else if (hasEnded) {
        index.end("running", "");
    }
    index.countCommit();
    transaction.commit();
}

void Recorder::addToIndex(ChunkRow row) {
    discardInIndex(row.group, row.firstStep);
    row.greatestSoFar = row.greatestTime;
    if (const auto previous = index.lastBefore(row.group, row.firstStep)) {
        row.greatestSoFar = std::max(row.greatestSoFar, previous->greatestSoFar);
    }
    index.add(row);
}

void Recorder::discardInIndex(std::size_t group, std::size_t firstStep) {
    index.removeFrom(group, firstStep);
    const auto last = index.lastBefore(group, firstStep);
    if (last && last->firstStep + last->stepCount > firstStep) {
        index.shorten(shortened(*last, firstStep - last->firstStep));
    }
}

ChunkRow Recorder::shortened(ChunkRow row, std::size_t stepCount) const {
    const std::vector<double> times = timesOf(row, stepCount);
    describe_times(times.data(), times.size(), row);
    row.greatestSoFar = row.greatestTime;
    if (const auto previous = index.lastBefore(row.group, row.firstStep)) {
        row.greatestSoFar = std::max(row.greatestSoFar, previous->greatestSoFar);
    }
    return row;
}

std::vector<double> Recorder::timesOf(const ChunkRow& row, std::size_t count) const {
    ChunkEncoder encoder = groups[row.group].encoder;
    const ChunkReader chunk(data, run, row, encoder.layout(row.storedStepCount), true);
    std::vector<double> times(count);
    chunk.read(0, 0, count, times.data());
    return times;
}

std::optional<std::size_t> Recorder::firstLater(std::size_t group, double time) const {
    std::optional<ChunkRow> holding;
    std::size_t before = groups[group].counts.steps;
    while (const auto row = index.lastBefore(group, before)) {
        if (!(row->greatestSoFar > time)) {
            break;
        }
        holding = row;
        before = row->firstStep;
    }
    if (!holding) {
        return std::nullopt;
    }
    const std::vector<double> times = timesOf(*holding, holding->stepCount);
    const auto later =
        std::find_if(times.begin(), times.end(), [time](double stored) { return stored > time; });
    return holding->firstStep + static_cast<std::size_t>(later - times.begin());
}

GroupEnd Recorder::endOf(std::size_t group, std::size_t stepCount) const {
    auto row = index.lastBefore(group, stepCount);
    if (!row) {
        return {};
    }
    if (row->firstStep + row->stepCount > stepCount) {
        row = shortened(*row, stepCount - row->firstStep);
    }
    return {stepCount, row->lastTime, row->greatestSoFar};
}

} // namespace logging2::core::detail
