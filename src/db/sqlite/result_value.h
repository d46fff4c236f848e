#pragma once

// Result values as the SQLite database stores them, converted to the Variants an ADO client
// gets from SQL Server by the SQL Server type of their result column. Shared by every road to
// a SQLite database: the embedded provider reads the stored values directly, the ODBC
// connection under the SQLite dialect reads them as the driver's text.

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "kvlnmov/db/types.h"
#include "kvlnmov/frame/variant.h"
#include "kvlnmov/schema/schema.h"

namespace kvlnmov::db::sqlite {

/// A value as SQLite stores it: Null, an integer, a real or a text. The text is borrowed.
using StoredValue = std::variant<std::monostate, std::int64_t, double, std::string_view>;

/// Converts `value` to the Variant of SQL Server type `type`, whatever SQLite stored: money
/// as whole ten-thousandths (a real, as an average gives, rounded), datetime as ISO text,
/// integers range-checked. Raises SQL Server's conversion and overflow errors with source
/// `source`.
Variant convertStoredValue(const StoredValue& value, schema::ColumnType type,
                           const std::string& source);

/// The value a text stands for as SQLite would have stored it in a column without affinity:
/// a whole number, a real, or the text itself. Meant for values read back as text (as an ODBC
/// driver delivers them) whose column type is a number; texts and dates keep their text.
StoredValue storedValueFromText(std::string_view text);

/// The ADO type of a SQL Server column type.
DataType adoType(schema::ColumnType type);

}  // namespace kvlnmov::db::sqlite
