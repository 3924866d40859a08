#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>

#include <sqlite3.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace logging2::core::bench {
namespace {

struct CloseDatabase {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
};
struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

void require(bool good, const Database& database) {
    if (!good) {
        throw std::runtime_error(std::string("SQLite: ") + sqlite3_errmsg(database.get()));
    }
}

Database open_database(const std::filesystem::path& path) {
    sqlite3* database = nullptr;
    const int result = sqlite3_open(path.c_str(), &database);
    Database owner(database);
    require(result == SQLITE_OK, owner);
    return owner;
}

/// One table per group, with a column for the time and one column per double. Prepared inserts run
/// in one transaction. The end of the transaction does not wait for the disk, because no other
/// contender does.
class Sqlite : public Contender {
public:
    Sqlite(const Rows& workloadRows, const std::filesystem::path& emptyDirectory)
        : Contender(workloadRows, emptyDirectory),
          database(open_database(directory / "rows.sqlite")) {
        execute("PRAGMA synchronous = OFF");
        for (std::size_t group = 0; group < rows.workload().groups.size(); ++group) {
            execute("CREATE TABLE " + nameOf(group) + " (" + columnsOf(group) + ")");
            inserts.push_back(prepared("INSERT INTO " + nameOf(group) + " VALUES (" +
                                       placeholdersOf(group) + ")"));
        }
    }

    void run() override {
        execute("BEGIN");
        rows.forEach([this](std::size_t group, double time, const double* values, std::size_t n) {
            sqlite3_stmt* insert = inserts[group].get();
            sqlite3_bind_double(insert, 1, time);
            for (std::size_t i = 0; i < n; ++i) {
                sqlite3_bind_double(insert, static_cast<int>(i) + 2, values[i]);
            }
            require(sqlite3_step(insert) == SQLITE_DONE, database);
            sqlite3_reset(insert);
        });
    }

    void finish() override {
        execute("COMMIT");
        inserts.clear();
    }

    std::size_t check() override {
        for (std::size_t group = 0; group < rows.workload().groups.size(); ++group) {
            check_group(group);
        }
        return 0;
    }

private:
    static std::string nameOf(std::size_t group) { return "rows" + std::to_string(group); }

    std::string columnsOf(std::size_t group) const {
        std::string columns = "time REAL";
        for (std::size_t i = 0; i < rows.workload().groups[group].valueCount(); ++i) {
            columns += ", v" + std::to_string(i) + " REAL";
        }
        return columns;
    }

    std::string placeholdersOf(std::size_t group) const {
        std::string placeholders = "?";
        for (std::size_t i = 0; i < rows.workload().groups[group].valueCount(); ++i) {
            placeholders += ", ?";
        }
        return placeholders;
    }

    void execute(const std::string& text) {
        require(sqlite3_exec(database.get(), text.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK,
                database);
    }

    Statement prepared(const std::string& text) {
        sqlite3_stmt* statement = nullptr;
        const int result =
            sqlite3_prepare_v2(database.get(), text.c_str(), -1, &statement, nullptr);
        Statement owner(statement);
        require(result == SQLITE_OK, database);
        return owner;
    }

    void check_group(std::size_t group) {
        const Statement select = prepared("SELECT * FROM " + nameOf(group) + " ORDER BY rowid");
        std::vector<double> row(rows.workload().groups[group].valueCount() + 1);
        std::size_t step = 0;
        for (; sqlite3_step(select.get()) == SQLITE_ROW; ++step) {
            for (std::size_t i = 0; i < row.size(); ++i) {
                row[i] = sqlite3_column_double(select.get(), static_cast<int>(i));
            }
            check_row(rows, group, step, row[0], row.data() + 1);
        }
        check_count(step, rows.workload().stepCount);
    }

    Database database;
    std::vector<Statement> inserts;
};

[[maybe_unused]] const bool added = add_contender<Sqlite>("sqlite", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
