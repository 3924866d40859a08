#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/Database.hpp>

#include <gmock/gmock.h>

#include <sqlite3.h>

namespace logging2::core::detail::test {
namespace {

TEST(DatabaseTest, endlessQueryOfADistrustedDatabaseIsAnError) {
    Database database(":memory:", "index", SQLITE_OPEN_READWRITE | SQLITE_OPEN_MEMORY);
    database.distrust();
    EXPECT_THAT(
        [&] {
            database.execute("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) "
                             "SELECT count(*) FROM n");
        },
        ::testing::ThrowsMessage<RecordingError>(
            ::testing::HasSubstr("reading it takes too long")));
}

} // namespace
} // namespace logging2::core::detail::test
