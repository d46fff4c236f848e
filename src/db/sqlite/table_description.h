#pragma once

// A SQLite table described as the translator knows tables, from the rows of SQLite's
// PRAGMA table_info, however they were read (directly or through an ODBC driver).

#include <optional>
#include <string>
#include <vector>

#include "kvlnmov/schema/schema.h"

namespace kvlnmov::db::sqlite {

/// The query that lists the tables of a SQLite database, one name per row.
inline constexpr const char* kTableNamesSql =
    "SELECT name FROM sqlite_schema WHERE type = 'table' AND name NOT LIKE 'sqlite!_%' ESCAPE '!'";

/// The query that gives the PRAGMA table_info rows of table `name`: cid, name, type, notnull,
/// dflt_value, pk.
std::string tableInfoSql(const std::string& name);

/// One row of PRAGMA table_info.
struct TableInfoRow {
    std::string name;
    std::string declaredType;
    bool notNull = false;
    std::optional<std::string> defaultValue;
    int keyPosition = 0;  ///< position in the primary key, 0 when not part of it
};

/// The table `name` with columns `rows`: declared types read as SQL Server types (unknown ones
/// by SQLite's affinity rules), "INTEGER" primary keys as identities, defaults 0, the current
/// time or a literal.
schema::Table describeTable(const std::string& name, const std::vector<TableInfoRow>& rows);

}  // namespace kvlnmov::db::sqlite
