// The balance verifier and its repair on books posted through clsAsiento and clsMov: a clean
// book verifies clean; drift made by hand is found cell by cell, repaired in one transaction
// and verified clean again; the accumulation's own quirks are expected, not reported.

#include "kvlnmov/journal/balance_verifier.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <ostream>
#include <string>
#include <vector>

#include "support/company_fixture.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "kvlnmov/masters/cls_apertura.h"
#include "support/rows.h"

namespace kvlnmov {

// Readable failure messages.
void PrintTo(const BalanceCell& cell, std::ostream* out) {
    *out << balanceTableName(cell.table) << " " << cell.account << " dpto " << cell.department
         << " " << cell.column << " stored " << cell.stored.toString() << " expected "
         << cell.expected.toString() << (cell.rowStored ? "" : " (no row)");
}
void PrintTo(const RepairedRow& row, std::ostream* out) {
    *out << static_cast<int>(row.action) << " " << balanceTableName(row.table) << " " << row.account
         << " dpto " << row.department << " nivel " << row.level << " cells:";
    for (const BalanceCell& cell : row.cells) {
        *out << " ";
        PrintTo(cell, out);
    }
}
void PrintTo(const UnbalancedEntry& entry, std::ostream* out) {
    *out << "entry " << entry.entry << " debit " << entry.debit.toString() << " credit "
         << entry.credit.toString();
}
void PrintTo(const DirectOpeningBalance& balance, std::ostream* out) {
    *out << balance.account << " " << balance.amount.toString();
}

namespace testing {
namespace {

Currency money(const char* text) { return *Currency::parse(text); }

using Cells = std::vector<BalanceCell>;

BalanceCell cell(BalanceTable table, const char* account, std::int16_t department,
                 const char* column, const char* stored, const char* expected,
                 bool rowStored = true) {
    return {table, account, department, column, money(stored), money(expected), rowStored};
}
BalanceCell accountCell(const char* account, const char* column, const char* stored,
                        const char* expected, bool rowStored = true) {
    return cell(BalanceTable::Acumulados, account, 0, column, stored, expected, rowStored);
}
BalanceCell departmentCell(const char* account, std::int16_t department, const char* column,
                           const char* stored, const char* expected, bool rowStored = true) {
    return cell(BalanceTable::Acumulados_Dpto, account, department, column, stored, expected,
                rowStored);
}

struct LineToPost {
    std::string account;
    const char* debit = "0";
    const char* credit = "0";
    std::int16_t department = 0;
    /// The line's own date (`Fecha`); the entry's date when not given.
    Date lineDate{};
};

class BalanceVerifierTest : public CompanyTest {
  protected:
    /// Posts an entry dated `date` (an opening or closing one with `cierre`) and its lines
    /// through the library; returns the entry number.
    std::int32_t post(Date date, const std::vector<LineToPost>& lines, bool cierre = false) {
        auto entry = bound<clsAsiento>();
        entry->Fecha(date);
        entry->Cierre(cierre);
        entry->Usuario(7);
        EXPECT_TRUE(entry->Insertar());
        for (const LineToPost& posted : lines) {
            auto line = bound<clsMov>();
            line->Asiento(entry->Codigo());
            line->Fecha_Asiento(date);
            line->Fecha(posted.lineDate == Date() ? date : posted.lineDate);
            line->Cuenta(posted.account);
            line->Concepto("Linea " + posted.account);
            line->Dpto(posted.department);
            line->Debe(money(posted.debit));
            line->Haber(money(posted.credit));
            EXPECT_TRUE(line->Insertar());
        }
        return entry->Codigo();
    }

    /// An opening entry, a sale, its collection and a bank charge, over departments 0, 1 and
    /// 3: nine lines, lines 1 to 9.
    void postBook() {
        ASSERT_EQ(post(Date::ymd(2026, 1, 1),
                       {{"57200001", "10000", "0"}, {"10000001", "0", "10000"}}, true),
                  0);
        ASSERT_EQ(post(Date::ymd(2026, 3, 2), {{"43000001", "1210", "0", 1},
                                               {"70000001", "0", "1000", 1},
                                               {"47700021", "0", "210", 1}}),
                  1);
        ASSERT_EQ(
            post(Date::ymd(2026, 3, 20), {{"57200001", "1210", "0"}, {"43000001", "0", "1210"}}),
            2);
        ASSERT_EQ(post(Date::ymd(2026, 5, 10),
                       {{"62600001", "12.5", "0", 3}, {"57200001", "0", "12.5", 3}}),
                  3);
    }

    BalanceVerification verify() { return verifyBalances(db, *context); }
    BalanceRepair repair() { return repairBalances(db, *context); }

    /// Both balance tables, every column, in key order.
    Rows balances() {
        const std::string amounts =
            "Nivel, Apertura, Cierre, D1, D2, D3, D4, D5, D6, D7, D8, D9, D10, D11, D12, H1, H2, "
            "H3, H4, H5, H6, H7, H8, H9, H10, H11, H12";
        Rows rows = queryRows(db,
                              "SELECT Cuenta, -1, " + amounts + " FROM Acumulados ORDER BY Cuenta");
        for (auto& row : queryRows(db, "SELECT Cuenta, Dpto, " + amounts +
                                                    " FROM Acumulados_Dpto ORDER BY Cuenta, Dpto"))
            rows.push_back(std::move(row));
        return rows;
    }

    void expectClean(const BalanceVerification& verification) {
        EXPECT_TRUE(verification.clean());
        EXPECT_EQ(verification.differences, Cells{});
        EXPECT_EQ(verification.unbalancedEntries, std::vector<UnbalancedEntry>{});
        EXPECT_EQ(verification.linesWithoutHeader, std::vector<LineWithoutHeader>{});
        EXPECT_EQ(verification.duplicateLines, std::vector<DuplicateNumber>{});
        EXPECT_EQ(verification.duplicateEntries, std::vector<DuplicateNumber>{});
    }
};

// A book posted through the library verifies clean: balance_invariant_test.cpp, after every
// stretch of thousands of random operations; its counts are printed by the verify command
// (tests/cli/verify_test.cpp).
TEST_F(BalanceVerifierTest, ProgressIsReportedEveryGivenNumberOfLines) {
    postBook();
    std::vector<std::int64_t> reported;
    VerificationOptions options;
    options.progressEvery = 4;
    options.progress = [&](std::int64_t lines) { reported.push_back(lines); };
    EXPECT_TRUE(verifyBalances(db, *context, options).clean());
    EXPECT_EQ(reported, (std::vector<std::int64_t>{4, 8}));
}

/// Drift made by hand on the book of `postBook`, what the verifier finds and what the
/// repair writes.
struct DriftCase {
    const char* name;
    std::vector<std::string> statements;
    Cells differences;
    std::vector<RepairedRow> repaired;
    /// Rows the repair leaves that the book did not have (rows are never deleted).
    Rows extraRows;
};

RepairedRow repaired(RowRepair action, std::int16_t level, Cells cells) {
    RepairedRow row;
    row.table = cells.front().table;
    row.account = cells.front().account;
    row.department = cells.front().department;
    row.action = action;
    row.level = action == RowRepair::Inserted ? level : 0;
    row.cells = std::move(cells);
    return row;
}

Rows zeroDepartmentRow(const char* account, std::int16_t department, std::int16_t level) {
    std::vector<Variant> row{Variant(std::string(account)), Variant(department), Variant(level)};
    for (int column = 0; column < 26; ++column) row.emplace_back(Currency());
    return {row};
}

std::vector<DriftCase> driftCases() {
    const Cells changed{accountCell("43000001", "D3", "1210.0001", "1210")};
    const Cells deleted{accountCell("43", "D3", "0", "1210", false),
                        accountCell("43", "H3", "0", "1210", false)};
    const Cells missingDepartment{departmentCell("7", 1, "H3", "0", "1000", false)};
    const Cells stray{departmentCell("62900001", 4, "Cierre", "-3", "0"),
                      departmentCell("62900001", 4, "D2", "7.5", "0")};
    // Row "100" of department 0 was created by the opening credit of 10000001: it holds the
    // credit as written, +10000.
    const Cells openingQuirk{departmentCell("100", 0, "Apertura", "0", "10000")};
    const Cells summaryOpening{accountCell("5", "Apertura", "10001", "10000")};
    const Cells severalColumns{departmentCell("57200001", 3, "H5", "12.4999", "12.5"),
                               departmentCell("57200001", 3, "H6", "0.0001", "0")};
    return {
        {"changed cell",
         {"UPDATE Acumulados SET D3 = 1210.0001 WHERE Cuenta = '43000001'"},
         changed,
         {repaired(RowRepair::Updated, 0, changed)},
         {}},
        {"deleted balance row",
         {"DELETE FROM Acumulados WHERE Cuenta = '43'"},
         deleted,
         {repaired(RowRepair::Inserted, 5, deleted)},
         {}},
        {"missing department row",
         {"DELETE FROM Acumulados_Dpto WHERE Cuenta = '7' AND Dpto = 1"},
         missingDepartment,
         {repaired(RowRepair::Inserted, 5, missingDepartment)},
         {}},
        {"stray row with amounts",
         {"INSERT INTO Acumulados_Dpto (Cod_Empresa, Cod_Ejercicio, Cuenta, Dpto, Nivel, D2, "
          "Cierre) VALUES (1, 2026, '62900001', 4, 5, 7.5, -3)"},
         stray,
         {repaired(RowRepair::Zeroed, 0, stray)},
         zeroDepartmentRow("62900001", 4, 5)},
        {"opening credit row set to zero",
         {"UPDATE Acumulados_Dpto SET Apertura = 0 WHERE Cuenta = '100' AND Dpto = 0"},
         openingQuirk,
         {repaired(RowRepair::Updated, 0, openingQuirk)},
         {}},
        {"summary opening balance",
         {"UPDATE Acumulados SET Apertura = Apertura + 1 WHERE Cuenta = '5'"},
         summaryOpening,
         {repaired(RowRepair::Updated, 0, summaryOpening)},
         {}},
        {"two cells of one row",
         {"UPDATE Acumulados_Dpto SET H5 = 12.4999, H6 = 0.0001 WHERE Cuenta = '57200001' AND "
          "Dpto = 3"},
         severalColumns,
         {repaired(RowRepair::Updated, 0, severalColumns)},
         {}},
    };
}

class DriftTest : public BalanceVerifierTest, public ::testing::WithParamInterface<DriftCase> {};

TEST_P(DriftTest, IsFoundCellByCellAndRepaired) {
    const DriftCase& drift = GetParam();
    postBook();
    Rows book = balances();
    for (const std::string& statement : drift.statements) db->Execute(statement);

    BalanceVerification found = verify();
    EXPECT_FALSE(found.clean());
    EXPECT_EQ(found.differences, drift.differences);
    EXPECT_EQ(found.unbalancedEntries, std::vector<UnbalancedEntry>{});

    BalanceRepair repair = this->repair();
    EXPECT_EQ(repair.before.differences, drift.differences);
    EXPECT_EQ(repair.rows, drift.repaired);
    expectClean(repair.after);
    expectClean(verify());

    for (const auto& row : drift.extraRows) book.push_back(row);
    std::sort(book.begin(), book.end(), [](const auto& a, const auto& b) {
        if ((a[1].toLong() < 0) != (b[1].toLong() < 0)) return a[1].toLong() < 0;
        if (a[0].toText() != b[0].toText()) return a[0].toText() < b[0].toText();
        return a[1].toLong() < b[1].toLong();
    });
    EXPECT_EQ(balances(), book);
}

INSTANTIATE_TEST_SUITE_P(Drifts, DriftTest, ::testing::ValuesIn(driftCases()));

TEST_F(BalanceVerifierTest, AFailedRepairChangesNothing) {
    postBook();
    db->Execute("UPDATE Acumulados SET D3 = 1210.0001 WHERE Cuenta = '43000001'");
    db->Execute("DELETE FROM Acumulados_Dpto WHERE Cuenta = '7' AND Dpto = 1");
    Rows drifted = balances();

    // The update of Acumulados runs, then the insert into Acumulados_Dpto fails.
    db->injectFault({"INSERT INTO Acumulados_Dpto", 1, -2147217873, "disk full"});
    Error error = errorOf([&] { repair(); });
    EXPECT_EQ(error.number(), -2147217873);
    EXPECT_EQ(error.description(), "disk full");
    EXPECT_EQ(balances(), drifted);

    // No transaction was left open: the repair runs again.
    BalanceRepair again = repair();
    EXPECT_EQ(again.rows.size(), 2u);
    expectClean(again.after);
}

TEST_F(BalanceVerifierTest, AnUnbalancedEntryIsFoundAndStaysAfterRepair) {
    postBook();
    const std::int32_t entry =
        post(Date::ymd(2026, 6, 1), {{"43000001", "100", "0"}, {"70000001", "0", "99.9999"}});
    BalanceVerification found = verify();
    EXPECT_FALSE(found.clean());
    EXPECT_EQ(found.unbalancedEntries,
              (std::vector<UnbalancedEntry>{{entry, money("100"), money("99.9999")}}));
    EXPECT_EQ(found.differences, Cells{});

    BalanceRepair repair = this->repair();
    EXPECT_EQ(repair.rows, std::vector<RepairedRow>{});
    EXPECT_EQ(repair.after.unbalancedEntries, found.unbalancedEntries);
    EXPECT_FALSE(repair.after.clean());
}

TEST_F(BalanceVerifierTest, WithoutItsHeaderAClosingLineIsOrdinary) {
    // A closing entry whose header goes: its lines count as ordinary lines of December.
    postBook();
    post(Date::ymd(2026, 12, 31), {{"62600001", "0", "12.5", 3}, {"57200001", "12.5", "0", 3}},
         true);
    expectClean(verify());
    db->Execute("DELETE FROM Asientos WHERE Codigo = 999999");
    BalanceVerification found = verify();
    const Cells expected{departmentCell("6", 3, "Cierre", "12.5", "0"),
                         departmentCell("6", 3, "H12", "0", "12.5")};
    Cells sixOfDepartment3;
    for (const BalanceCell& difference : found.differences) {
        if (difference.account == "6" && difference.department == 3)
            sixOfDepartment3.push_back(difference);
    }
    EXPECT_EQ(sixOfDepartment3, expected);
    // Twenty rows (ten accounts, two tables) with Cierre and the period column wrong.
    EXPECT_EQ(found.differences.size(), 40u);
    EXPECT_EQ(found.linesWithoutHeader.size(), 2u);
}

TEST_F(BalanceVerifierTest, AShortAccountReachesItsOwnRowOncePerLongerLevel) {
    // A line moved to the summary account "4300" (Modificar does not check the length):
    // its own row, and the level lengths 4 (= the account) reach it twice.
    post(Date::ymd(2026, 3, 2), {{"43000001", "50", "0", 2}, {"70000001", "0", "50", 2}});
    auto line = bound<clsMov>();
    line->Apunte(1);
    line->Asiento(1);
    line->Fecha(Date::ymd(2026, 3, 2));
    line->Fecha_Asiento(Date::ymd(2026, 3, 2));
    line->Cuenta("4300");
    line->Dpto(2);
    line->Debe(money("50"));
    ASSERT_TRUE(line->Modificar());
    expectClean(verify());

    db->Execute("DELETE FROM Acumulados WHERE Cuenta = '4300'");
    db->Execute("DELETE FROM Acumulados_Dpto WHERE Cuenta = '4300'");
    BalanceRepair repair = this->repair();
    const Cells own{accountCell("4300", "D3", "0", "100", false)};
    const Cells department{departmentCell("4300", 2, "D3", "0", "100", false)};
    EXPECT_EQ(repair.before.differences, (Cells{own.front(), department.front()}));
    // Inserted with the level of the line's account: "4300" is level 4.
    EXPECT_EQ(repair.rows,
              (std::vector<RepairedRow>{repaired(RowRepair::Inserted, 4, own),
                                        repaired(RowRepair::Inserted, 4, department)}));
    expectClean(repair.after);
}

TEST_F(BalanceVerifierTest, AnOpeningCreditThatCreatesARowIsExpectedWithTheSignAsWritten) {
    postBook();
    // The credit of 10000001 created its rows holding +10000 (a debit's sign): clean.
    EXPECT_EQ(queryRows(db, "SELECT Apertura FROM Acumulados WHERE Cuenta = '1'"),
              (Rows{{Variant(money("10000"))}}));
    expectClean(verify());
    // A missing row was not there before its first line: it is expected as that line creates
    // it.
    db->Execute("DELETE FROM Acumulados WHERE Cuenta = '10'");
    EXPECT_EQ(verify().differences, (Cells{accountCell("10", "Apertura", "0", "10000", false)}));
    // Holding the credit's own sign, the row reads as one that existed before the line.
    db->Execute(
        "INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel, Apertura) VALUES (1, "
        "2026, '10', 2, -10000)");
    expectClean(verify());
}

TEST_F(BalanceVerifierTest, RowsThatExistedBeforeTheirFirstOpeningCreditAreTakenAsTheyAre) {
    // As an application opening the exercise with a zero row for each account of its chart.
    for (const char* account : {"1", "10", "100", "1000", "10000001"}) {
        db->Execute(
            "INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel) VALUES (1, 2026, "
            "'" +
            std::string(account) + "', 1)");
        db->Execute(
            "INSERT INTO Acumulados_Dpto (Cod_Empresa, Cod_Ejercicio, Cuenta, Dpto, Nivel) "
            "VALUES (1, 2026, '" +
            std::string(account) + "', 0, 1)");
    }
    postBook();
    EXPECT_EQ(queryRows(db, "SELECT Apertura FROM Acumulados WHERE Cuenta = '1'"),
              (Rows{{Variant(money("-10000"))}}));
    BalanceVerification verification = verify();
    expectClean(verification);
    EXPECT_EQ(verification.openingBalancesWithoutEntry, std::vector<DirectOpeningBalance>{});

    // Neither reading fits -9999: the row is expected as created by its first line.
    db->Execute(
        "UPDATE Acumulados_Dpto SET Apertura = -9999 WHERE Cuenta = '10' AND Dpto = 0");
    EXPECT_EQ(verify().differences, (Cells{departmentCell("10", 0, "Apertura", "-9999", "10000")}));
}

TEST_F(BalanceVerifierTest, ClosingLinesReverseTheirSign) {
    postBook();
    // Closing: the debit of 70000001 subtracts from Cierre; the credit of 12900001 creates its
    // rows, which hold the amount as written (-1000).
    post(Date::ymd(2026, 12, 31), {{"70000001", "1000", "0", 1}, {"12900001", "0", "1000", 1}},
         true);
    expectClean(verify());

    db->Execute("DELETE FROM Acumulados WHERE Cuenta IN ('7000', '129')");
    EXPECT_EQ(verify().differences, (Cells{accountCell("129", "Cierre", "0", "-1000", false),
                                           accountCell("7000", "Cierre", "0", "-1000", false),
                                           accountCell("7000", "H3", "0", "1000", false)}));
    expectClean(repair().after);
}

TEST_F(BalanceVerifierTest, ALineIsAccumulatedInThePeriodOfItsEntry) {
    // The entry is of 31 March, its line of 2 April; periods start in July (March is 9).
    context->periodOfMonth = {7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6};
    post(Date::ymd(2026, 3, 31), {{"43000001", "80", "0", 1, Date::ymd(2026, 4, 2)},
                                  {"70000001", "0", "80", 1, Date::ymd(2026, 4, 2)}});
    expectClean(verify());

    db->Execute("DELETE FROM Acumulados WHERE Cuenta = '70'");
    EXPECT_EQ(verify().differences, (Cells{accountCell("70", "H9", "0", "80", false)}));
    expectClean(repair().after);
}

TEST_F(BalanceVerifierTest, APeriodOutsideTheTwelveColumnsIsAnError) {
    postBook();
    context->periodOfMonth = {1, 2, 13, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    Error error = errorOf([&] { verify(); });
    EXPECT_EQ(error.number(), 1000);
    EXPECT_EQ(error.source(), "verifyBalances");
    EXPECT_EQ(error.description(), "Apunte 3: la columna D13 no existe (periodo fuera de 1..12)");
}

TEST_F(BalanceVerifierTest, DirectlyEnteredOpeningBalancesAreKeptAndListedApart) {
    postBook();
    // A new account's opening balance, and another amount over an opening entry's.
    auto opening = bound<clsApertura>();
    opening->Cuenta("57200002");
    opening->Apertura(money("2500"));
    opening->Insertar();
    auto changed = bound<clsApertura>();
    changed->Cuenta("57200001");
    changed->Apertura(money("10400.25"));
    changed->Modificar();

    BalanceVerification verification = verify();
    expectClean(verification);
    EXPECT_EQ(verification.openingBalancesWithoutEntry,
              (std::vector<DirectOpeningBalance>{{"57200001", money("400.25")},
                                                 {"57200002", money("2500")}}));
    Rows withOpening = balances();

    // Drift in a summary row above them is repaired to the journal's plus both balances.
    db->Execute("UPDATE Acumulados SET Apertura = 0 WHERE Cuenta = '57'");
    db->Execute("DELETE FROM Acumulados WHERE Cuenta = '5720'");
    BalanceRepair repair = this->repair();
    EXPECT_EQ(repair.before.differences,
              (Cells{accountCell("57", "Apertura", "0", "12900.25"),
                     accountCell("5720", "Apertura", "0", "12900.25", false),
                     accountCell("5720", "D3", "0", "1210", false),
                     accountCell("5720", "H5", "0", "12.5", false)}));
    expectClean(repair.after);
    EXPECT_EQ(repair.after.openingBalancesWithoutEntry, verification.openingBalancesWithoutEntry);
    EXPECT_EQ(balances(), withOpening);
}

TEST_F(BalanceVerifierTest, OtherCompaniesAndExercisesAreLeftOut) {
    postBook();
    db->Execute(
        "INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel, D1) VALUES (1, 2025, "
        "'43000001', 5, 99)");
    db->Execute(
        "INSERT INTO Acumulados_Dpto (Cod_Empresa, Cod_Ejercicio, Cuenta, Dpto, Nivel, D1) VALUES "
        "(2, 2026, '43000001', 0, 5, 99)");
    db->Execute(
        "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, Fecha_Asiento, "
        "Cuenta, Dpto, Debe, Haber) VALUES (1, 2025, 1, 1, '02/03/2025', '43000001', 0, 5, 0)");
    BalanceVerification verification = verify();
    expectClean(verification);
    EXPECT_EQ(verification.counts.lines, 9);
    EXPECT_EQ(verification.counts.accountRows, 29);
}

/// Books of a database whose line and header tables lost their primary keys, as old
/// databases may have: numbers can then be used twice.
class DuplicateNumberTest : public BalanceVerifierTest {
  protected:
    void SetUp() override {
        BalanceVerifierTest::SetUp();
        if (testProvider() == TestProvider::SqlServer) {
            db->Execute("ALTER TABLE Movimientos DROP CONSTRAINT PK_Movimientos");
            db->Execute("ALTER TABLE Asientos DROP CONSTRAINT PK_Asientos");
        } else {
            db.reset();
            dropPrimaryKey("Movimientos");
            dropPrimaryKey("Asientos");
            db = connectAgain();
        }
    }

    /// Rebuilds `table` in the SQLite file without its primary key constraint.
    void dropPrimaryKey(const std::string& table) {
        sqlite3* file = nullptr;
        ASSERT_EQ(sqlite3_open(path().c_str(), &file), SQLITE_OK);
        std::string create;
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(file,
                           ("SELECT sql FROM sqlite_master WHERE name = '" + table + "'").c_str(),
                           -1, &statement, nullptr);
        if (sqlite3_step(statement) == SQLITE_ROW)
            create = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        sqlite3_finalize(statement);
        const auto constraint = create.find(",\n    CONSTRAINT PK_" + table);
        ASSERT_NE(constraint, std::string::npos) << create;
        create = create.substr(0, constraint) + "\n)";
        const std::string script = "ALTER TABLE " + table + " RENAME TO Old" + table + ";" +
                                   create + ";INSERT INTO " + table + " SELECT * FROM Old" + table +
                                   ";DROP TABLE Old" + table + ";";
        char* message = nullptr;
        EXPECT_EQ(sqlite3_exec(file, script.c_str(), nullptr, nullptr, &message), SQLITE_OK)
            << (message ? message : "");
        sqlite3_free(message);
        sqlite3_close(file);
    }
};

TEST_F(DuplicateNumberTest, LineAndEntryNumbersUsedTwiceAreFound) {
    postBook();
    db->Execute(
        "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, Fecha_Asiento, "
        "Cuenta, Dpto, Debe, Haber) SELECT Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, "
        "Fecha_Asiento, Cuenta, Dpto, Debe, Haber FROM Movimientos WHERE Apunte = 4");
    db->Execute(
        "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre) VALUES (1, "
        "2026, 3, '10/05/2026', 0)");
    db->Execute(
        "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre) VALUES (1, "
        "2026, 3, '10/05/2026', 0)");

    BalanceVerification found = verify();
    EXPECT_EQ(found.duplicateLines, (std::vector<DuplicateNumber>{{4, 2}}));
    EXPECT_EQ(found.duplicateEntries, (std::vector<DuplicateNumber>{{3, 3}}));
    // Line 4 (70000001, credit 1000 in March, department 1) counts twice in the balances.
    Cells expected;
    for (const char* account : {"7", "70", "700", "7000", "70000001"})
        expected.push_back(accountCell(account, "H3", "1000", "2000"));
    for (const char* account : {"7", "70", "700", "7000", "70000001"})
        expected.push_back(departmentCell(account, 1, "H3", "1000", "2000"));
    EXPECT_EQ(found.differences, expected);
    EXPECT_EQ(found.unbalancedEntries,
              (std::vector<UnbalancedEntry>{{1, money("1210"), money("2210")}}));
    EXPECT_EQ(found.counts.lines, 10);
    EXPECT_EQ(found.counts.entries, 6);
}

}  // namespace
}  // namespace testing
}  // namespace kvlnmov
