#pragma once

#include <string>
#include <string_view>

#include "kvlnmov/db/connection.h"

namespace kvlnmov::db {

/// Opens a connection by ADO-style connection string:
/// - "Provider=SQLite;Data Source=<file or :memory:>[;Busy Timeout=<ms>][;Mode=Read]" opens
///   the embedded provider, which runs SQL Server statements on SQLite. A missing file is
///   created (empty: see Connection::createCompanySchema). A writable database runs in WAL
///   journal mode, so readers never wait for a writer; the mode is switched when the schema is
///   created or a database that holds data is opened, never on an empty file or one opened
///   only for reading. "Mode=Read" opens an existing file for reading only (a missing file is
///   an error, any change fails; on a WAL database SQLite may leave its -wal and -shm files
///   beside it, as a reader cannot remove them); a file the process may not write is read all
///   the same.
///   A statement that waits longer than the busy timeout (default 5000 ms)
///   for another connection's lock fails with -2147217871 "Query timeout expired". Date texts
///   in statements are read in the day/month order of the library-wide regional settings.
///   Errors carry the source "kvlnmov SQLite provider".
/// - Any other connection string without a Provider (or with Provider=MSDASQL) is an ODBC
///   connection string ("DSN=...", "Driver=...;Server=...;Database=...;UID=...;PWD=...") and
///   opens the ODBC provider (source "kvlnmov ODBC provider"). Statements go to the driver as
///   written (T-SQL for SQL Server); the numbering procedures are the database's own. Errors
///   carry the driver's message and native error, numbered by SQLSTATE as ADO numbers SQL
///   Server's. On SQL Server the session reads date texts in the day/month order of the
///   library-wide regional settings (SET DATEFORMAT dmy or mdy). "Dialect=SQLite" (removed
///   before the string reaches the driver) says the database behind the driver is SQLite:
///   statements are then translated as the embedded provider translates them, and the
///   numbering procedures run in the provider.
/// Raises error -2147467259 with a clear description for an unknown provider or a malformed
/// connection string (source "ADODB.Connection") and for a database that cannot be opened
/// (source: the provider's name).
ConnectionRef openConnection(std::string_view connectionString);

/// The value of `key` in a "key=value;key=value" connection string (keys compared without
/// regard to case; surrounding blanks removed), or an empty text.
std::string connectionStringValue(std::string_view connectionString, std::string_view key);

}  // namespace kvlnmov::db
