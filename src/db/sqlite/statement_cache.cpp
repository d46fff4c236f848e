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
        entry_ = other.entry_;
        kept_ = std::exchange(other.kept_, false);
        statement_ = std::exchange(other.statement_, nullptr);
    }
    return *this;
}

void StatementCache::Lease::release() {
    if (!statement_) return;
    cache_->giveBack(*this);
    statement_ = nullptr;
    kept_ = false;
}

sqlite3_stmt* StatementCache::prepare(std::string_view sql) {
    sqlite3_stmt* statement = nullptr;
    const int resultCode = sqlite3_prepare_v3(db_, sql.data(), static_cast<int>(sql.size()),
                                              SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    if (resultCode != SQLITE_OK) {
        sqlite3_finalize(statement);
        throw prepareError(db_, resultCode);
    }
    return statement;
}

StatementCache::Lease StatementCache::acquire(std::string_view sql) {
    if (auto found = index_.find(sql); found != index_.end()) {
        const Entries::iterator entry = found->second;
        if (entry->busy) {
            // Lent out (an open cursor): this use gets a statement of its own.
            return Lease(this, {}, false, prepare(sql));
        }
        entry->busy = true;
        entries_.splice(entries_.begin(), entries_, entry);
        return Lease(this, entry, true, entry->statement);
    }
    sqlite3_stmt* statement = prepare(sql);
    if (capacity_ == 0) return Lease(this, {}, false, statement);
    entries_.push_front(Entry{std::string(sql), statement, true, false});
    index_.emplace(entries_.front().sql, entries_.begin());
    return Lease(this, entries_.begin(), true, statement);
}

void StatementCache::giveBack(Lease& lease) {
    sqlite3_stmt* statement = lease.statement_;
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    if (!lease.kept_) {
        sqlite3_finalize(statement);
        return;
    }
    const Entries::iterator entry = lease.entry_;
    if (entry->dropped) {
        sqlite3_finalize(statement);
        entries_.erase(entry);
        return;
    }
    entry->busy = false;
    trim();
}

void StatementCache::trim() {
    std::size_t kept = index_.size();
    for (auto entry = entries_.end(); kept > capacity_ && entry != entries_.begin();) {
        --entry;
        if (entry->busy) continue;
        index_.erase(entry->sql);
        sqlite3_finalize(entry->statement);
        entry = entries_.erase(entry);
        --kept;
    }
}

std::size_t StatementCache::idleCount() const {
    std::size_t idle = 0;
    for (const Entry& entry : entries_) idle += entry.busy || entry.dropped ? 0 : 1;
    return idle;
}

void StatementCache::clear() {
    index_.clear();
    for (auto entry = entries_.begin(); entry != entries_.end();) {
        if (entry->busy) {
            entry->dropped = true;
            ++entry;
        } else {
            sqlite3_finalize(entry->statement);
            entry = entries_.erase(entry);
        }
    }
}

}  // namespace kvlnmov::db::sqlite
