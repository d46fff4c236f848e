#pragma once

// What the translator knows of the tables of an open SQLite database, read from the
// database itself and read again whenever its schema changes.

#include <sqlite3.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "db/sqlite/table_description.h"
#include "db/sqlite/translate/translator.h"
#include "kvlnmov/schema/schema.h"

namespace kvlnmov::db::sqlite {

class LiveCatalog : public Catalog {
  public:
    explicit LiveCatalog(sqlite3* db) : db_(db) {}
    ~LiveCatalog() override;
    LiveCatalog(const LiveCatalog&) = delete;
    LiveCatalog& operator=(const LiveCatalog&) = delete;

    const schema::Table* findTable(std::string_view name) const override;

    /// Reads the tables again when the database's schema version differs from the one last
    /// read (also after another connection changed the schema). Returns true when it did.
    bool refresh();
    /// Reads the tables again unconditionally.
    void reload();

  private:
    std::int64_t schemaVersion();

    sqlite3* db_;
    sqlite3_stmt* versionStatement_ = nullptr;
    std::int64_t version_ = -1;
    /// Tables by lower-case name.
    std::map<std::string, schema::Table> tables_;
};

/// Table `name` of `db`, described from its PRAGMA table_info rows.
schema::Table describeTable(sqlite3* db, const std::string& name);

}  // namespace kvlnmov::db::sqlite
