#include <logging2/backends/recording/detail/Database.hpp>

#include <logging2/backends/recording/detail/AccessFault.hpp>

#include <limits>
#include <system_error>
#include <utility>

#include <sqlite3.h>

namespace logging2::core::detail {
namespace {

/// SQLite asks after so many instructions of its machine whether to go on.
constexpr int instructionsPerAnswer = 10000;

/// In these units. A check of everything takes less than 10 instructions per byte.
constexpr std::uint64_t leastWork = 1000;
constexpr std::uint64_t bytesPerWork = instructionsPerAnswer / 200;

int is_too_much(void* leftWork) {
    auto& left = *static_cast<std::uint64_t*>(leftWork);
    left -= left == 0 ? 0 : 1;
    return left == 0 ? 1 : 0;
}

std::uint64_t byte_count_of(sqlite3* database, int fileOperation) noexcept {
    sqlite3_file* file = nullptr;
    sqlite3_int64 count = 0;
    sqlite3_file_control(database, nullptr, fileOperation, &file);
    const bool isOpen = file != nullptr && file->pMethods != nullptr;
    return isOpen && file->pMethods->xFileSize(file, &count) == SQLITE_OK
               ? static_cast<std::uint64_t>(count)
               : 0;
}

} // namespace

void CloseDatabase::operator()(sqlite3* database) const noexcept {
    sqlite3_close_v2(database);
}

void FinalizeStatement::operator()(sqlite3_stmt* statement) const noexcept {
    sqlite3_finalize(statement);
}

Database::Database(const std::string& file, std::string name, int flags) : path(std::move(name)) {
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(file.c_str(), &opened,
                                       flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI, nullptr);
    connection.reset(opened);
    if (opened == nullptr) {
        throw std::bad_alloc();
    }
    sqlite3_extended_result_codes(opened, 1);
    check(result);
}

void Database::check(int resultCode) const {
    if (resultCode == SQLITE_OK || resultCode == SQLITE_ROW || resultCode == SQLITE_DONE) {
        return;
    }
    if (resultCode == SQLITE_NOMEM) {
        throw std::bad_alloc();
    }
    if (resultCode == SQLITE_READONLY_RECOVERY) {
        throw SharedMemoryFault(path, "the shared memory of its log is damaged");
    }
    if (resultCode == SQLITE_INTERRUPT) {
        throw RecordingError(path, "it is damaged: reading it takes too long");
    }
    const int error = sqlite3_system_errno(connection.get());
    if ((resultCode & 0xff) == SQLITE_CANTOPEN && error != 0) {
        const std::string cause = "cannot open it: " + std::generic_category().message(error);
        if (is_access_fault(error)) {
            throw AccessFault(path, cause);
        }
        throw RecordingError(path, cause);
    }
    throw RecordingError(path, sqlite3_errmsg(connection.get()));
}

void Database::distrust() {
    sqlite3* const database = connection.get();
    sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    leftWork = std::make_unique<std::uint64_t>(leastWork);
    sqlite3_progress_handler(database, instructionsPerAnswer, is_too_much, leftWork.get());
}

void Database::renewWork() noexcept {
    if (leftWork) {
        *leftWork = leastWork + byteCount() / bytesPerWork;
    }
}

std::uint64_t Database::byteCount() const noexcept {
    return byte_count_of(connection.get(), SQLITE_FCNTL_FILE_POINTER) +
           byte_count_of(connection.get(), SQLITE_FCNTL_JOURNAL_POINTER);
}

void Database::execute(const char* statements) {
    check(sqlite3_exec(connection.get(), statements, nullptr, nullptr, nullptr));
}

void Database::executeUnlessBusy(const char* statement) {
    const int result = sqlite3_exec(connection.get(), statement, nullptr, nullptr, nullptr);
    // The low byte of an extended result code is its kind.
    if ((result & 0xff) != SQLITE_BUSY) {
        check(result);
    }
}

std::int64_t Database::integer(const char* query) {
    Statement statement(*this, query);
    return statement.step() ? statement.integer(0) : 0;
}

Statement::Statement(Database& owner, const char* text) : database(&owner) {
    sqlite3_stmt* prepared = nullptr;
    const int result =
        sqlite3_prepare_v3(owner.get(), text, -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
    statement.reset(prepared);
    owner.check(result);
}

Statement& Statement::bind(std::int64_t value) {
    return checked(sqlite3_bind_int64(statement.get(), ++bound, value));
}

Statement& Statement::bind(std::uint64_t value) {
    return bind(static_cast<std::int64_t>(value));
}

Statement& Statement::bind(double value) {
    return checked(sqlite3_bind_double(statement.get(), ++bound, value));
}

Statement& Statement::bind(std::string_view text) {
    return checked(sqlite3_bind_text64(statement.get(), ++bound, text.data(), text.size(),
                                       SQLITE_TRANSIENT, SQLITE_UTF8));
}

Statement& Statement::checked(int resultCode) {
    if (resultCode != SQLITE_OK) {
        // The next use begins with the first parameter.
        reset();
    }
    database->check(resultCode);
    return *this;
}

bool Statement::step() {
    const int result = sqlite3_step(statement.get());
    if (result == SQLITE_ROW) {
        return true;
    }
    reset();
    database->check(result);
    return false;
}

void Statement::run() {
    while (step()) {
    }
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(statement.get(), column);
}

std::uint64_t Statement::unsignedInteger(int column) const {
    return static_cast<std::uint64_t>(integer(column));
}

double Statement::number(int column) const {
    return sqlite3_column_type(statement.get(), column) == SQLITE_NULL
               ? std::numeric_limits<double>::quiet_NaN()
               : sqlite3_column_double(statement.get(), column);
}

std::string Statement::text(int column) const {
    const auto* const bytes = sqlite3_column_text(statement.get(), column);
    const int count = sqlite3_column_bytes(statement.get(), column);
    return bytes == nullptr
               ? std::string()
               : std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count));
}

void Statement::reset() noexcept {
    bound = 0;
    sqlite3_reset(statement.get());
}

namespace {

/// So often a reader looks again: the writer changes the shared memory within nanoseconds.
constexpr int greatestReadAttemptCount = 100;

void roll_back(const Database& database) noexcept {
    // A failed commit may have ended the transaction already.
    sqlite3_exec(database.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void begin_reading(Database& database) {
    for (int attempt = 1;; ++attempt) {
        try {
            // The transaction begins with its first query.
            database.renewWork();
            database.execute("BEGIN; SELECT count(*) FROM sqlite_schema");
            return;
        } catch (const SharedMemoryFault&) {
            roll_back(database);
            if (attempt == greatestReadAttemptCount) {
                throw;
            }
        } catch (const std::exception&) {
            roll_back(database);
            throw;
        }
    }
}

} // namespace

Transaction::Transaction(Database& owner, Kind kind) : database(owner) {
    if (kind == Kind::write) {
        database.execute("BEGIN IMMEDIATE");
    } else {
        begin_reading(database);
    }
}

Transaction::~Transaction() {
    if (isOpen) {
        roll_back(database);
    }
}

void Transaction::commit() {
    database.execute("COMMIT");
    isOpen = false;
}

} // namespace logging2::core::detail
