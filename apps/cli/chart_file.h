#pragma once

// A chart of accounts read from a file and fitted to a company's account levels, and its
// import into the company's table `Cuentas` in one transaction.
//
// The file is semicolon-separated, fields between double quotes (a quote inside doubled),
// UTF-8 with or without a byte order mark, and starts with the header line
// "cuenta";"descripcion";"cuentaesp": the account's digits, its name and its special-account
// tag (CLIENT, PROVEE, IVASOP, ... or empty).
//
// Fitting a chart to a company whose levels are, say, 1,2,3,4,8 (the last one the length of a
// posting account, the others the summary levels):
// - an account whose length is a summary level's is a summary account, kept as written;
// - an account longer than the longest summary level that no other account of the file
//   begins with is a posting account, brought to the posting length: its prefix is the
//   longest account of the file that begins it, and at least the longest summary level's
//   digits; zeros are inserted or removed between the prefix and the rest (4300000001 ->
//   43000001 for length 8, 43000001 -> 4300000001 for length 10). One that would lose a
//   digit other than zero is refused, naming its line;
// - any other account is a summary account of a length that is none of the company's levels
//   (as the five-digit accounts of a chart into a 1,2,3,4,8 company): it is left out, and
//   counted. Its posting accounts still come in, under the summary accounts the company has.

#include <cstddef>
#include <functional>
#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "kvlnmov/db/connection.h"

namespace kvlnmov::cli {

/// One account as a chart file writes it.
struct ChartLine {
    std::size_t line = 0;  ///< its line in the file (the header is line 1)
    std::string account;
    std::string name;
    std::string tag;  ///< the special-account tag; empty when it has none
};

/// Reads a chart file; a file that cannot be read, a wrong header, a line without three
/// fields, an account that is not all digits, an empty or too long name, text that is not
/// UTF-8 or an account written twice is a UsageError naming the file and the line.
std::vector<ChartLine> readChart(std::istream& input, const std::string& name);
/// Reads the chart file `file` as readChart does.
std::vector<ChartLine> readChartFile(const std::string& file);

/// `account` with zeros inserted or removed after its first `prefix` digits so that it has
/// `length` digits; nothing when a digit other than zero would be lost (or `prefix` leaves no
/// room). `account` must be longer than `prefix`.
std::optional<std::string> resizeAccount(std::string_view account, std::size_t prefix,
                                         std::size_t length);

/// "1,2,3,4,8" as numbers (the text has been checked).
std::vector<int> parseLevels(std::string_view levels);

/// The level (1 for the first) whose length is `account`'s, or 0 when there is none.
int levelOf(std::string_view account, const std::vector<int>& levels);

/// An account of the chart as the company keeps it.
struct PlacedAccount {
    std::string account;
    std::string name;
    std::string tag;
    int level = 0;  ///< 1 for the first level; the last level for a posting account
    std::size_t line = 0;
};

struct PlacedChart {
    std::vector<PlacedAccount> accounts;  ///< in the file's order
    std::size_t summary = 0;
    std::size_t posting = 0;
    /// Summary accounts of a length that is none of the company's levels.
    std::vector<ChartLine> leftOut;
};

/// Fits `lines` (read from the file `name`) to `levels` as described above. Raises a
/// UsageError naming the line of an account that would lose digits, or of two accounts that
/// become the same one.
PlacedChart placeChart(const std::vector<ChartLine>& lines, const std::vector<int>& levels,
                       const std::string& name);

/// What importChart found and did.
struct ChartImport {
    std::size_t replaced = 0;  ///< accounts deleted first (with `replace`)
    std::size_t imported = 0;
};

/// Raised by importChart when the company's chart already holds accounts and `replace` is not
/// set: nothing has been written.
struct ChartNotEmpty {
    std::size_t accounts = 0;
};

/// Writes `chart` into `Cuentas` for `company` and `exercise` in one transaction of its own:
/// either every account is there afterwards or, on any failure, nothing changed. With
/// `replace` the company's accounts are deleted first, in the same transaction; without it a
/// chart that holds accounts raises ChartNotEmpty. `progress` (when given) hears how many
/// accounts have been written, now and then and at the end.
ChartImport importChart(
    const db::ConnectionRef& connection, int company, int exercise, const PlacedChart& chart,
    bool replace, const std::function<void(std::size_t done, std::size_t total)>& progress = {});

/// Prints what an import did: the accounts it replaced, the accounts it wrote (summary and
/// posting) and the summary accounts it left out.
void reportImport(std::ostream& out, const ChartImport& done, const PlacedChart& chart, int company,
                  int exercise);

/// A progress bar on standard error for importChart when standard error is a terminal;
/// nothing otherwise.
std::function<void(std::size_t done, std::size_t total)> terminalProgress();

/// The characters `Cuentas.Nombre` holds.
std::size_t accountNameWidth();
/// The characters `Cuentas.Especial` (the special-account tag) holds.
std::size_t accountTagWidth();

/// `text` between single quotes, its own quotes doubled: a literal for a statement.
std::string quotedText(std::string_view text);

}  // namespace kvlnmov::cli
