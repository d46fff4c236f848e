#pragma once

// The company database's two numbering procedures, CON_DevAsiento and CON_DevMovApunte, for a
// SQLite database. Their logic is written once over the small interface below, which every
// road to a SQLite database implements: the embedded provider's own handle, and an ODBC
// connection to the SQLite driver.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "db/sqlite/translate/translator.h"
#include "kvlnmov/db/command.h"

namespace kvlnmov::db::sqlite {

/// How a procedure takes its number: `reserve` (an INSERT ... ON CONFLICT DO UPDATE) changes
/// the counter row, or changes nothing when there is no number to give; `read` reads the row
/// back by the first `keyCount` of `parameters`; `reserveReturning` is `reserve` returning the
/// number itself.
struct NumberReservation {
    const std::string& reserve;
    const std::string& reserveReturning;
    const std::string& read;
    std::vector<SqlValue> parameters;
    std::size_t keyCount;
};

/// Runs native SQLite statements for the procedures.
class ProcedureHost {
  public:
    virtual ~ProcedureHost() = default;
    /// Reserves and reads a number (nothing when `reserve` changed nothing). By default
    /// `reserve` and `read` run inside a savepoint of their own (nested in the caller's
    /// transaction when there is one), committed or undone as a whole.
    virtual std::optional<std::int64_t> takeNumber(const NumberReservation& reservation);
    /// Runs `sql` with `parameters` bound to ?1, ?2, ... and returns the rows it changed.
    virtual std::int64_t executeNative(const std::string& sql,
                                       const std::vector<SqlValue>& parameters) = 0;
    /// Runs `sql` with `parameters` bound to ?1, ?2, ... and returns the first column of its
    /// first row as an integer, or nothing when it returned no row or Null.
    virtual std::optional<std::int64_t> queryInteger(const std::string& sql,
                                                     const std::vector<SqlValue>& parameters) = 0;
    /// The source of the errors the procedures raise.
    virtual std::string providerName() const = 0;
};

/// Runs the stored procedure `name` (CON_DevAsiento, CON_DevMovApunte, with or without the
/// "dbo." prefix) on `host`: reads its input parameters and sets its output parameter. Any
/// other name raises -2147217900 "Could not find stored procedure '<name>'.".
void callStoredProcedure(ProcedureHost& host, const std::string& name, ParameterList& parameters);

}  // namespace kvlnmov::db::sqlite
