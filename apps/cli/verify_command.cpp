// `kvlnmov verify`: checks the running balances of every exercise of a company database
// against its journal, and with --repair rewrites them.

#include <iostream>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "commands.h"
#include "company_database.h"
#include "i18n.h"
#include "kvlnmov/core/empresa_context.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/journal/balance_verifier.h"
#include "text_table.h"

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
std::string amount(Currency value) { return amountText(value, 4); }

/// "Acumulados, account 43000001" or "Acumulados_Dpto, account 43000001, department 1".
std::string rowName(BalanceTable table, const std::string& account, std::int16_t department) {
    const std::string name(balanceTableName(table));
    if (table == BalanceTable::Acumulados_Dpto) {
        return format(_("%s, account %s, department %d"), name.c_str(), account.c_str(),
                      department);
    }
    return format(_("%s, account %s"), name.c_str(), account.c_str());
}

long long count(std::size_t items) { return static_cast<long long>(items); }

void printVerification(const BalanceVerification& found) {
    const BalanceCounts& counts = found.counts;
    std::cout << format(_("Company %d, exercise %d: %s, %s, %s, %s"), found.company, found.exercise,
                        trCount("%lld line", "%lld lines", counts.lines).c_str(),
                        trCount("%lld entry", "%lld entries", counts.entries).c_str(),
                        trCount("%lld row in Acumulados", "%lld rows in Acumulados",
                                counts.accountRows)
                            .c_str(),
                        trCount("%lld row in Acumulados_Dpto", "%lld rows in Acumulados_Dpto",
                                counts.departmentRows)
                            .c_str())
              << "\n";
    for (const BalanceCell& cell : found.differences) {
        const std::string row = rowName(cell.table, cell.account, cell.department);
        std::cout << "  "
                  << format(cell.rowStored ? _("%s, %s: stored %s, expected %s")
                                           : _("%s, %s: stored %s (no row), expected %s"),
                            row.c_str(), cell.column.c_str(), amount(cell.stored).c_str(),
                            amount(cell.expected).c_str())
                  << "\n";
    }
    for (const UnbalancedEntry& entry : found.unbalancedEntries) {
        std::cout << "  "
                  << format(_("unbalanced entry %d: debits %s, credits %s"), entry.entry,
                            amount(entry.debit).c_str(), amount(entry.credit).c_str())
                  << "\n";
    }
    for (const LineWithoutHeader& line : found.linesWithoutHeader) {
        std::cout << "  "
                  << format(_("line %d (account %s): entry %d has no header in Asientos"),
                            line.line, line.account.c_str(), line.entry)
                  << "\n";
    }
    for (const DuplicateNumber& number : found.duplicateLines) {
        const long long times = number.times;
        std::cout << "  "
                  << format(trn("line number %d used %lld time", "line number %d used %lld times",
                                static_cast<unsigned long long>(times)),
                            number.number, times)
                  << "\n";
    }
    for (const DuplicateNumber& number : found.duplicateEntries) {
        const long long times = number.times;
        std::cout << "  "
                  << format(trn("entry number %d used %lld time", "entry number %d used %lld times",
                                static_cast<unsigned long long>(times)),
                            number.number, times)
                  << "\n";
    }
    for (const DirectOpeningBalance& balance : found.openingBalancesWithoutEntry) {
        std::cout << "  "
                  << format(_("opening balance without an opening entry (kept): account %s, %s"),
                            balance.account.c_str(), amount(balance.amount).c_str())
                  << "\n";
    }
    const std::string cells =
        trCount("%lld differing cell", "%lld differing cells", count(found.differences.size()));
    const std::string rows = trCount("%lld row", "%lld rows", counts.differingRows);
    const std::string unbalanced = trCount("%lld unbalanced entry", "%lld unbalanced entries",
                                           count(found.unbalancedEntries.size()));
    const std::string headerless = trCount("%lld line without header", "%lld lines without header",
                                           count(found.linesWithoutHeader.size()));
    const std::string lineNumbers =
        trCount("%lld line number", "%lld line numbers", count(found.duplicateLines.size()));
    const std::string entryNumbers =
        trCount("%lld entry number", "%lld entry numbers", count(found.duplicateEntries.size()));
    const std::string openings = trCount("%lld opening balance", "%lld opening balances",
                                         count(found.openingBalancesWithoutEntry.size()));
    const long long missing = counts.missingRows;
    const long long stray = counts.strayRows;
    std::cout << format(found.clean()
                            ? _("Summary, company %d, exercise %d: %s in %s (%lld missing, %lld "
                                "stray), %s, %s, %s and %s used more than once, %s without an "
                                "opening entry: clean")
                            : _("Summary, company %d, exercise %d: %s in %s (%lld missing, %lld "
                                "stray), %s, %s, %s and %s used more than once, %s without an "
                                "opening entry: DIFFERENCES FOUND"),
                        found.company, found.exercise, cells.c_str(), rows.c_str(), missing, stray,
                        unbalanced.c_str(), headerless.c_str(), lineNumbers.c_str(),
                        entryNumbers.c_str(), openings.c_str())
              << "\n";
}

void printRepair(const BalanceRepair& repair) {
    long long updated = 0;
    long long inserted = 0;
    long long zeroed = 0;
    for (const RepairedRow& row : repair.rows) {
        updated += row.action == RowRepair::Updated;
        inserted += row.action == RowRepair::Inserted;
        zeroed += row.action == RowRepair::Zeroed;
    }
    std::cout << format(_("Repair of company %d, exercise %d, in one transaction: %s, %s, %s"),
                        repair.before.company, repair.before.exercise,
                        trCount("%lld row updated", "%lld rows updated", updated).c_str(),
                        trCount("%lld row inserted", "%lld rows inserted", inserted).c_str(),
                        trCount("%lld row set to zero", "%lld rows set to zero", zeroed).c_str())
              << "\n";
    for (const RepairedRow& row : repair.rows) {
        const std::string name = rowName(row.table, row.account, row.department);
        for (const BalanceCell& cell : row.cells) {
            const std::string from = amount(cell.stored);
            const std::string to = amount(cell.expected);
            std::string line;
            if (row.action == RowRepair::Inserted) {
                line = format(_("inserted %s (Nivel %d), %s: %s -> %s"), name.c_str(), row.level,
                              cell.column.c_str(), from.c_str(), to.c_str());
            } else if (row.action == RowRepair::Zeroed) {
                line = format(_("set to zero %s, %s: %s -> %s"), name.c_str(), cell.column.c_str(),
                              from.c_str(), to.c_str());
            } else {
                line = format(_("updated %s, %s: %s -> %s"), name.c_str(), cell.column.c_str(),
                              from.c_str(), to.c_str());
            }
            std::cout << "  " << line << "\n";
        }
    }
    std::cout << _("Verified again after the repair:") << "\n";
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
                             ? _("no exercise in Empresas_Ejercicios matches --company/--exercise")
                             : _("the database has no exercise in Empresas_Ejercicios")};
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
            std::cerr << format(trn("kvlnmov verify: company %d, exercise %d: %lld line read",
                                    "kvlnmov verify: company %d, exercise %d: %lld lines read",
                                    static_cast<unsigned long long>(lines)),
                                company, exercise, static_cast<long long>(lines))
                      << "\n";
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
        _("Check the running balances (Acumulados, Acumulados_Dpto) against the journal lines.\n"
          "Every exercise of Empresas_Ejercicios is checked unless --company/--exercise narrow\n"
          "them. Prints every differing cell (table, account, department, column, stored and\n"
          "expected amounts), unbalanced entries, lines without header, numbers used more than\n"
          "once, and a summary per exercise. Opening balances entered without an opening entry\n"
          "are listed apart and are not differences. Exits 1 when anything differs or any other\n"
          "finding exists, 0 when the books are clean. With --repair the balance rows are\n"
          "rewritten in one transaction, the changes printed and the books verified again; the\n"
          "exit code is that of the second verification."));
    addDatabaseOptions(command, options->database, _("Database file (must exist; never created)"));
    command->add_option("--company", options->company, _("Only this company"))
        ->check(CLI::Range(1, 32767));
    command->add_option("--exercise", options->exercise, _("Only this exercise"))
        ->check(CLI::Range(1, 32767));
    command->add_flag("--repair", options->repair,
                      _("Rewrite the differing balance rows from the journal, then verify again"));
    return Command{command, [options] { return runVerify(*options); }};
}

}  // namespace kvlnmov::cli
