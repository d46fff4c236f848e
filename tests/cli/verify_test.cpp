// `kvlnmov verify` (and the exercise length `kvlnmov init` accepts), run as a user runs them:
// on the demo company's file, and through a connection string on the database of the test
// provider.

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "kvlnmov/core/empresa_context.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/frame/regional.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "support/test_connection.h"
#include "support/tool_fixture.h"

namespace kvlnmov::testing {
namespace {

const char* kCleanDemo =
    "Company 1, exercise 2026: 29 lines, 10 entries, 56 rows in Acumulados, 130 rows in "
    "Acumulados_Dpto\n"
    "Summary, company 1, exercise 2026: 0 differing cells in 0 rows (0 missing, 0 stray), 0 "
    "unbalanced entries, 0 lines without header, 0 line numbers and 0 entry numbers used more "
    "than once, 0 opening balances without an opening entry: clean\n";

class VerifyToolTest : public ToolFixture {
  protected:
    void demo() {
        ToolRun run = kvlnmov({"demo", database_});
        ASSERT_EQ(run.exitCode, 0) << run.err;
    }

    void sql(const std::string& statement) {
        ToolRun run = kvlnmov({"sql", database_, statement});
        ASSERT_EQ(run.exitCode, 0) << run.err;
    }
};

TEST_F(VerifyToolTest, TheDemoIsClean) {
    demo();
    ToolRun run = kvlnmov({"verify", database_});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, kCleanDemo);
    EXPECT_EQ(run.err, "");
}

TEST_F(VerifyToolTest, AHandMadeChangeIsPrintedRepairedAndGone) {
    demo();
    sql("UPDATE Acumulados SET D3 = D3 + 0.0001 WHERE Cuenta = '43000001'");
    sql("DELETE FROM Acumulados_Dpto WHERE Cuenta = '7' AND Dpto = 1");
    const std::string found =
        "Company 1, exercise 2026: 29 lines, 10 entries, 56 rows in Acumulados, 129 rows in "
        "Acumulados_Dpto\n"
        "  Acumulados, account 43000001, D3: stored 1.210,0001, expected 1.210,0000\n"
        "  Acumulados_Dpto, account 7, department 1, H3: stored 0,0000 (no row), expected "
        "5.000,0000\n"
        "Summary, company 1, exercise 2026: 2 differing cells in 2 rows (1 missing, 0 stray), 0 "
        "unbalanced entries, 0 lines without header, 0 line numbers and 0 entry numbers used "
        "more than once, 0 opening balances without an opening entry: DIFFERENCES FOUND\n";
    ToolRun verify = kvlnmov({"verify", database_});
    EXPECT_EQ(verify.exitCode, 1) << verify.err;
    EXPECT_EQ(verify.out, found);

    ToolRun repair = kvlnmov({"verify", database_, "--repair"});
    EXPECT_EQ(repair.exitCode, 0) << repair.err;
    EXPECT_EQ(repair.out,
              found +
                  "Repair of company 1, exercise 2026, in one transaction: 1 row updated, 1 row "
                  "inserted, 0 rows set to zero\n"
                  "  updated Acumulados, account 43000001, D3: 1.210,0001 -> 1.210,0000\n"
                  "  inserted Acumulados_Dpto, account 7, department 1 (Nivel 5), H3: 0,0000 -> "
                  "5.000,0000\n"
                  "Verified again after the repair:\n" +
                  kCleanDemo);

    ToolRun again = kvlnmov({"verify", database_});
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_EQ(again.out, kCleanDemo);
}

TEST_F(VerifyToolTest, FindingsTheRepairCannotFixKeepTheExitCodeAtOne) {
    demo();
    // Entry 7 (the payment of 23 March: lines 23 and 24, after the opening entry's four and
    // the other six entries' sixteen) loses its header.
    sql("DELETE FROM Asientos WHERE Codigo = 7");
    const std::string found =
        "Company 1, exercise 2026: 29 lines, 9 entries, 56 rows in Acumulados, 130 rows in "
        "Acumulados_Dpto\n"
        "  line 23 (account 40000001): entry 7 has no header in Asientos\n"
        "  line 24 (account 57200001): entry 7 has no header in Asientos\n"
        "Summary, company 1, exercise 2026: 0 differing cells in 0 rows (0 missing, 0 stray), 0 "
        "unbalanced entries, 2 lines without header, 0 line numbers and 0 entry numbers used "
        "more than once, 0 opening balances without an opening entry: DIFFERENCES FOUND\n";
    ToolRun verify = kvlnmov({"verify", database_});
    EXPECT_EQ(verify.exitCode, 1);
    EXPECT_EQ(verify.out, found);

    ToolRun repair = kvlnmov({"verify", database_, "--repair"});
    EXPECT_EQ(repair.exitCode, 1);
    EXPECT_EQ(repair.out, found +
                              "Repair of company 1, exercise 2026, in one transaction: 0 rows "
                              "updated, 0 rows inserted, 0 rows set to zero\n"
                              "Verified again after the repair:\n" +
                              found);
}

TEST_F(VerifyToolTest, EveryExerciseIsVerifiedUnlessNarrowed) {
    demo();
    sql("INSERT INTO Empresas_Ejercicios (Cod_Empresa, Cod_Ejercicio, Estado, FechaInicio, "
        "FechaFin) VALUES (1, 2027, 0, '01/01/2027', '31/12/2027')");
    sql("INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel, H2) VALUES (1, 2027, "
        "'70000001', 5, 0.5)");
    const std::string exercise2027 =
        "Company 1, exercise 2027: 0 lines, 0 entries, 1 row in Acumulados, 0 rows in "
        "Acumulados_Dpto\n"
        "  Acumulados, account 70000001, H2: stored 0,5000, expected 0,0000\n"
        "Summary, company 1, exercise 2027: 1 differing cell in 1 row (0 missing, 1 stray), 0 "
        "unbalanced entries, 0 lines without header, 0 line numbers and 0 entry numbers used "
        "more than once, 0 opening balances without an opening entry: DIFFERENCES FOUND\n";

    ToolRun all = kvlnmov({"verify", database_});
    EXPECT_EQ(all.exitCode, 1);
    EXPECT_EQ(all.out, kCleanDemo + exercise2027);

    ToolRun only2026 = kvlnmov({"verify", database_, "--exercise", "2026"});
    EXPECT_EQ(only2026.exitCode, 0);
    EXPECT_EQ(only2026.out, kCleanDemo);

    ToolRun company1 = kvlnmov({"verify", database_, "--company", "1", "--exercise", "2027"});
    EXPECT_EQ(company1.exitCode, 1);
    EXPECT_EQ(company1.out, exercise2027);
}

struct UsageCase {
    std::vector<std::string> arguments;
    std::string error;
};

TEST_F(VerifyToolTest, BadArgumentsAreUsageErrors) {
    demo();
    const std::string missing = (folder_ / "missing.db").string();
    const UsageCase cases[] = {
        {{"verify", missing},
         "kvlnmov: '" + missing + "' is not a database file (create one with kvlnmov init)\n"},
        {{"verify"}, "DB is required\nRun with --help for more information.\n"},
        {{"verify", database_, "--connection", "Provider=SQLite;Data Source=" + database_},
         "The following argument was not expected: " + database_ +
             "\nRun with --help for more information.\n"},
        {{"verify", database_, "--company", "2"},
         "kvlnmov: no exercise in Empresas_Ejercicios matches --company/--exercise\n"},
    };
    for (const UsageCase& usage : cases) {
        ToolRun run = kvlnmov(usage.arguments);
        EXPECT_EQ(run.exitCode, 2) << usage.error;
        EXPECT_EQ(run.err, usage.error);
        EXPECT_EQ(run.out, "");
    }
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(VerifyToolTest, InitRefusesAnExerciseBeyondTwelveMonthsOrBackwards) {
    const UsageCase cases[] = {
        {{"init", database_, "--from", "2026-01-01", "--to", "2027-01-31"},
         "kvlnmov: an exercise spans at most twelve calendar months (the balances keep one "
         "column per month): 01/01/2026 to 31/01/2027 spans 13 months\n"},
        {{"init", database_, "--from", "2026-03-15", "--to", "2027-03-14"},
         "kvlnmov: an exercise spans at most twelve calendar months (the balances keep one "
         "column per month): 15/03/2026 to 14/03/2027 spans 13 months\n"},
        {{"init", database_, "--from", "2026-07-01", "--to", "2026-06-30"},
         "kvlnmov: --to must not be before --from\n"},
    };
    for (const UsageCase& usage : cases) {
        ToolRun run = kvlnmov(usage.arguments);
        EXPECT_EQ(run.exitCode, 2) << usage.error;
        EXPECT_EQ(run.err, usage.error);
        EXPECT_FALSE(std::filesystem::exists(database_));
    }
    // Twelve months from July to June are one exercise.
    ToolRun run = kvlnmov({"init", database_, "--from", "2026-07-01", "--to", "2027-06-30"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(std::filesystem::exists(database_));
}

/// The connection string of the test provider's database, as `--connection` takes it.
TEST(VerifyConnectionTest, AConnectionStringOpensTheDatabaseItNames) {
    resetLibrary();
    setRegional(Regional{});
    TestDatabase database;
    const std::string connectionString = database.connectionString();
    const std::string capture = (database.folder() / "run").string();
    auto kvlnmov = [&](std::vector<std::string> arguments) {
        return runTool(KVLNMOV_CLI, std::move(arguments), capture);
    };
    ToolRun init = kvlnmov({"init", "--connection", connectionString});
    ASSERT_EQ(init.exitCode, 0) << init.err;

    {
        // One entry posted through the library on the same database.
        auto connection = database.connect();
        auto context = std::make_shared<EmpresaContext>(connection, 1, 2026);
        auto entry = std::make_shared<clsAsiento>();
        entry->Conexion(connection);
        entry->cEmpresa(context);
        entry->Fecha(Date::ymd(2026, 2, 10));
        ASSERT_TRUE(entry->Insertar());
        for (auto [account, debit, credit] :
             {std::tuple{"62900001", "40", "0"}, std::tuple{"57200001", "0", "40"}}) {
            auto line = std::make_shared<clsMov>();
            line->cEmpresa(context);
            line->Asiento(entry->Codigo());
            line->Fecha_Asiento(entry->Fecha());
            line->Fecha(entry->Fecha());
            line->Cuenta(account);
            line->Debe(*Currency::parse(debit));
            line->Haber(*Currency::parse(credit));
            ASSERT_TRUE(line->Insertar());
        }
        connection->Execute("UPDATE Acumulados_Dpto SET D2 = 4 WHERE Cuenta = '629'");
        resetLibrary();
    }

    const std::string summary =
        "Company 1, exercise 2026: 2 lines, 1 entry, 10 rows in Acumulados, 10 rows in "
        "Acumulados_Dpto\n";
    ToolRun verify = kvlnmov({"verify", "--connection", connectionString});
    EXPECT_EQ(verify.exitCode, 1) << verify.err;
    EXPECT_EQ(verify.out,
              summary +
                  "  Acumulados_Dpto, account 629, department 0, D2: stored 4,0000, expected "
                  "40,0000\n"
                  "Summary, company 1, exercise 2026: 1 differing cell in 1 row (0 missing, 0 "
                  "stray), 0 unbalanced entries, 0 lines without header, 0 line numbers and 0 "
                  "entry numbers used more than once, 0 opening balances without an opening "
                  "entry: DIFFERENCES FOUND\n");
    EXPECT_EQ(kvlnmov({"verify", "--connection", connectionString, "--repair"}).exitCode, 0);
    ToolRun again = kvlnmov({"verify", "--connection", connectionString});
    EXPECT_EQ(again.exitCode, 0) << again.out;
}

/// Every command that opens a company database takes `--connection CS` in place of the file:
/// the demo company written through the test provider's connection reads the same through
/// the connection as through the file, and a command writes through it.
TEST(ToolConnectionTest, EveryCommandTakesAConnectionInPlaceOfTheFile) {
    TestDatabase database;
    const std::string connection = database.connectionString();
    const std::string capture = (database.folder() / "run").string();
    auto kvlnmov = [&](std::vector<std::string> arguments) {
        return runTool(KVLNMOV_CLI, std::move(arguments), capture);
    };
    ToolRun demo = kvlnmov({"demo", "--connection", connection});
    ASSERT_EQ(demo.exitCode, 0) << demo.err;
    EXPECT_NE(demo.out.find("Demonstration company database: the connection's database\n"),
              std::string::npos);
    EXPECT_EQ(demo.out.find(connection), std::string::npos) << "the connection string is printed";

    const std::vector<std::vector<std::string>> readers = {
        {"balance"},
        {"balance", "--level", "1", "--periods"},
        {"books"},
        {"show", "5"},
        {"sql", "SELECT Codigo, Fecha FROM Asientos ORDER BY Codigo"},
        {"verify"},
    };
    const bool file = testProvider() != TestProvider::SqlServer;
    for (const auto& reader : readers) {
        std::vector<std::string> byConnection = reader;
        byConnection.insert(byConnection.begin() + 1, {"--connection", connection});
        ToolRun read = kvlnmov(byConnection);
        EXPECT_EQ(read.exitCode, 0) << reader[0] << ": " << read.err;
        EXPECT_NE(read.out, "") << reader[0];
        if (!file) continue;
        std::vector<std::string> byFile = reader;
        byFile.insert(byFile.begin() + 1, database.file());
        ToolRun same = kvlnmov(byFile);
        EXPECT_EQ(same.exitCode, 0) << reader[0] << ": " << same.err;
        EXPECT_EQ(same.out, read.out) << reader[0];
    }

    ToolRun annul = kvlnmov({"annul", "--connection", connection, "3", "--user", "9"});
    ASSERT_EQ(annul.exitCode, 0) << annul.err;
    db::Recordset backups;
    backups.Open("SELECT Codigo, Usuario FROM BakAnulado_Asientos", database.connect());
    ASSERT_FALSE(backups.Eof());
    EXPECT_EQ(backups.Fields("Codigo").toLong(), 3);
    EXPECT_EQ(backups.Fields("Usuario").toLong(), 9);
    backups.MoveNext();
    EXPECT_TRUE(backups.Eof());
    backups.Close();
    resetLibrary();
}

TEST_F(VerifyToolTest, AMissingFileIsRefusedAndNeverCreated) {
    const std::string missing = (folder_ / "missing.db").string();
    const std::string refusal =
        "kvlnmov: '" + missing + "' is not a database file (create one with kvlnmov init)\n";
    const std::vector<std::vector<std::string>> commands = {
        {"balance", missing},      {"books", missing},
        {"show", missing, "1"},    {"sql", missing, "SELECT 1"},
        {"annul", missing, "1"},   {"renumber", missing, "1", "2"},
        {"post", missing, "x.csv"}};
    for (const auto& command : commands) {
        ToolRun run = kvlnmov(command);
        EXPECT_EQ(run.exitCode, 2) << command[0];
        if (command[0] != "post") {
            EXPECT_EQ(run.err, refusal) << command[0];
        }
        EXPECT_FALSE(std::filesystem::exists(missing)) << command[0];
    }
}

}  // namespace
}  // namespace kvlnmov::testing
