#pragma once

// The one place where SQLite result codes become kvlnmov::Error.

#include <sqlite3.h>

#include <string_view>

#include "kvlnmov/frame/error.h"

namespace kvlnmov::db::sqlite {

/// The error SQL Server would report through ADO for SQLite result code `resultCode` (an
/// extended code) on `db`: busy/locked -> query timeout, key violations and NOT NULL
/// violations with SQL Server's texts, anything else -2147467259 with SQLite's message.
/// `operation` ("INSERT", "UPDATE") names the statement in a NOT NULL violation.
Error sqliteError(sqlite3* db, int resultCode, std::string_view operation = "INSERT");

/// The same mapping for a result code and message that reached us another way (an ODBC
/// driver over SQLite reports the primary result code and SQLite's message): the kind of a
/// constraint violation is then read from the message. `source` names the provider.
Error sqliteError(int resultCode, std::string_view message, const std::string& source,
                  std::string_view operation = "INSERT");

/// Raises `sqliteError` unless `resultCode` is SQLITE_OK, SQLITE_ROW or SQLITE_DONE.
void check(sqlite3* db, int resultCode, std::string_view operation = "INSERT");

}  // namespace kvlnmov::db::sqlite
