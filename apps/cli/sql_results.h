#pragma once

// What `kvlnmov sql` prints for one statement: for a person, an aligned table of the rows it
// returns or the count of rows it changed; for a program, CSV.

#include <ostream>
#include <string>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/frame/variant.h"

namespace kvlnmov::cli {

enum class ResultForm {
    /// Aligned columns, numbers on the right in the regional form (1.210,00), dates as
    /// dd/mm/yyyy, then "(N rows)" or "(N rows affected)".
    Table,
    /// CSV quoted as RFC 4180 quotes it, lines ended by "\n": a header line, then one line
    /// per row; "." as decimal separator, ISO dates, NULL as an empty field. A statement that
    /// returns no rows prints nothing.
    Csv,
};

/// A value as the table shows it: NULL, 1/0 for bits, integers as they are, money with two
/// decimals (four when it has them) and other numbers in the regional form, regional dates.
std::string regionalCell(const Variant& value);
/// A value as a CSV field holds it, before quoting.
std::string machineCell(const Variant& value);
/// `field` quoted for CSV when it holds a comma, a quote or a line break.
std::string csvField(const std::string& field);

/// Runs one statement on `connection` and prints what it returns to `out`. A SELECT (its
/// first word, after comments and opening parentheses) prints its rows; any other statement
/// is executed and prints how many rows it changed. Errors are raised as kvlnmov::Error.
void runAndPrint(const db::ConnectionRef& connection, const std::string& text, ResultForm form,
                 std::ostream& out);

}  // namespace kvlnmov::cli
