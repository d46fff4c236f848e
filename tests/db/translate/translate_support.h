#pragma once

// Shared pieces of the translator tests: a catalog over the company tables, and an in-memory
// SQLite database created with the company DDL that runs translations and returns rows.

#include <sqlite3.h>

#include <string>
#include <string_view>
#include <vector>

#include "db/sqlite/translate/translator.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/schema/schema.h"

namespace kvlnmov::db::sqlite::testing {

inline constexpr const char* kSource = "kvlnmov test provider";

class CompanyCatalog : public Catalog {
  public:
    const schema::Table* findTable(std::string_view name) const override {
        return schema::findTable(name);
    }
};

/// A row as text: integers and reals as SQLite prints them, NULL as "NULL".
using Row = std::vector<std::string>;

class MemoryDatabase {
  public:
    MemoryDatabase();
    ~MemoryDatabase();
    MemoryDatabase(const MemoryDatabase&) = delete;
    MemoryDatabase& operator=(const MemoryDatabase&) = delete;

    /// Runs native SQLite text (fixtures).
    void exec(const std::string& sql);
    /// Runs a translation with its parameters; returns the rows of a query.
    std::vector<Row> run(const Translation& translation);
    /// Translates `tsql` with this database's translator and session and runs it.
    std::vector<Row> runTsql(std::string_view tsql);
    /// Rows of native SQLite text.
    std::vector<Row> query(const std::string& sql);
    int changes() const { return sqlite3_changes(db_); }

    Translator& translator() { return translator_; }
    SessionState& session() { return session_; }

  private:
    sqlite3* db_ = nullptr;
    CompanyCatalog catalog_;
    Translator translator_{catalog_, kSource};
    SessionState session_;
};

/// Translates with a fresh translator over the company catalog.
Translation translateOnce(std::string_view tsql, const SessionState& session = {});

}  // namespace kvlnmov::db::sqlite::testing
