#pragma once

#include <logging2/backends/recording/RecordingError.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace logging2::core::detail {

struct CloseDatabase {
    void operator()(sqlite3* database) const noexcept;
};

struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const noexcept;
};

/// Thrown to a reader if the shared memory of the log is not consistent. Either the writer is
/// changing it, or it was killed meanwhile; readers may not repair it.
class SharedMemoryFault : public RecordingError {
public:
    using RecordingError::RecordingError;
};

/// A connection to an SQLite database, for one thread at a time. Errors are thrown as
/// RecordingError, with the file's name and SQLite's reason.
class Database {
public:
    /// Opens the file with these flags of sqlite3_open_v2(). It may be given as a URI. The name is
    /// for errors.
    Database(const std::string& file, std::string name, int flags);

    const std::string& name() const noexcept { return path; }

    /// Runs statements that give no rows back.
    void execute(const char* statements);

    /// The same, but does nothing if another connection locks the database.
    void executeUnlessBusy(const char* statement);

    /// The first value of a query's first row as an integer; 0 if there is no row.
    std::int64_t integer(const char* query);

    /// From now on, a read transaction that takes far more steps than reading everything in the
    /// file throws, and nothing but tables can be read: the file may have been made to stop its
    /// readers.
    void distrust();

    /// Begins to count the steps anew.
    void renewWork() noexcept;

    /// Throws if the result code is none of success.
    void check(int resultCode) const;

    sqlite3* get() const noexcept { return connection.get(); }

private:
    std::uint64_t byteCount() const noexcept;

    std::string path;
    std::unique_ptr<std::uint64_t> leftWork; ///< if the file is not trusted
    std::unique_ptr<sqlite3, CloseDatabase> connection;
};

/// A prepared statement. Its database must outlive it.
class Statement {
public:
    Statement(Database& owner, const char* text);

    /// Sets the next parameter, from the first one on.
    Statement& bind(std::int64_t value);
    Statement& bind(std::uint64_t value);
    Statement& bind(double value);
    Statement& bind(std::string_view text);

    /// Goes on to the next row and tells whether there is one. Behind the last row the statement is
    /// ready to be bound anew.
    bool step();

    /// Runs a statement that gives no rows back.
    void run();

    /// The values of the present row. A double that is NULL is NaN.
    std::int64_t integer(int column) const;
    std::uint64_t unsignedInteger(int column) const;
    double number(int column) const;
    std::string text(int column) const;

private:
    Statement& checked(int resultCode);
    void reset() noexcept;

    Database* database;
    std::unique_ptr<sqlite3_stmt, FinalizeStatement> statement;
    int bound = 0;
};

/// All changes while the object lives, or none of them if it is destroyed before commit().
class Transaction {
public:
    /// Begins it. A write transaction locks out other writers from the start; a read transaction
    /// shows the state of this moment.
    enum class Kind { read, write };
    Transaction(Database& owner, Kind kind);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();

    void commit();

private:
    Database& database;
    bool isOpen = true;
};

} // namespace logging2::core::detail
