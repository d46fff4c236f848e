#include "db/sqlite/statement_cache.h"

#include <string_view>

#include "db/sqlite/sqlite_error.h"
#include "db/sqlite/sqlite_provider.h"
#include "db/sqlite/translate/sql_errors.h"

namespace kvlnmov::db::sqlite {

namespace {

// The error for a statement SQLite cannot prepare. The translator writes valid SQLite text,
// but SQLite bounds what it prepares (parser stack, expression depth, columns, terms,
// arguments, tables in a join, parameters) well below the server's bounds: a statement past
// them is reported as the server reports one past its own.
Error prepareError(sqlite3* db, int resultCode) {
    const std::string_view message = sqlite3_errmsg(db);
    const tsql::SqlErrors errors(kProviderName);
    if (message == "parser stack overflow" || message.starts_with("Expression tree is too large")) {
        return errors.nestedTooDeeply();
    }
    constexpr std::string_view kLimits[] = {
        "too many columns",
        "too many terms in",
        "too many arguments on function",
        "too many SQL variables",
        "too many FROM clause",
        "too many references to",
        "variable number must be between",
    };
    bool limit = (resultCode & 0xff) == SQLITE_TOOBIG ||
                 (message.starts_with("at most ") && message.ends_with("tables in a join"));
    for (std::string_view prefix : kLimits) limit = limit || message.starts_with(prefix);
    if (limit) return errors.expressionLimit();
    return sqliteError(db, resultCode);
}

}  // namespace

StatementCache::Lease& StatementCache::Lease::operator=(Lease&& other) noexcept {
    if (this != &other) {
        release();
        cache_ = std::exchange(other.cache_, nullptr);
        sql_ = std::move(other.sql_);
        statement_ = std::exchange(other.statement_, nullptr);
    }
    return *this;
}

void StatementCache::Lease::release() {
    if (!statement_) return;
    sqlite3_stmt* statement = std::exchange(statement_, nullptr);
    cache_->giveBack(std::move(sql_), statement);
}

StatementCache::Lease StatementCache::acquire(const std::string& sql) {
    if (auto found = index_.find(sql); found != index_.end()) {
        sqlite3_stmt* statement = found->second->second;
        idle_.erase(found->second);
        index_.erase(found);
        return Lease(this, sql, statement);
    }
    sqlite3_stmt* statement = nullptr;
    const int resultCode = sqlite3_prepare_v3(db_, sql.c_str(), static_cast<int>(sql.size()),
                                              SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    if (resultCode != SQLITE_OK) {
        sqlite3_finalize(statement);
        throw prepareError(db_, resultCode);
    }
    return Lease(this, sql, statement);
}

void StatementCache::giveBack(std::string sql, sqlite3_stmt* statement) {
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    if (capacity_ == 0 || index_.contains(sql)) {
        // Another lease of the same text came back first: keep one idle copy only.
        sqlite3_finalize(statement);
        return;
    }
    idle_.emplace_front(sql, statement);
    index_.emplace(std::move(sql), idle_.begin());
    while (idle_.size() > capacity_) {
        sqlite3_finalize(idle_.back().second);
        index_.erase(idle_.back().first);
        idle_.pop_back();
    }
}

void StatementCache::clear() {
    for (auto& entry : idle_) sqlite3_finalize(entry.second);
    idle_.clear();
    index_.clear();
}

}  // namespace kvlnmov::db::sqlite
