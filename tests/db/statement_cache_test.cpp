// The provider's cache of prepared statements.

#include "db/sqlite/statement_cache.h"

#include <gtest/gtest.h>

#include <string>

#include "kvlnmov/frame/error.h"
#include "support/limit_texts.h"

namespace kvlnmov::db::sqlite {
namespace {

using kvlnmov::testing::kExpressionLimit;
using kvlnmov::testing::kNested;

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

std::string repeated(const std::string& piece, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += piece;
    return text;
}

std::string list(const std::string& item, int count) {
    std::string text = item;
    for (int i = 1; i < count; ++i) text += ", " + item;
    return text;
}

// SQLite prepares less than the server accepts: past its limits the statement is refused as
// the server refuses one past its own.
struct LimitCase {
    std::string sql;
    std::string description;
};

class StatementCacheLimit : public StatementCacheTest,
                            public ::testing::WithParamInterface<LimitCase> {};

TEST_P(StatementCacheLimit, IsReportedAsTheServersLimitError) {
    StatementCache cache(db_, 2);
    try {
        cache.acquire(GetParam().sql);
        FAIL() << "prepared";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), errc::kSyntax);
        EXPECT_EQ(error.source(), "kvlnmov SQLite provider");
        EXPECT_EQ(error.description(), GetParam().description);
    }
}


INSTANTIATE_TEST_SUITE_P(
    Limits, StatementCacheLimit,
    ::testing::Values(LimitCase{"SELECT " + repeated("(", 120) + "1" + repeated(")", 120), kNested},
                      LimitCase{"SELECT " + repeated("(SELECT ", 30) + "1" + repeated(")", 30),
                                kNested},
                      LimitCase{"SELECT 1" + repeated(" + 1", 1200), kNested},
                      LimitCase{"SELECT " + list("1", 2001), kExpressionLimit},
                      LimitCase{"SELECT coalesce(" + list("1", 200) + ")", kExpressionLimit},
                      LimitCase{"SELECT 1 FROM " + list("(SELECT 1)", 70), kExpressionLimit},
                      LimitCase{"SELECT ?250001", kExpressionLimit}));

}  // namespace
}  // namespace kvlnmov::db::sqlite
