#pragma once

// Checking the running balances of one company and exercise against its journal, and
// rewriting them from it.
//
// What the balances should hold. `Acumulados` (per account) and `Acumulados_Dpto` (per account
// and department) are recomputed from the lines of `Movimientos`, taken in line-number
// (`Apunte`) order, exactly as the posting code would have built them had every statement of
// every line run completely:
// - a line reaches the row of its account and the rows of the account's leading
//   `LongitudNivel(i)` characters for i = 0..Niveles-2 (lengths above 0), in both tables (the
//   department row is the line's `Dpto`, 0 included); a length beyond a short account gives
//   the whole account, so such a line reaches the account's own row several times;
// - the header in `Asientos` (same company and exercise, `Codigo` = `Cod_Asiento`) decides the
//   kind: `Cierre` true makes an opening entry when it is dated the exercise's first day and a
//   closing entry otherwise; without a header, or with `Cierre` false or Null, the line is
//   ordinary;
// - ordinary lines go to D<p> or H<p>, p the period of the month of the line's stored
//   `Fecha_Asiento` (`PeriodoMes`); a non-zero debit is used and the credit ignored. Opening
//   lines add the debit to `Apertura` or subtract the credit; closing lines subtract the debit
//   from `Cierre` or add the credit (closing reverses what it closes);
// - a row is created by the first line that reaches it, and a created row holds the amount as
//   it is written, even where the change subtracts it: a row created by an opening or closing
//   credit therefore holds that credit with the opposite sign;
// - amounts are exact (`Currency`, whole ten-thousandths), never floating point.
//
// Rows that already existed. An application may open an exercise with a zero row for every
// account of its chart, and `clsApertura` creates account rows: a row that existed when its
// first line was posted was updated, not created, and holds that line's opening or closing
// credit with its proper sign. The tables do not say which happened. When the first line that
// reaches a row is an opening or closing credit and the stored row holds in that column
// exactly what it would hold had it existed before, the row is taken as having existed;
// otherwise it is expected as created by its first line (that value is the one reported and
// written by the repair). A row that is missing cannot have existed before: the library never
// deletes balance rows.
//
// Opening balances entered without an opening entry. `clsApertura` writes an account's
// opening balance straight into `Acumulados.Apertura` of the account and of its existing
// summary rows, never into `Acumulados_Dpto`, and writes no journal line. For every row of
// `Acumulados` whose account has the full length (`LongitudCuenta`), the stored `Apertura`
// minus the `Apertura` the journal gives is that account's directly entered opening balance
// (0 when the row is taken as having existed, see above): it is listed apart, as information,
// and is not a difference. The expected `Apertura` of every summary row of `Acumulados` is the
// journal's plus the directly entered balances of the full-length accounts below it (one
// share per summary level, as `clsApertura` adds them). The repair keeps these balances.
//
// Other findings: entries whose lines' debits and credits differ, lines whose header is
// missing, and numbers used twice (two lines with the same `Apunte`, two headers with the
// same `Codigo`). A row missing from a table counts as all zero; `Nivel` is not compared.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/frame/currency.h"

namespace kvlnmov {

enum class BalanceTable { Acumulados, Acumulados_Dpto };

/// "Acumulados" or "Acumulados_Dpto".
std::string_view balanceTableName(BalanceTable table);

/// One cell whose stored amount is not the expected one.
struct BalanceCell {
    BalanceTable table = BalanceTable::Acumulados;
    std::string account;
    /// The department, for `Acumulados_Dpto` (0 for `Acumulados`).
    std::int16_t department = 0;
    /// "Apertura", "Cierre", "D1" ... "D12", "H1" ... "H12".
    std::string column;
    Currency stored;
    Currency expected;
    /// False when the table has no such row (its amounts read as zero).
    bool rowStored = true;

    bool operator==(const BalanceCell&) const = default;
};

/// An entry whose lines' debits and credits differ.
struct UnbalancedEntry {
    std::int32_t entry = 0;
    Currency debit;
    Currency credit;

    bool operator==(const UnbalancedEntry&) const = default;
};

/// A line whose entry has no header in `Asientos`.
struct LineWithoutHeader {
    std::int32_t line = 0;
    std::int32_t entry = 0;
    std::string account;

    bool operator==(const LineWithoutHeader&) const = default;
};

/// A number used by more than one line (`Apunte`) or header (`Codigo`).
struct DuplicateNumber {
    std::int32_t number = 0;
    std::int64_t times = 0;

    bool operator==(const DuplicateNumber&) const = default;
};

/// A full-length account's opening balance held in `Acumulados.Apertura` beyond what the
/// journal's opening entries give.
struct DirectOpeningBalance {
    std::string account;
    Currency amount;

    bool operator==(const DirectOpeningBalance&) const = default;
};

struct BalanceCounts {
    std::int64_t lines = 0;
    /// Headers read from `Asientos`.
    std::int64_t entries = 0;
    /// Rows stored in `Acumulados` and `Acumulados_Dpto`.
    std::int64_t accountRows = 0;
    std::int64_t departmentRows = 0;
    /// Rows (of both tables) with at least one differing cell, and those among them that are
    /// missing or that hold amounts where none are expected.
    std::int64_t differingRows = 0;
    std::int64_t missingRows = 0;
    std::int64_t strayRows = 0;
};

struct BalanceVerification {
    std::int16_t company = 0;
    std::int16_t exercise = 0;
    /// Every differing cell: `Acumulados` before `Acumulados_Dpto`, then by account,
    /// department and column (in table order).
    std::vector<BalanceCell> differences;
    /// By entry number.
    std::vector<UnbalancedEntry> unbalancedEntries;
    /// By line number.
    std::vector<LineWithoutHeader> linesWithoutHeader;
    /// Line numbers and entry numbers used more than once, by number.
    std::vector<DuplicateNumber> duplicateLines;
    std::vector<DuplicateNumber> duplicateEntries;
    /// Information, not a finding: opening balances without an opening entry, by account.
    std::vector<DirectOpeningBalance> openingBalancesWithoutEntry;
    BalanceCounts counts;

    /// True when no cell differs and there is no other finding (the opening balances without
    /// an opening entry do not count).
    bool clean() const;
};

struct VerificationOptions {
    /// Called with the number of lines read so far, every `progressEvery` lines.
    std::function<void(std::int64_t linesRead)> progress;
    std::int64_t progressEvery = 100000;
};

/// Verifies the balances of the company and exercise of `context` on `connection`. Reads
/// the headers, the lines (once, in line-number order) and each balance table once. Raises
/// provider errors as they come, and error 1000 (source "verifyBalances") for a line of an
/// ordinary entry whose period (`PeriodoMes`) is outside 1..12.
BalanceVerification verifyBalances(const db::ConnectionRef& connection, cEmpresa& context,
                                   const VerificationOptions& options = {});

enum class RowRepair {
    /// Differing cells of an existing row set to their expected amounts.
    Updated,
    /// A missing row inserted with its expected amounts.
    Inserted,
    /// An existing row whose expected amounts are all zero: its cells set to zero (balance
    /// rows are never deleted).
    Zeroed,
};

struct RepairedRow {
    BalanceTable table = BalanceTable::Acumulados;
    std::string account;
    std::int16_t department = 0;
    RowRepair action = RowRepair::Updated;
    /// `Nivel` of an inserted row: the level of the posting account of the first line that
    /// reaches it (for a summary row only the directly entered opening balances reach, the
    /// level of its own account).
    std::int16_t level = 0;
    /// The cells written, with the amount before (`stored`) and after (`expected`).
    std::vector<BalanceCell> cells;

    bool operator==(const RepairedRow&) const = default;
};

struct BalanceRepair {
    /// The verification the repair worked from, the rows it wrote and the verification run
    /// after committing.
    BalanceVerification before;
    std::vector<RepairedRow> rows;
    BalanceVerification after;
};

/// Rewrites the balance rows of the company and exercise of `context` to the amounts
/// `verifyBalances` expects, in one transaction of the caller's kind on `connection`
/// (BeginTrans ... CommitTrans; any failure rolls back and is raised again, so a failed
/// repair changes nothing). Updates the differing cells of existing rows, inserts the missing
/// rows, sets to zero the rows that should hold nothing, keeps the directly entered opening
/// balances, then verifies again. Only balance cells are repaired: unbalanced entries, lines
/// without header and numbers used twice remain findings of the second verification. Raises
/// the provider's error when a transaction is already open on the connection.
BalanceRepair repairBalances(const db::ConnectionRef& connection, cEmpresa& context,
                             const VerificationOptions& options = {});

}  // namespace kvlnmov
