#pragma once

// Prepared SQLite statements kept by their SQL text, so that a statement the translator
// maps to the same text is prepared once. Bounded: when more than its capacity are kept, the
// least recently used idle statements are finalized. Lending and giving back a kept statement
// allocates nothing.

#include <sqlite3.h>

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace kvlnmov::db::sqlite {

class StatementCache {
    struct Entry {
        std::string sql;
        sqlite3_stmt* statement = nullptr;
        bool busy = false;
        /// Forgotten by the cache while lent out: finalized when given back.
        bool dropped = false;
    };
    using Entries = std::list<Entry>;

  public:
    /// A statement lent out of the cache; giving it back resets it and clears its bindings.
    class Lease {
      public:
        Lease() = default;
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
        friend class StatementCache;
        /// A kept statement (`entry`), or with `kept` false one of its own, finalized when
        /// given back.
        Lease(StatementCache* cache, Entries::iterator entry, bool kept, sqlite3_stmt* statement)
            : cache_(cache), entry_(entry), kept_(kept), statement_(statement) {}

        StatementCache* cache_ = nullptr;
        Entries::iterator entry_{};
        bool kept_ = false;
        sqlite3_stmt* statement_ = nullptr;
    };

    StatementCache(sqlite3* db, std::size_t capacity) : db_(db), capacity_(capacity) {}
    ~StatementCache() { clear(); }
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    /// The prepared statement for `sql`: the kept one when idle, else a new one (kept unless
    /// the kept one is lent out). Raises the mapped SQLite error when it cannot be prepared;
    /// past SQLite's limits (nesting, columns, terms, ...) that is the server's error for a
    /// statement past its limits (-2147217900).
    Lease acquire(std::string_view sql);
    /// Finalizes every idle statement and forgets those lent out (finalized when given back).
    void clear();
    /// How many kept statements are idle.
    std::size_t idleCount() const;

  private:
    sqlite3_stmt* prepare(std::string_view sql);
    void giveBack(Lease& lease);
    /// Finalizes the least recently used idle statements while more than the capacity are kept.
    void trim();

    sqlite3* db_;
    std::size_t capacity_;
    /// Kept statements, most recently used first.
    Entries entries_;
    /// The kept statements by their text (views of the entries' own `sql`).
    std::unordered_map<std::string_view, Entries::iterator> index_;
};

}  // namespace kvlnmov::db::sqlite
