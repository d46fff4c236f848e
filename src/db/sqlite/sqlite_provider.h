#pragma once

// Entry point of the embedded provider: SQL Server statements run on a SQLite database.

#include <string>

#include "kvlnmov/db/connection.h"

namespace kvlnmov::db::sqlite {

/// The provider's name: the source of every error it raises.
inline constexpr const char* kProviderName = "kvlnmov SQLite provider";

/// Busy timeout used when the connection string names none.
inline constexpr int kDefaultBusyTimeoutMs = 5000;

/// Opens (creating when missing, unless `readOnly`) the database file `path`, or a private
/// in-memory database for ":memory:". A writable file database that holds data runs in WAL
/// journal mode (an empty one is switched when its schema is created); a file opened for
/// reading only, or that the process may not write, is left as it is. A lock that another
/// connection holds longer than `busyTimeoutMs` milliseconds fails the statement with "Query
/// timeout expired". Raises -2147467259 when the file cannot be opened or is not a database.
ConnectionRef openSqliteConnection(std::string connectionString, const std::string& path,
                                   int busyTimeoutMs, bool readOnly = false);

}  // namespace kvlnmov::db::sqlite
