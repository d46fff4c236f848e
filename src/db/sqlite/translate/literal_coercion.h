#pragma once

// Literal values as the server converts them to the type of what they meet. A translation
// lifts every literal out of the statement; the coercion chosen by the binder is kept with
// the cached translation and applied to each execution's own literal values.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "db/sqlite/translate/sql_errors.h"
#include "db/sqlite/translate/sql_type.h"
#include "db/sqlite/translate/translator.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov::db::sqlite::tsql {

enum class CoercionKind {
    Natural,   ///< as written: integer -> int64, decimal -> double, string -> text
    Integer,   ///< to tinyint / smallint / int (`target`)
    Money,     ///< to ten-thousandths, exactly, halves away from zero
    Float,     ///< to double
    Bit,       ///< non-zero -> 1, 'TRUE'/'FALSE' -> 1/0
    DateTime,  ///< to canonical ISO text under the session's date format
    Text,      ///< to text; checked against varchar(n) when assigned
    RowCount,  ///< TOP n: a non-negative whole number
};

struct Coercion {
    CoercionKind kind = CoercionKind::Natural;
    Type target;
    /// True when the literal is assigned to a column (SET, INSERT): lengths and integer
    /// ranges are checked as the server checks a stored value.
    bool assignment = false;
};

/// Where a statement parameter's value comes from.
enum class ParameterSourceKind { Literal, Now, Identity };

struct ParameterSource {
    ParameterSourceKind kind = ParameterSourceKind::Literal;
    int literalOrdinal = -1;  ///< which literal of the statement (Literal only)
    LiteralKind literalKind = LiteralKind::Integer;
    bool negative = false;  ///< a unary minus written before the literal
    Coercion coercion;
};

/// Converts one literal by `coercion`. Raises the server's conversion, overflow and
/// truncation errors.
SqlValue coerceLiteral(const Coercion& coercion, LiteralKind kind, std::string_view text,
                       bool negative, const SessionState& session, const SqlErrors& errors);

/// Reads a date/time text as the server does under the session's date format and returns
/// it in canonical storage form. Raises the conversion error for anything else.
std::string parseDateTimeText(std::string_view text, bool dayBeforeMonth, const SqlErrors& errors);

/// The canonical storage form of a date: "YYYY-MM-DD" at midnight, otherwise
/// "YYYY-MM-DD HH:MM:SS.mmm".
std::string canonicalDateTime(const Date& date);

/// Decimal text ("12.5", "-0.00005", ".5") as ten-thousandths, rounded half away from zero;
/// nothing when it is not a plain decimal number or leaves the money range.
std::optional<std::int64_t> scaleDecimalText(std::string_view text);

}  // namespace kvlnmov::db::sqlite::tsql
