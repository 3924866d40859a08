#include <logging2/backends/recording/detail/Recorder.hpp>

#include <logging2/backends/recording/detail/ChunkReader.hpp>
#include <logging2/backends/recording/detail/add_times.hpp>
#include <logging2/backends/recording/detail/row_hashes.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include <sys/statfs.h>

namespace logging2::core::detail {
namespace {

/// Network file systems whose locks and shared memory SQLite's log cannot rely on.
bool is_remote(const std::string& directory) {
    struct statfs status {};
    const bool isKnown = statfs(directory.c_str(), &status) == 0;
    // NFS, SMB, SMB2, CIFS, AFS, 9P, Ceph, FUSE
    constexpr std::array<std::uint32_t, 8> remote{0x6969,     0x517b,     0xfe534d42, 0xff534d42,
                                                  0x5346414f, 0x01021997, 0x00c36400, 0x65735546};
    return isKnown && std::find(remote.begin(), remote.end(),
                                static_cast<std::uint32_t>(status.f_type)) != remote.end();
}

/// A new data file, claimed before there is an index by which readers find it.
DataFile claimed_file(const std::string& name, mode_t mode) {
    DataFile file = DataFile::create(name, mode);
    file.claim();
    return file;
}

} // namespace

bool allows_live_readers(const std::string& directory) {
    return !is_remote(directory);
}

Recorder::Recorder(const std::string& directory, const RecordingOptions& options,
                   const Description& description, std::uint64_t firstRevision)
    : durability(options.durability),
      heldBack(options.heldBackSteps),
      run(run_id_of(description.id)),
      data(claimed_file(directory + "/samples.bin", options.mode & 0666)),
      index(directory + "/index.sqlite", options.mode, options.durability,
            allows_live_readers(directory), description, firstRevision),
      chunkWriter(data, options.compression),
      revision(firstRevision) {
    data.reserveAhead();
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
    std::string payload = text_of(description);
    payload.resize(aligned(payload.size()), '\0');
    RecordHeader header;
    header.run = run;
    header.revision = revision;
    header.payloadByteCount = payload.size();
    header.payloadHash = hash_of(payload.data(), payload.size());
    header.headerHash = hash_of(header);
    data.write(&header, sizeof header, 0);
    data.write(payload.data(), payload.size(), sizeof header);
    end = sizeof header + payload.size();
    nextSequence = 1;
}

Recorder::Draft Recorder::draftOf(const Commit& commit) const {
    Draft draft{end, nextSequence, revision, rollbacks, {}, {}};
    for (const Discard& discard : commit.discards) {
        draft.groups.emplace(discard.group, groups[discard.group].row);
    }
    for (const Piece& piece : commit.pieces) {
        draft.groups.emplace(piece.group, groups[piece.group].row);
    }
    for (std::size_t group = 0; commit.showAll && group < groups.size(); ++group) {
        draft.groups.emplace(group, groups[group].row);
    }
    return draft;
}

void Recorder::commit(const Commit& commit) {
    data.checkPlace();
    index.checkPlace();
    buryFailedTransaction();
    Draft draft = draftOf(commit);
    try {
        store(draft, commit);
    } catch (const std::exception&) {
        // The file may hold records that a shorter commit does not overwrite. A reader of the file
        // alone knows them by their sequence numbers, which are never used again.
        nextSequence = draft.nextSequence;
        throw;
    }
    end = draft.end;
    nextSequence = draft.nextSequence;
    revision = draft.revision;
    rollbacks = draft.rollbacks;
    for (const auto& [group, row] : draft.groups) {
        groups[group].row = row;
    }
    hasEnded = commit.end.has_value();
}

/// A transaction that failed at its end may stand whole in the log, and count after a kill or a
/// loss of power. The chunks that it names must stay until another one has taken its place there.
void Recorder::buryFailedTransaction() {
    if (mayComeBack) {
        Transaction transaction(index.database(), Transaction::Kind::write);
        index.countCommit();
        transaction.commit();
        mayComeBack = false;
    }
}

void Recorder::publish() {
    index.announce();
    if (hasEnded) {
        index.finish();
        data.giveBackReserved();
        data.release();
    }
}

void Recorder::store(Draft& draft, const Commit& commit) {
    appendDiscards(draft, commit.discards);
    appendPieces(draft, commit.pieces);
    if (durability == Durability::power) {
        data.synchronize();
    }
    updateIndex(draft, commit);
}

RecordHeader Recorder::headerOf(Draft& draft, RecordKind kind, std::size_t group) const {
    RecordHeader header;
    header.kind = kind;
    header.run = run;
    header.sequence = draft.nextSequence++;
    header.group = group;
    header.revision = draft.revision;
    header.rollbackCount = draft.rollbacks.count;
    header.rollbackGroup = draft.rollbacks.last.group;
    header.rollbackFirstStep = draft.rollbacks.last.firstStep;
    return header;
}

void Recorder::appendDiscards(Draft& draft, const std::vector<Discard>& discards) {
    std::vector<RecordHeader> headers;
    for (const Discard& discard : discards) {
        GroupRow& row = draft.groups[discard.group];
        if (discard.firstStep < row.shownStepCount) {
            row.shownStepCount = discard.firstStep;
            draft.revision = revision + 1;
        }
        row.stepCount = discard.firstStep;
        RecordHeader header = headerOf(draft, RecordKind::rollback, discard.group);
        header.firstStep = discard.firstStep;
        header.headerHash = hash_of(header);
        headers.push_back(header);
        draft.rollbacks = {draft.rollbacks.count + 1, discard};
    }
    const std::size_t byteCount = headers.size() * sizeof(RecordHeader);
    data.write(headers.data(), byteCount, draft.end);
    draft.end += byteCount;
}

void Recorder::appendPieces(Draft& draft, const std::vector<Piece>& pieces) {
    for (const Piece& piece : pieces) {
        ChunkEncoder& encoder = groups[piece.group].encoder;
        PendingChunk chunk{&encoder, encoder.layout(piece.rowCount), piece.rows, {}, {}};
        chunk.header = headerOf(draft, RecordKind::chunk, piece.group);
        chunk.header.firstStep = piece.firstStep;
        chunk.header.stepCount = piece.rowCount;
        chunk.row.sequence = chunk.header.sequence;
        chunk.row.group = piece.group;
        chunk.row.firstStep = piece.firstStep;
        chunk.row.storedStepCount = piece.rowCount;
        draft.chunks.push_back(std::move(chunk));
        draft.groups[piece.group].stepCount = piece.firstStep + piece.rowCount;
    }
    draft.end = chunkWriter.write(draft.chunks, draft.end);
}

void Recorder::updateIndex(Draft& draft, const Commit& commit) {
    Transaction transaction(index.database(), Transaction::Kind::write);
    for (const Discard& discard : commit.discards) {
        discardInIndex(discard.group, discard.firstStep, draft.groups[discard.group]);
    }
    for (const PendingChunk& chunk : draft.chunks) {
        addToIndex(chunk.row, draft.groups[chunk.row.group]);
    }
    for (auto& [group, row] : draft.groups) {
        const std::size_t settled =
            commit.showAll ? row.stepCount : row.stepCount - std::min(row.stepCount, heldBack);
        row.shownStepCount = std::max(row.shownStepCount, settled);
        index.setGroup(group, row);
    }
    if (draft.revision != revision) {
        index.setRevision(draft.revision);
    }
    if (commit.end) {
        index.end(*commit.end);
    } else if (hasEnded) {
        index.end({"running", ""});
    }
    index.countCommit();
    mayComeBack = true;
    transaction.commit();
    mayComeBack = false;
}

void Recorder::addToIndex(ChunkRow row, GroupRow& groupRow) {
    discardInIndex(row.group, row.firstStep, groupRow);
    row.greatestSoFar = row.greatestTime;
    if (const auto previous = index.lastBefore(row.group, row.firstStep)) {
        row.greatestSoFar = std::max(row.greatestSoFar, previous->greatestSoFar);
    }
    index.add(row);
    groupRow.chunkHashSum += hash_of_row(row);
}

void Recorder::discardInIndex(std::size_t group, std::size_t firstStep, GroupRow& groupRow) {
    groupRow.chunkHashSum -= index.removeFrom(group, firstStep);
    const auto last = index.lastBefore(group, firstStep);
    if (last && last->firstStep + last->stepCount > firstStep) {
        const ChunkRow rest = shortened(*last, firstStep - last->firstStep);
        index.shorten(rest);
        groupRow.chunkHashSum += hash_of_row(rest) - hash_of_row(*last);
    }
}

ChunkRow Recorder::shortened(ChunkRow row, std::size_t stepCount) const {
    const std::vector<double> times = timesOf(row, stepCount);
    row.stepCount = 0;
    add_times(times.data(), times.size(), row);
    row.greatestSoFar = row.greatestTime;
    if (const auto previous = index.lastBefore(row.group, row.firstStep)) {
        row.greatestSoFar = std::max(row.greatestSoFar, previous->greatestSoFar);
    }
    return row;
}

std::vector<double> Recorder::timesOf(const ChunkRow& row, std::size_t count) const {
    ChunkEncoder encoder = groups[row.group].encoder;
    const auto layout = encoder.layout(row.storedStepCount);
    const ChunkReader chunk(data, run, row, *layout, true);
    std::vector<double> times(count);
    chunk.read(0, 0, count, times.data());
    return times;
}

std::size_t Recorder::firstLater(std::size_t group, double time) const {
    ChunkRow holding;
    auto row = index.lastBefore(group, groups[group].row.stepCount);
    while (row && row->greatestSoFar > time) {
        holding = *row;
        row = index.lastBefore(group, holding.firstStep);
    }
    const std::vector<double> times = timesOf(holding, holding.stepCount);
    const auto later =
        std::find_if(times.begin(), times.end(), [time](double stored) { return stored > time; });
    return holding.firstStep + static_cast<std::size_t>(later - times.begin());
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
