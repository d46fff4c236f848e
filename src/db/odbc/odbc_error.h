#pragma once

// The one place where ODBC driver diagnostics become kvlnmov::Error. Free of ODBC headers so
// that the mapping can be used (and tested) on its own.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kvlnmov/frame/error.h"

namespace kvlnmov::db::odbc {

/// One diagnostic record of an ODBC handle.
struct Diagnostic {
    std::string sqlState;      ///< five characters, "42S02"
    std::int32_t nativeError;  ///< the server's (or driver's) own error number
    std::string message;       ///< as the driver wrote it, with its "[vendor][driver]" prefixes
};

/// The SQL dialect the driver's database speaks: SQL Server's T-SQL, or SQLite (whose driver
/// reports SQLite's result code as the native error).
enum class Dialect { Tsql, Sqlite };

/// The error number an ADO client sees for SQLSTATE `sqlState`: 42xxx syntax or access
/// -2147217900, 42S02 invalid object -2147217865, 23xxx integrity -2147217873, HYT00/HYT01
/// timeout -2147217871, 22007/22008/22018 conversion -2147217913, 22001/22003 truncation or
/// overflow -2147217833, anything else -2147467259.
std::int32_t errorNumberFor(std::string_view sqlState);

/// A driver's message without the "[vendor][driver][server]" prefixes.
std::string cleanMessage(std::string_view message);

/// The error for `diagnostics` (the first record is the one reported): number by SQLSTATE,
/// the cleaned message as description, `source` as source and the native error kept. Under
/// the SQLite dialect a general error (HY000) carrying a SQLite result code is mapped as the
/// embedded provider maps that code (busy -> query timeout, key and NOT NULL violations in
/// SQL Server's words, naming the statement `operation`). No record at all gives
/// -2147467259 with `fallback` as description.
Error odbcError(const std::vector<Diagnostic>& diagnostics, Dialect dialect,
                const std::string& source, std::string_view operation = "INSERT",
                std::string_view fallback = "The ODBC driver reported a failure.");

}  // namespace kvlnmov::db::odbc
