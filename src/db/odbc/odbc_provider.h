#pragma once

// Entry point of the ODBC provider: statements run through an ODBC driver, as written for
// SQL Server, or translated from T-SQL when the database behind the driver is SQLite.

#include <string>
#include <string_view>
#include <vector>

#include "db/odbc/odbc_dialect.h"
#include "kvlnmov/db/connection.h"

namespace kvlnmov::db::odbc {

/// The provider's name: the source of every error it raises.
inline constexpr const char* kProviderName = "kvlnmov ODBC provider";

/// Opens an ODBC connection. `connectionString` goes to the driver as given, less the keys
/// the provider reads itself: "Dialect=SQLite" (the database behind the driver is SQLite:
/// every statement is translated from T-SQL and the numbering procedures run in the
/// provider) and "Provider". Raises the driver's error (source kProviderName) when the
/// driver cannot connect, and -2147467259 (source "ADODB.Connection") for an unknown dialect.
/// `seam` brings the SQLite dialect and SQL Server's stray-quote error.
ConnectionRef openOdbcConnection(std::string connectionString, const DialectSeam& seam);

/// `connectionString` without the keys named in `keys` (compared without regard to case).
std::string withoutKeys(std::string_view connectionString, const std::vector<std::string>& keys);

/// The statements that set a new session up for the library on a DBMS named `dbmsName`:
/// SQL Server reads date texts in the order of the library's regional settings ("SET
/// DATEFORMAT dmy", or mdy for a month-first pattern); other DBMSs need none.
std::vector<std::string> sessionSetup(std::string_view dbmsName);

/// The ODBC call escape of stored procedure `name` with `parameterCount` markers, a return
/// value marker first when `returnsValue`: "{call CON_DevAsiento(?,?,?,?,?,?)}".
std::string procedureCall(std::string_view name, std::size_t parameterCount, bool returnsValue);

}  // namespace kvlnmov::db::odbc
