// Repair of the running balances: every differing row is rewritten to what the verifier
// expects, in one transaction, then the balances are verified again.

#include "journal/verification/balance_comparison.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/journal/balance_verifier.h"

namespace kvlnmov {

namespace {

constexpr const char* kSource = "repairBalances";

using verification::Cells;
using verification::DifferingRow;

/// The cells of `row` to write: those that differ, or for a missing row those that are not
/// zero (the table's defaults are zero).
std::vector<BalanceCell> cellsToWrite(const DifferingRow& row) {
    std::vector<BalanceCell> cells;
    for (int column = 0; column < accumulation::kColumnCount; ++column) {
        const auto index = static_cast<std::size_t>(column);
        const Currency before = row.storedCells[index];
        const Currency after = row.expectedCells[index];
        if (before == after) continue;
        cells.push_back({row.table, row.account, row.department, accumulation::columnName(column),
                         before, after, row.stored});
    }
    return cells;
}

RepairedRow repairRow(db::Connection& connection, cEmpresa& context, const DifferingRow& row) {
    RepairedRow repaired;
    repaired.table = row.table;
    repaired.account = row.account;
    repaired.department = row.department;
    repaired.cells = cellsToWrite(row);
    const bool department = row.table == BalanceTable::Acumulados_Dpto;
    const std::string table(balanceTableName(row.table));

    if (!row.stored) {
        repaired.action = RowRepair::Inserted;
        repaired.level = row.level;
        std::string columns = "Cod_Empresa, Cod_Ejercicio, Cuenta";
        std::string values = sql::integer(context.Cod_Empresa()) + ", " +
                             sql::integer(context.Cod_Ejercicio()) + ", '" +
                             sql::text(row.account) + "'";
        if (department) {
            columns += ", Dpto";
            values += ", " + sql::integer(row.department);
        }
        columns += ", Nivel";
        values += ", " + sql::integer(row.level);
        for (const BalanceCell& cell : repaired.cells) {
            columns += ", " + cell.column;
            values += ", " + sql::amount(cell.expected);
        }
        connection.Execute("INSERT INTO " + table + " (" + columns + ") VALUES (" + values + ")");
        return repaired;
    }

    repaired.action = row.expectedCells == Cells{} ? RowRepair::Zeroed : RowRepair::Updated;
    std::string assignments;
    for (const BalanceCell& cell : repaired.cells) {
        assignments +=
            (assignments.empty() ? "" : ", ") + cell.column + " = " + sql::amount(cell.expected);
    }
    std::string where = sql::whereCompanyExercise(context) + sql::andAccount(row.account);
    if (department) where += " AND Dpto =" + sql::integer(row.department);
    if (connection.Execute("UPDATE " + table + " SET " + assignments + where) == 0) {
        throw Error(errc::kCheck, kSource,
                    "La fila de " + table + " de la cuenta " + row.account +
                        (department ? " y el departamento " + sql::integer(row.department) : "") +
                        " ya no existe");
    }
    return repaired;
}

}  // namespace

BalanceRepair repairBalances(const db::ConnectionRef& connection, cEmpresa& context,
                             const VerificationOptions& options) {
    // Bracketed as an operation for the texts its statements quote; the repair's own caller
    // transaction is what makes it one piece.
    OperationScope scope(Access::Reads);
    BalanceRepair result;
    // The rows are read inside the transaction that rewrites them.
    connection->BeginTrans();
    try {
        verification::Comparison comparison =
            verification::compareBalances(connection, context, options);
        for (const DifferingRow& row : comparison.rows)
            result.rows.push_back(repairRow(*connection, context, row));
        connection->CommitTrans();
        result.before = std::move(comparison.verification);
    } catch (...) {
        try {
            connection->RollbackTrans();
        } catch (const Error&) {
            // The failure that stopped the repair is the one to report.
        }
        throw;
    }
    result.after = verifyBalances(connection, context, options);
    return result;
}

}  // namespace kvlnmov
