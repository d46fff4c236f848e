// The annul, renumber and reassign commands of the kvlnmov tool, run as a user runs them on a
// company database posted through the library.

#include <sstream>

#include "journal/maintenance_fixture.h"
#include "support/run_tool.h"

namespace kvlnmov::testing {
namespace {

using CommandRun = ToolRun;

class MaintenanceCommandTest : public MaintenanceTest {
  protected:
    void SetUp() override {
        MaintenanceTest::SetUp();
        march3 = post(Date::ymd(2026, 3, 3), {{"43000001", 100, 0}, {"70000001", 0, 100}});
        march4 = post(Date::ymd(2026, 3, 4), {{"43000002", 50, 0}, {"70000001", 0, 50}});
        march5 = post(Date::ymd(2026, 3, 5), {{"43000003", 20, 0}, {"70000001", 0, 20}});
        db->Execute("UPDATE Movimientos SET Punteo = 1 WHERE Cuenta = '43000002'");
    }

    /// Runs `kvlnmov COMMAND DB ARGUMENTS...` with the test's database as DB (no shell: every
    /// argument reaches the tool as written).
    CommandRun kvlnmov(const std::string& command, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {command, path()});
        CommandRun run = runTool(KVLNMOV_CLI, std::move(arguments), path());
        if (run.exitCode == -1) ADD_FAILURE() << "cannot start " << KVLNMOV_CLI;
        return run;
    }

    /// The same with the arguments written in one text, separated by blanks.
    CommandRun kvlnmov(const std::string& command, const std::string& arguments) {
        std::istringstream words(arguments);
        std::vector<std::string> split;
        for (std::string word; words >> word;) split.push_back(word);
        return kvlnmov(command, std::move(split));
    }

    std::int32_t march3 = 0;
    std::int32_t march4 = 0;
    std::int32_t march5 = 0;
};

TEST_F(MaintenanceCommandTest, AnnulMarksAnEntryInTheMiddleAndDeletesTheLastOne) {
    ASSERT_EQ((std::vector<std::int32_t>{march3, march4, march5}),
              (std::vector<std::int32_t>{1, 2, 3}));

    CommandRun middle = kvlnmov("annul", "2 --user 9");
    EXPECT_EQ(middle.exitCode, 0) << middle.err;
    EXPECT_EQ(middle.out,
              "Annulled entry 2 of company 1, exercise 2026 (dated 04/03/2026): 2 lines taken out "
              "of the balances, backed up under backup 1 and deleted.\n"
              "The header stays, marked annulled (Nulo) by user 9: 2 was not the last number "
              "given.\n");
    EXPECT_EQ(rows("SELECT Codigo, Usuario FROM Asientos WHERE Nulo = 1"), (TextRows{{"2", "9"}}));

    CommandRun last = kvlnmov("annul", "3");
    EXPECT_EQ(last.exitCode, 0) << last.err;
    EXPECT_EQ(last.out,
              "Annulled entry 3 of company 1, exercise 2026 (dated 05/03/2026): 2 lines taken out "
              "of the balances, backed up under backup 2 and deleted.\n"
              "The header was deleted and number 3 given back to the counter.\n");
    EXPECT_EQ(rows("SELECT Codigo FROM Asientos ORDER BY Codigo"), (TextRows{{"1"}, {"2"}}));
    EXPECT_EQ(rows("SELECT IDBak, Codigo, Usuario FROM BakAnulado_Asientos ORDER BY IDBak"),
              (TextRows{{"1", "2", "9"}, {"2", "3", "3"}}));
    EXPECT_EQ(number("SELECT cAsiento FROM Contador_Asientos"), 2);
    EXPECT_EQ(rows("SELECT Cuenta, D3, H3 FROM Acumulados WHERE Cuenta LIKE '7%' ORDER BY Cuenta"),
              (TextRows{{"70", "0", "100"}, {"70000001", "0", "100"}}));
}

TEST_F(MaintenanceCommandTest, AnnulRefusesAnEntryThatDoesNotExist) {
    CommandRun run = kvlnmov("annul", "7");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "kvlnmov: entry 7 does not exist in company 1, exercise 2026\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(number("SELECT COUNT(*) FROM BakAnulado_Asientos"), 0);

    CommandRun notANumber = kvlnmov("annul", "seven");
    EXPECT_EQ(notANumber.exitCode, 2);
}

TEST_F(MaintenanceCommandTest, RenumberMovesTheLinesIntoAnExistingEntryOnly) {
    CommandRun run = kvlnmov("renumber", "1 3");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "Moved 2 lines of entry 1 to entry 3 (dated 05/03/2026), with their balances, "
              "secondary lines and payment forecasts.\n");
    EXPECT_EQ(rows("SELECT Cod_Asiento, Cuenta, Fecha_Asiento FROM Movimientos WHERE Cuenta = "
                   "'43000001'"),
              (TextRows{{"3", "43000001", "05/03/2026"}}));
    EXPECT_EQ(number("SELECT COUNT(*) FROM Movimientos WHERE Cod_Asiento = 3"), 4);

    CommandRun missing = kvlnmov("renumber", "2 9");
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err,
              "kvlnmov: entry 9 has no header in company 1, exercise 2026; create it first: "
              "renumber moves the lines into an existing entry\n");
    EXPECT_EQ(number("SELECT COUNT(*) FROM Movimientos WHERE Cod_Asiento = 2"), 2);
}

TEST_F(MaintenanceCommandTest, ReassignMovesTheSelectedLinesAndReportsLibraryErrors) {
    CommandRun run = kvlnmov("reassign",
                             "--from 43000000 --to 43999999 --dest 43000009 --start 2026-03-01 "
                             "--end 2026-03-31 --unreconciled --user 4");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "Moved 2 lines of accounts 43000000 to 43999999 dated 01/03/2026 to 31/03/2026 "
              "(unreconciled only) to account 43000009, with their balances.\n");
    EXPECT_EQ(rows("SELECT Apunte, Cuenta, Cod_Usuario FROM Movimientos WHERE Cuenta LIKE '43%' "
                   "ORDER BY Apunte"),
              (TextRows{{"1", "43000009", "4"}, {"3", "43000002", "7"}, {"5", "43000009", "4"}}));
    EXPECT_EQ(rows("SELECT Cuenta, D3 FROM Acumulados WHERE Cuenta LIKE '43%' ORDER BY Cuenta"),
              (TextRows{{"43", "170"},
                        {"43000001", "0"},
                        {"43000002", "50"},
                        {"43000003", "0"},
                        {"43000009", "120"}}));

    CommandRun outside = kvlnmov("reassign",
                                 "--from 43000000 --to 43999999 --dest 43000009 --start "
                                 "2025-12-31 --end 2026-12-31");
    EXPECT_EQ(outside.exitCode, 1);
    EXPECT_EQ(outside.err,
              "kvlnmov: cannot move the lines to the new account: Fecha inicial fuera de "
              "ejercicio contable\n  (error 1000, clsMov::Cambiar_Cuenta)\n");

    struct Refused {
        const char* range;
        const char* message;
    };
    const std::string dates = " --start 2026-01-01 --end 2026-12-31";
    for (const Refused& bad : {
             Refused{"--from 43000000 --to 43999999 --dest 430",
                     "kvlnmov: --dest must be a posting account of 8 digits: '430'\n"},
             Refused{"--from 4300'0000 --to 43999999 --dest 43000009",
                     "kvlnmov: --from must be an account of digits: '4300'0000'\n"},
             Refused{"--from 43999999 --to 43000000 --dest 43000009",
                     "kvlnmov: --to must not come before --from\n"},
             Refused{"--from 43000000 --to 43999999", ""},
         }) {
        CommandRun refused = kvlnmov("reassign", bad.range + dates);
        EXPECT_EQ(refused.exitCode, 2) << bad.range;
        if (*bad.message) {
            EXPECT_EQ(refused.err, bad.message) << bad.range;
        }
    }
    CommandRun badDate =
        kvlnmov("reassign",
                "--from 43000000 --to 43999999 --dest 43000009 --start 2026-13-01 --end "
                "2026-12-31");
    EXPECT_EQ(badDate.exitCode, 2);
    EXPECT_EQ(badDate.err, "kvlnmov: --start must be a date as YYYY-MM-DD: '2026-13-01'\n");
    CommandRun both = kvlnmov("reassign", "--from 43000000 --to 43999999 --dest 43000009" + dates +
                                              " --reconciled --unreconciled");
    EXPECT_EQ(both.exitCode, 2);
    EXPECT_NE(both.err.find("--reconciled excludes --unreconciled"), std::string::npos) << both.err;
    EXPECT_EQ(number("SELECT COUNT(*) FROM Movimientos WHERE Cuenta = '43000009'"), 2);
}

}  // namespace
}  // namespace kvlnmov::testing
