#pragma once

// Query results read through the driver: each column typed by the driver's description.

#include <memory>
#include <string>
#include <string_view>

#include "db/odbc/odbc_link.h"
#include "kvlnmov/db/connection.h"

namespace kvlnmov::db::odbc {

/// A cursor over the current result of `statement`, each column typed by the driver's
/// description of it (bit -> Boolean, tinyint -> Byte, smallint -> Integer, int -> Long,
/// money/decimal/numeric -> Currency read exactly from text, float/real -> Double,
/// datetime/date -> Date, character types -> String).
std::unique_ptr<Cursor> makeDescribedCursor(std::unique_ptr<OdbcStatement> statement);

/// An exact amount from the text a driver gives for a decimal, numeric or money value
/// ("1234.5000", "-0.1"); more than four decimals are rounded half to even. Raises
/// -2147217913 for a text that is not a number.
Variant currencyFromText(std::string_view text, const std::string& source);

}  // namespace kvlnmov::db::odbc
