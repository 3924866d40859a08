#include <logging2/backends/recording/detail/IndexWriter.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/row_hashes.hpp>

#include <sqlite3.h>
#include <sys/stat.h>

namespace logging2::core::detail {
namespace {

Database opened(const std::string& name, mode_t mode, Durability durability,
                bool allowLiveReaders) {
    // So that it has the permissions from the start; SQLite gives its log the same ones.
    DataFile::create(name, mode & 0666);
    Database database(name, name, SQLITE_OPEN_READWRITE);
    // A network file system may not lock; then nobody else may open the index meanwhile.
    database.execute(durability == Durability::power ? "PRAGMA synchronous = FULL"
                                                     : "PRAGMA synchronous = OFF");
    database.execute(allowLiveReaders ? "PRAGMA journal_mode = WAL"
                                      : "PRAGMA locking_mode = EXCLUSIVE");
    database.execute(("PRAGMA application_id = " + std::to_string(applicationId) +
                      "; PRAGMA user_version = " + std::to_string(formatVersion))
                         .c_str());
    database.execute(indexSchema);
    return database;
}

} // namespace

const char* const indexSchema = R"(
    CREATE TABLE run (
        key TEXT PRIMARY KEY, value TEXT NOT NULL, hash INTEGER NOT NULL) WITHOUT ROWID;
    CREATE TABLE property (key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID;
    CREATE TABLE signal_group (
        position INTEGER PRIMARY KEY, id INTEGER NOT NULL,
        steps INTEGER NOT NULL, shown_steps INTEGER NOT NULL,
        chunk_hash_sum INTEGER NOT NULL, hash INTEGER NOT NULL);
    CREATE TABLE channel (
        signal_group INTEGER NOT NULL, position INTEGER NOT NULL,
        number INTEGER NOT NULL, width INTEGER NOT NULL,
        PRIMARY KEY (signal_group, position)) WITHOUT ROWID;
    CREATE TABLE path (
        text TEXT PRIMARY KEY, signal_group INTEGER NOT NULL, channel INTEGER NOT NULL)
        WITHOUT ROWID;
    CREATE TABLE chunk (
        signal_group INTEGER NOT NULL, first_step INTEGER NOT NULL, sequence INTEGER NOT NULL,
        steps INTEGER NOT NULL, stored_steps INTEGER NOT NULL,
        offset INTEGER NOT NULL, byte_count INTEGER NOT NULL,
        first_time REAL, last_time REAL, least_time REAL, greatest_time REAL,
        nan_times INTEGER NOT NULL, ascends INTEGER NOT NULL, greatest_so_far REAL,
        hash INTEGER NOT NULL,
        PRIMARY KEY (signal_group, first_step)) WITHOUT ROWID;
)";

const char* const chunkColumns =
    "sequence, signal_group, first_step, steps, stored_steps, offset, byte_count, first_time, "
    "last_time, least_time, greatest_time, nan_times, ascends, greatest_so_far, hash";

ChunkRow chunk_of(const Statement& statement) {
    return {
        statement.unsignedInteger(0), statement.unsignedInteger(1), statement.unsignedInteger(2),
        statement.unsignedInteger(3), statement.unsignedInteger(4), statement.unsignedInteger(5),
        statement.unsignedInteger(6), statement.number(7),          statement.number(8),
        statement.number(9),          statement.number(10),         statement.unsignedInteger(11),
        statement.integer(12) != 0,   statement.number(13)};
}

IndexWriter::IndexWriter(const std::string& name, mode_t mode, Durability durability,
                         bool allowLiveReaders, const Description& description,
                         std::uint64_t revision)
    : connection(opened(name, mode, durability, allowLiveReaders)),
      addChunk(connection, (std::string("INSERT INTO chunk (") + chunkColumns +
                            ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)")
                               .c_str()),
      findHashes(connection, "SELECT hash FROM chunk WHERE signal_group = ? AND first_step >= ?"),
      removeChunks(connection, "DELETE FROM chunk WHERE signal_group = ? AND first_step >= ?"),
      shortenChunk(connection,
                   "UPDATE chunk SET steps = ?, last_time = ?, least_time = ?, greatest_time = ?, "
                   "nan_times = ?, ascends = ?, greatest_so_far = ?, hash = ? "
                   "WHERE signal_group = ? AND first_step = ?"),
      updateGroup(connection, "UPDATE signal_group SET steps = ?, shown_steps = ?, "
                              "chunk_hash_sum = ?, hash = ? WHERE position = ?"),
      updateValue(connection, "REPLACE INTO run (key, value, hash) VALUES (?, ?, ?)"),
      findLast(connection, (std::string("SELECT ") + chunkColumns +
                            " FROM chunk WHERE signal_group = ? AND first_step < ? "
                            "ORDER BY first_step DESC LIMIT 1")
                               .c_str()),
      readCommit(connection, "SELECT value FROM run WHERE key = 'commit'"),
      hasLog(allowLiveReaders) {
    Transaction transaction(connection, Transaction::Kind::write);
    describe(description, revision);
    transaction.commit();
    announce();
    rememberLog();
}

void IndexWriter::checkPlace() {
    int hasMoved = 0;
    sqlite3_file_control(connection.get(), nullptr, SQLITE_FCNTL_HAS_MOVED, &hasMoved);
    if (hasMoved != 0) {
        throw RecordingError(connection.name(), "it was deleted or moved");
    }
    if (hasLog && presentLog() != log) {
        restoreLog();
    }
}

IndexWriter::LogFiles IndexWriter::presentLog() const {
    LogFiles files{};
    for (std::size_t i = 0; i < files.size(); ++i) {
        struct stat file {};
        if (::stat((connection.name() + (i == 0 ? "-wal" : "-shm")).c_str(), &file) == 0) {
            files[i] = {file.st_dev, file.st_ino};
        }
    }
    return files;
}

void IndexWriter::rememberLog() {
    const LogFiles files = presentLog();
    for (const auto& file : files) {
        if (hasLog && file == LogFiles::value_type()) {
            throw RecordingError(connection.name(), "its log cannot be found");
        }
    }
    log = files;
}

/// The connection still holds the files that lost their names.
void IndexWriter::restoreLog() {
    try {
        // First what works while somebody reads.
        connection.execute("PRAGMA wal_checkpoint(PASSIVE)");
        connection.execute("PRAGMA journal_mode = DELETE");
        connection.execute("PRAGMA journal_mode = WAL");
    } catch (const RecordingError&) {
        throw RecordingError(
            connection.name(),
            std::string("its log was deleted or moved, and cannot be made again: ") +
                sqlite3_errmsg(connection.get()));
    }
    announce();
    rememberLog();
}

void IndexWriter::describe(const Description& description, std::uint64_t revision) {
    setValue("id", description.id);
    setValue("name", description.name);
    setValue("start", description.start);
    setValue("host", description.host);
    setValue("process", description.process);
    setValue("library_version", description.libraryVersion);
    setValue("byte_order", "little");
    setValue("state", "running");
    setRevision(revision);
    countCommit();
    Statement addProperty(connection, "INSERT INTO property (key, value) VALUES (?, ?)");
    for (const auto& [key, value] : description.properties) {
        addProperty.bind(std::string_view(key)).bind(std::string_view(value)).run();
    }
    for (std::size_t position = 0; position < description.groups.size(); ++position) {
        describeGroup(position, description.groups[position]);
    }
}

void IndexWriter::describeGroup(std::size_t position, const DescribedGroup& group) {
    Statement addGroup(connection, "INSERT INTO signal_group VALUES (?, ?, 0, 0, 0, ?)");
    addGroup.bind(position).bind(group.id).bind(hash_of_row(position, GroupRow())).run();
    Statement addChannel(connection, "INSERT INTO channel VALUES (?, ?, ?, ?)");
    for (std::size_t k = 0; k < group.channels.size(); ++k) {
        addChannel.bind(position).bind(k).bind(group.channels[k].number);
        addChannel.bind(group.channels[k].width).run();
    }
    Statement addPath(connection, "INSERT INTO path VALUES (?, ?, ?)");
    for (const DescribedPath& path : group.paths) {
        addPath.bind(std::string_view(path.text)).bind(position).bind(path.channel).run();
    }
}

void IndexWriter::setValue(std::string_view key, std::string_view value) {
    // First the hash, which needs memory: a statement is bound as a whole.
    const std::uint64_t hash = hash_of_row(key, value);
    updateValue.bind(key).bind(value).bind(hash).run();
}

void IndexWriter::add(const ChunkRow& chunk) {
    addChunk.bind(chunk.sequence).bind(chunk.group).bind(chunk.firstStep).bind(chunk.stepCount);
    addChunk.bind(chunk.storedStepCount).bind(chunk.offset).bind(chunk.byteCount);
    addChunk.bind(chunk.firstTime).bind(chunk.lastTime).bind(chunk.leastTime);
    addChunk.bind(chunk.greatestTime).bind(chunk.nanTimeCount);
    addChunk.bind(std::int64_t{chunk.ascends ? 1 : 0}).bind(chunk.greatestSoFar);
    addChunk.bind(hash_of_row(chunk)).run();
}

std::uint64_t IndexWriter::removeFrom(std::size_t group, std::size_t firstStep) {
    std::uint64_t hashSum = 0;
    findHashes.bind(group).bind(firstStep);
    while (findHashes.step()) {
        hashSum += findHashes.unsignedInteger(0);
    }
    removeChunks.bind(group).bind(firstStep).run();
    return hashSum;
}

void IndexWriter::shorten(const ChunkRow& chunk) {
    shortenChunk.bind(chunk.stepCount).bind(chunk.lastTime).bind(chunk.leastTime);
    shortenChunk.bind(chunk.greatestTime).bind(chunk.nanTimeCount);
    shortenChunk.bind(std::int64_t{chunk.ascends ? 1 : 0}).bind(chunk.greatestSoFar);
    shortenChunk.bind(hash_of_row(chunk)).bind(chunk.group).bind(chunk.firstStep).run();
}

void IndexWriter::setGroup(std::size_t position, const GroupRow& row) {
    updateGroup.bind(row.stepCount).bind(row.shownStepCount).bind(row.chunkHashSum);
    updateGroup.bind(hash_of_row(position, row)).bind(position).run();
}

void IndexWriter::setRevision(std::uint64_t revision) {
    setValue("revision", std::to_string(revision));
}

void IndexWriter::countCommit() {
    setValue("commit", std::to_string(++commitCount));
}

void IndexWriter::end(const RunEnd& end) {
    setValue("state", end.state);
    if (!end.time.empty()) {
        setValue("end", end.time);
    }
}

std::optional<ChunkRow> IndexWriter::lastBefore(std::size_t group, std::size_t step) {
    std::optional<ChunkRow> chunk;
    findLast.bind(group).bind(step);
    while (findLast.step()) {
        chunk = chunk_of(findLast);
    }
    return chunk;
}

void IndexWriter::announce() {
    readCommit.run();
}

void IndexWriter::finish() {
    if (hasLog) {
        connection.execute("PRAGMA wal_checkpoint(TRUNCATE)");
        // While a reader has the index open, the log stays; it can be read as well.
        connection.executeUnlessBusy("PRAGMA journal_mode = DELETE");
    }
}

} // namespace logging2::core::detail
