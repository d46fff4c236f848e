// The provider's cache of prepared statements.

#include "db/sqlite/statement_cache.h"

#include <gtest/gtest.h>

#include "kvlnmov/frame/error.h"

namespace kvlnmov::db::sqlite {
namespace {

class StatementCacheTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(sqlite3_open(":memory:", &db_), SQLITE_OK); }
    void TearDown() override { sqlite3_close_v2(db_); }
    sqlite3* db_ = nullptr;
};

TEST_F(StatementCacheTest, ReusesAnIdleStatementAndLendsABusyOneNever) {
    StatementCache cache(db_, 4);
    sqlite3_stmt* firstStatement = nullptr;
    {
        StatementCache::Lease first = cache.acquire("SELECT 1");
        firstStatement = first.get();
        ASSERT_EQ(sqlite3_step(first.get()), SQLITE_ROW);
        // In use: the same text gets its own statement.
        StatementCache::Lease second = cache.acquire("SELECT 1");
        EXPECT_NE(second.get(), firstStatement);
    }
    EXPECT_EQ(cache.idleCount(), 1u);  // one idle copy per text
    StatementCache::Lease again = cache.acquire("SELECT 1");
    // Given back reset: it runs from the start.
    EXPECT_EQ(sqlite3_step(again.get()), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(again.get(), 0), 1);
    EXPECT_EQ(cache.idleCount(), 0u);
}

TEST_F(StatementCacheTest, KeepsAtMostItsCapacityDroppingTheLeastRecentlyUsed) {
    StatementCache cache(db_, 2);
    sqlite3_stmt* two = nullptr;
    for (const char* sql : {"SELECT 1", "SELECT 2", "SELECT 3"}) {
        StatementCache::Lease lease = cache.acquire(sql);
        if (std::string_view(sql) == "SELECT 2") two = lease.get();
    }
    EXPECT_EQ(cache.idleCount(), 2u);
    // "SELECT 2" stayed (among the two most recent): lent from the idle ones.
    StatementCache::Lease kept = cache.acquire("SELECT 2");
    EXPECT_EQ(kept.get(), two);
    EXPECT_EQ(cache.idleCount(), 1u);
    // "SELECT 1" was finalized: prepared anew, the idle one left alone.
    StatementCache::Lease dropped = cache.acquire("SELECT 1");
    EXPECT_EQ(cache.idleCount(), 1u);
}

TEST_F(StatementCacheTest, BindingsAreClearedWhenGivenBack) {
    StatementCache cache(db_, 2);
    {
        StatementCache::Lease lease = cache.acquire("SELECT ?1");
        sqlite3_bind_int(lease.get(), 1, 42);
    }
    StatementCache::Lease lease = cache.acquire("SELECT ?1");
    ASSERT_EQ(sqlite3_step(lease.get()), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_type(lease.get(), 0), SQLITE_NULL);
}

TEST_F(StatementCacheTest, TextThatDoesNotPrepareRaisesTheMappedError) {
    StatementCache cache(db_, 2);
    try {
        cache.acquire("SELECT * FROM nothing_here");
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), errc::kProviderGeneric);
        EXPECT_EQ(error.description(), "no such table: nothing_here");
    }
    EXPECT_EQ(cache.idleCount(), 0u);
}

}  // namespace
}  // namespace kvlnmov::db::sqlite
