#pragma once

// Prepared SQLite statements kept by their SQL text, so that a statement the translator
// maps to the same text is prepared once. Bounded: the least recently used idle statement
// is finalized when the cache is full.

#include <sqlite3.h>

#include <cstddef>
#include <list>
#include <string>
#include <unordered_map>
#include <utility>

namespace kvlnmov::db::sqlite {

class StatementCache {
  public:
    /// A statement lent out of the cache; giving it back resets it and clears its bindings.
    class Lease {
      public:
        Lease() = default;
        Lease(StatementCache* cache, std::string sql, sqlite3_stmt* statement)
            : cache_(cache), sql_(std::move(sql)), statement_(statement) {}
        Lease(Lease&& other) noexcept { *this = std::move(other); }
        Lease& operator=(Lease&& other) noexcept;
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        ~Lease() { release(); }

        sqlite3_stmt* get() const { return statement_; }
        explicit operator bool() const { return statement_ != nullptr; }
        /// Gives the statement back now.
        void release();

      private:
        StatementCache* cache_ = nullptr;
        std::string sql_;
        sqlite3_stmt* statement_ = nullptr;
    };

    StatementCache(sqlite3* db, std::size_t capacity) : db_(db), capacity_(capacity) {}
    ~StatementCache() { clear(); }
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    /// The prepared statement for `sql`: the cached one when idle, else a new one. Raises the
    /// mapped SQLite error when it cannot be prepared; past SQLite's limits (nesting, columns,
    /// terms, ...) that is the server's error for a statement past its limits (-2147217900).
    Lease acquire(const std::string& sql);
    /// Finalizes every idle statement.
    void clear();
    std::size_t idleCount() const { return idle_.size(); }

  private:
    void giveBack(std::string sql, sqlite3_stmt* statement);

    sqlite3* db_;
    std::size_t capacity_;
    /// Idle statements, most recently used first.
    std::list<std::pair<std::string, sqlite3_stmt*>> idle_;
    std::unordered_map<std::string, std::list<std::pair<std::string, sqlite3_stmt*>>::iterator>
        index_;
};

}  // namespace kvlnmov::db::sqlite
