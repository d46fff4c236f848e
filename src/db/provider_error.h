#pragma once

// How a SQLite result code and message become the error SQL Server would report through
// ADO. Shared by the embedded provider and by the ODBC provider over SQLite's driver.

#include <string>
#include <string_view>

#include "kvlnmov/frame/error.h"

namespace kvlnmov::db {

/// The error for SQLite result code `resultCode` (an extended code when there is one) with
/// SQLite's `message`: busy/locked -> query timeout, key violations and NOT NULL violations
/// with SQL Server's texts (the kind read from the message when only the primary code is
/// known), anything else -2147467259 with SQLite's message. `source` names the provider;
/// `operation` ("INSERT", "UPDATE") names the statement in a NOT NULL violation.
Error sqliteResultError(int resultCode, std::string_view message, const std::string& source,
                        std::string_view operation = "INSERT");

}  // namespace kvlnmov::db
