// `kvlnmov verify`: checks the running balances of every exercise of a company database
// against its journal, and with --repair rewrites them.

#include <iostream>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "commands.h"
#include "company_database.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/empresa_context.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/journal/balance_verifier.h"

namespace kvlnmov::cli {

namespace {

struct VerifyOptions {
    DatabaseArgument database;
    std::optional<int> company;
    std::optional<int> exercise;
    bool repair = false;
};

/// How often a large book reports progress on standard error.
constexpr std::int64_t kProgressLines = 100000;

/// Every amount the command prints: exact, with the four decimals a balance keeps, so a
/// drift of 0.0001 shows.
std::string amount(Currency value) { return funciones().FormatoNumero(value, 4); }

/// "1 row", "2 rows".
std::string counted(std::int64_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string exerciseName(std::int16_t company, std::int16_t exercise) {
    return "company " + std::to_string(company) + ", exercise " + std::to_string(exercise);
}

/// "Acumulados, account 43000001" or "Acumulados_Dpto, account 43000001, department 1".
std::string rowName(BalanceTable table, const std::string& account, std::int16_t department) {
    std::string name = std::string(balanceTableName(table)) + ", account " + account;
    if (table == BalanceTable::Acumulados_Dpto)
        name += ", department " + std::to_string(department);
    return name;
}

void printVerification(const BalanceVerification& found) {
    const BalanceCounts& counts = found.counts;
    std::cout << "Company " << found.company << ", exercise " << found.exercise << ": "
              << counted(counts.lines, "line", "lines") << ", "
              << counted(counts.entries, "entry", "entries") << ", "
              << counted(counts.accountRows, "row", "rows") << " in Acumulados, "
              << counted(counts.departmentRows, "row", "rows") << " in Acumulados_Dpto\n";
    for (const BalanceCell& cell : found.differences) {
        std::cout << "  " << rowName(cell.table, cell.account, cell.department) << ", "
                  << cell.column << ": stored " << amount(cell.stored)
                  << (cell.rowStored ? "" : " (no row)") << ", expected " << amount(cell.expected)
                  << "\n";
    }
    for (const UnbalancedEntry& entry : found.unbalancedEntries) {
        std::cout << "  unbalanced entry " << entry.entry << ": debits " << amount(entry.debit)
                  << ", credits " << amount(entry.credit) << "\n";
    }
    for (const LineWithoutHeader& line : found.linesWithoutHeader) {
        std::cout << "  line " << line.line << " (account " << line.account << "): entry "
                  << line.entry << " has no header in Asientos\n";
    }
    for (const DuplicateNumber& number : found.duplicateLines) {
        std::cout << "  line number " << number.number << " used " << number.times << " times\n";
    }
    for (const DuplicateNumber& number : found.duplicateEntries) {
        std::cout << "  entry number " << number.number << " used " << number.times << " times\n";
    }
    for (const DirectOpeningBalance& balance : found.openingBalancesWithoutEntry) {
        std::cout << "  opening balance without an opening entry (kept): account "
                  << balance.account << ", " << amount(balance.amount) << "\n";
    }
    std::cout << "Summary, " << exerciseName(found.company, found.exercise) << ": "
              << counted(static_cast<std::int64_t>(found.differences.size()), "differing cell",
                         "differing cells")
              << " in " << counted(counts.differingRows, "row", "rows") << " ("
              << counts.missingRows << " missing, " << counts.strayRows << " stray), "
              << counted(static_cast<std::int64_t>(found.unbalancedEntries.size()),
                         "unbalanced entry", "unbalanced entries")
              << ", "
              << counted(static_cast<std::int64_t>(found.linesWithoutHeader.size()),
                         "line without header", "lines without header")
              << ", "
              << counted(static_cast<std::int64_t>(found.duplicateLines.size()), "line number",
                         "line numbers")
              << " and "
              << counted(static_cast<std::int64_t>(found.duplicateEntries.size()), "entry number",
                         "entry numbers")
              << " used more than once, "
              << counted(static_cast<std::int64_t>(found.openingBalancesWithoutEntry.size()),
                         "opening balance", "opening balances")
              << " without an opening entry: " << (found.clean() ? "clean" : "DIFFERENCES FOUND")
              << "\n";
}

void printRepair(const BalanceRepair& repair) {
    std::int64_t updated = 0;
    std::int64_t inserted = 0;
    std::int64_t zeroed = 0;
    for (const RepairedRow& row : repair.rows) {
        updated += row.action == RowRepair::Updated;
        inserted += row.action == RowRepair::Inserted;
        zeroed += row.action == RowRepair::Zeroed;
    }
    std::cout << "Repair of " << exerciseName(repair.before.company, repair.before.exercise)
              << ", in one transaction: " << counted(updated, "row", "rows") << " updated, "
              << counted(inserted, "row", "rows") << " inserted, " << counted(zeroed, "row", "rows")
              << " set to zero\n";
    for (const RepairedRow& row : repair.rows) {
        std::string action = "updated ";
        std::string name = rowName(row.table, row.account, row.department);
        if (row.action == RowRepair::Inserted) {
            action = "inserted ";
            name += " (Nivel " + std::to_string(row.level) + ")";
        } else if (row.action == RowRepair::Zeroed) {
            action = "set to zero ";
        }
        for (const BalanceCell& cell : row.cells) {
            std::cout << "  " << action << name << ", " << cell.column << ": "
                      << amount(cell.stored) << " -> " << amount(cell.expected) << "\n";
        }
    }
    std::cout << "Verified again after the repair:\n";
}

/// The company/exercise pairs of `Empresas_Ejercicios` the options select, in order.
std::vector<std::pair<std::int16_t, std::int16_t>> selectedExercises(
    const db::ConnectionRef& connection, const VerifyOptions& options) {
    db::Recordset rows;
    rows.Open(
        "SELECT Cod_Empresa, Cod_Ejercicio FROM Empresas_Ejercicios ORDER BY Cod_Empresa, "
        "Cod_Ejercicio",
        connection);
    std::vector<std::pair<std::int16_t, std::int16_t>> selected;
    for (; !rows.Eof(); rows.MoveNext()) {
        const std::int16_t company = rows.Fields(0).toInteger();
        const std::int16_t exercise = rows.Fields(1).toInteger();
        if (options.company && *options.company != company) continue;
        if (options.exercise && *options.exercise != exercise) continue;
        selected.emplace_back(company, exercise);
    }
    rows.Close();
    if (selected.empty()) {
        throw UsageError{options.company || options.exercise
                             ? "no exercise in Empresas_Ejercicios matches --company/--exercise"
                             : "the database has no exercise in Empresas_Ejercicios"};
    }
    return selected;
}

int runVerify(const VerifyOptions& options) {
    const db::ConnectionRef connection = openExistingDatabase(options.database);

    bool clean = true;
    for (const auto& [company, exercise] : selectedExercises(connection, options)) {
        EmpresaContext context(connection, company, exercise);
        VerificationOptions verification;
        verification.progressEvery = kProgressLines;
        verification.progress = [company = company, exercise = exercise](std::int64_t lines) {
            std::cerr << "kvlnmov verify: " << exerciseName(company, exercise) << ": " << lines
                      << " lines read\n";
        };
        if (options.repair) {
            const BalanceRepair repair = repairBalances(connection, context, verification);
            printVerification(repair.before);
            printRepair(repair);
            printVerification(repair.after);
            clean = repair.after.clean() && clean;
        } else {
            const BalanceVerification found = verifyBalances(connection, context, verification);
            printVerification(found);
            clean = found.clean() && clean;
        }
    }
    return clean ? kExitOk : kExitFailure;
}

}  // namespace

Command addVerifyCommand(CLI::App& app) {
    auto options = std::make_shared<VerifyOptions>();
    CLI::App* command = app.add_subcommand(
        "verify",
        "Check the running balances (Acumulados, Acumulados_Dpto) against the journal lines.\n"
        "Every exercise of Empresas_Ejercicios is checked unless --company/--exercise narrow\n"
        "them. Prints every differing cell (table, account, department, column, stored and\n"
        "expected amounts), unbalanced entries, lines without header, numbers used more than\n"
        "once, and a summary per exercise. Opening balances entered without an opening entry\n"
        "are listed apart and are not differences. Exits 1 when anything differs or any other\n"
        "finding exists, 0 when the books are clean. With --repair the balance rows are\n"
        "rewritten in one transaction, the changes printed and the books verified again; the\n"
        "exit code is that of the second verification.");
    addDatabaseOptions(command, options->database, "Database file (must exist; never created)");
    command->add_option("--company", options->company, "Only this company")
        ->check(CLI::Range(1, 32767));
    command->add_option("--exercise", options->exercise, "Only this exercise")
        ->check(CLI::Range(1, 32767));
    command->add_flag("--repair", options->repair,
                      "Rewrite the differing balance rows from the journal, then verify again");
    return Command{command, [options] { return runVerify(*options); }};
}

}  // namespace kvlnmov::cli
