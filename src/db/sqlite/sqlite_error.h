#pragma once

// The one place where SQLite result codes become kvlnmov::Error.

#include <sqlite3.h>

#include <string_view>

#include "kvlnmov/frame/error.h"

namespace kvlnmov::db::sqlite {

/// The error SQL Server would report through ADO for SQLite result code `resultCode` on `db`
/// (db/provider_error.h), with the embedded provider as its source.
Error sqliteError(sqlite3* db, int resultCode, std::string_view operation = "INSERT");

/// Raises `sqliteError` unless `resultCode` is SQLITE_OK, SQLITE_ROW or SQLITE_DONE.
void check(sqlite3* db, int resultCode, std::string_view operation = "INSERT");

}  // namespace kvlnmov::db::sqlite
