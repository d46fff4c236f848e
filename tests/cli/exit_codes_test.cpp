// The kvlnmov tool's exit codes and messages when it finds nothing to do where the user asked
// for something, the opening entry 0, and the form of a provider error, run as a user runs
// them on the demo company's database.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/tool_fixture.h"

namespace kvlnmov::testing {
namespace {

using TextRows = std::vector<std::vector<std::string>>;

// Every row of `query` on the database file, each value as SQLite's text ("" for Null).
TextRows textRows(const std::string& file, const std::string& query) {
    sqlite3* db = nullptr;
    TextRows rows;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << "cannot open " << file;
        sqlite3_close(db);
        return rows;
    }
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, query.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << query << ": " << sqlite3_errmsg(db);
    } else {
        while (sqlite3_step(statement) == SQLITE_ROW) {
            std::vector<std::string> row;
            for (int i = 0; i < sqlite3_column_count(statement); ++i) {
                const unsigned char* text = sqlite3_column_text(statement, i);
                row.emplace_back(text ? reinterpret_cast<const char*>(text) : "");
            }
            rows.push_back(std::move(row));
        }
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return rows;
}

// Replaces every "{db}" and "{folder}" in `text`.
std::string expand(std::string text, const std::string& database, const std::string& folder) {
    for (const auto& [hole, value] : {std::pair<std::string, std::string>{"{db}", database},
                                      std::pair<std::string, std::string>{"{folder}", folder}}) {
        for (auto at = text.find(hole); at != std::string::npos; at = text.find(hole, at))
            text.replace(at, hole.size(), value);
    }
    return text;
}

// The tables a refused command must leave as they were.
const char* const kJournalTables[] = {
    "SELECT * FROM Asientos ORDER BY Cod_Empresa, Cod_Ejercicio, Codigo",
    "SELECT * FROM Movimientos ORDER BY Cod_Empresa, Cod_Ejercicio, Apunte",
    "SELECT * FROM Acumulados ORDER BY Cod_Empresa, Cod_Ejercicio, Cuenta",
    "SELECT * FROM BakAnulado_Asientos ORDER BY IDBak",
    "SELECT * FROM Contador_Asientos",
};

struct Case {
    const char* name;
    /// Run first, each expected to succeed (arguments after the command's DB).
    std::vector<std::vector<std::string>> before;
    /// The command line; "{db}" stands for the database file, "{folder}" for the test's folder.
    std::vector<std::string> arguments;
    int exitCode;
    /// Standard error, exactly.
    std::string err;
    /// A piece of standard output ("" when it must be empty).
    std::string outPiece;
    /// True when the journal tables must be as they were before the command.
    bool unchanged;
    /// A query on the database afterwards and its rows.
    std::string query;
    TextRows rows;
};

class ExitCodesTest : public ToolFixture, public ::testing::WithParamInterface<Case> {
  protected:
    static void SetUpTestSuite() {
        char pattern[] = "/tmp/kvlnmov-demo-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        demoFolder_ = pattern;
        demoFile_ = (demoFolder_ / "demo.db").string();
        const ToolRun demo = runTool(KVLNMOV_CLI, {"demo", demoFile_}, demoFile_);
        ASSERT_EQ(demo.exitCode, 0) << demo.err;
    }
    static void TearDownTestSuite() { std::filesystem::remove_all(demoFolder_); }

    void SetUp() override {
        ToolFixture::SetUp();
        std::filesystem::copy_file(demoFile_, database_);
    }

    std::vector<TextRows> journal() {
        std::vector<TextRows> tables;
        for (const char* query : kJournalTables) tables.push_back(textRows(database_, query));
        return tables;
    }

    static std::filesystem::path demoFolder_;
    static std::string demoFile_;
};

std::filesystem::path ExitCodesTest::demoFolder_;
std::string ExitCodesTest::demoFile_;

TEST_P(ExitCodesTest, SaysWhatItFoundAndLeavesTheRowsAsExpected) {
    const Case& c = GetParam();
    for (const auto& step : c.before) {
        std::vector<std::string> arguments = step;
        arguments.insert(arguments.begin() + 1, database_);
        const ToolRun run = kvlnmov(arguments);
        ASSERT_EQ(run.exitCode, 0) << run.err;
    }
    const std::vector<TextRows> before = journal();
    ASSERT_FALSE(before[1].empty());

    std::vector<std::string> arguments;
    for (const std::string& argument : c.arguments)
        arguments.push_back(expand(argument, database_, folder_.string()));
    const ToolRun run = kvlnmov(arguments);
    EXPECT_EQ(run.exitCode, c.exitCode) << run.err;
    EXPECT_EQ(run.err, expand(c.err, database_, folder_.string()));
    if (c.outPiece.empty()) {
        EXPECT_EQ(run.out, "");
    } else {
        EXPECT_NE(run.out.find(c.outPiece), std::string::npos) << run.out;
    }
    if (c.unchanged) {
        EXPECT_EQ(journal(), before);
    }
    if (!c.query.empty()) {
        EXPECT_EQ(textRows(database_, c.query), c.rows);
    }
}

const std::string kEntry0Lines =
    "SELECT Cuenta, Debe, Haber FROM Movimientos WHERE Cod_Asiento = 0 ORDER BY Apunte";
// Amounts are kept in ten-thousandths.
const TextRows kEntry0Rows = {{"57200001", "600000000", "0"},
                              {"43000001", "84700000", "0"},
                              {"10000001", "0", "600000000"},
                              {"40000001", "0", "84700000"}};

const Case kCases[] = {
    {"ShowOfAMissingEntry",
     {},
     {"show", "{db}", "99"},
     1,
     "kvlnmov: entry 99 does not exist in company 1, exercise 2026\n",
     "",
     true,
     "SELECT COUNT(*) FROM Asientos WHERE Codigo = 99",
     {{"0"}}},
    {"ShowOfTheOpeningEntry",
     {},
     {"show", "{db}", "0"},
     0,
     "",
     "Asiento: 0   Fecha: 01/01/2026   Ult. Mod.: Ana Morales\n",
     true,
     kEntry0Lines,
     kEntry0Rows},
    {"RenumberOfAnEntryWithoutLines",
     {},
     {"renumber", "{db}", "77", "3"},
     1,
     "kvlnmov: entry 77 has no lines in company 1, exercise 2026; there is nothing to move\n",
     "",
     true,
     "SELECT COUNT(*) FROM Movimientos WHERE Cod_Asiento = 3",
     {{"3"}}},
    {"RenumberOfAnEntryOntoItself",
     {},
     {"renumber", "{db}", "5", "5"},
     1,
     "kvlnmov: entry 5 cannot be moved onto itself: OLD and NEW must differ\n",
     "",
     true,
     "SELECT COUNT(*) FROM Movimientos WHERE Cod_Asiento = 5",
     {{"4"}}},
    {"RenumberIntoAMissingEntry",
     {},
     {"renumber", "{db}", "3", "99"},
     1,
     "kvlnmov: entry 99 has no header in company 1, exercise 2026; create it first: renumber "
     "moves the lines into an existing entry\n",
     "",
     true,
     "SELECT COUNT(*) FROM Movimientos WHERE Cod_Asiento = 3",
     {{"3"}}},
    {"AnnulOfAMissingEntry",
     {},
     {"annul", "{db}", "99"},
     1,
     "kvlnmov: entry 99 does not exist in company 1, exercise 2026\n",
     "",
     true,
     "SELECT COUNT(*) FROM BakAnulado_Asientos",
     {{"0"}}},
    {"AnnulOfAnAnnulledEntry",
     {{"annul", "2"}},
     {"annul", "{db}", "2"},
     1,
     "kvlnmov: entry 2 of company 1, exercise 2026 is already annulled\n",
     "",
     true,
     "SELECT Codigo, Nulo FROM Asientos WHERE Codigo = 2 UNION ALL SELECT COUNT(*), 0 FROM "
     "BakAnulado_Asientos",
     {{"2", "1"}, {"1", "0"}}},
    {"AnnulOfTheOpeningEntryWithoutForce",
     {},
     {"annul", "{db}", "0"},
     1,
     "kvlnmov: entry 0 is the opening entry of company 1, exercise 2026 and is not annulled "
     "without --force\n",
     "",
     true,
     kEntry0Lines,
     kEntry0Rows},
    {"AnnulOfTheOpeningEntryWithForce",
     {},
     {"annul", "{db}", "0", "--force"},
     0,
     "",
     "Annulled entry 0 of company 1, exercise 2026",
     false,
     "SELECT COUNT(*) FROM Movimientos WHERE Cod_Asiento = 0 UNION ALL SELECT COUNT(*) FROM "
     "BakAnulado_Movimientos WHERE Cod_Asiento = 0",
     {{"0"}, {"4"}}},
    {"ReassignThatFindsNoLine",
     {},
     {"reassign", "{db}", "--from", "62900000", "--to", "62999999", "--dest", "62900009",
      "--start", "2026-03-01", "--end", "2026-03-31"},
     1,
     "kvlnmov: no line of accounts 62900000 to 62999999 is dated 01/03/2026 to 31/03/2026 in "
     "company 1, exercise 2026; there is nothing to move\n",
     "",
     true,
     "SELECT COUNT(*) FROM Movimientos WHERE Cuenta = '62900009'",
     {{"0"}}},
    {"ReassignOfReconciledLinesThatFindsNone",
     {},
     {"reassign", "{db}", "--from", "43000000", "--to", "43999999", "--dest", "43000009",
      "--start", "2026-03-01", "--end", "2026-03-31", "--reconciled"},
     1,
     "kvlnmov: no reconciled line of accounts 43000000 to 43999999 is dated 01/03/2026 to "
     "31/03/2026 in company 1, exercise 2026; there is nothing to move\n",
     "",
     true,
     "SELECT COUNT(*) FROM Movimientos WHERE Cuenta = '43000009'",
     {{"0"}}},
    {"ADatabaseThatCannotBeOpened",
     {},
     {"show", "--connection", "Provider=SQLite;Data Source={folder}/missing/x.db", "1"},
     1,
     "kvlnmov: cannot open the database \"{folder}/missing/x.db\": unable to open database "
     "file\n  (error -2147467259, kvlnmov SQLite provider)\n",
     "",
     true,
     "",
     {}},
    {"AMissingDatabaseFile",
     {},
     {"show", "{folder}/none.db", "1"},
     2,
     "kvlnmov: '{folder}/none.db' is not a database file (create one with kvlnmov init)\n",
     "",
     true,
     "",
     {}},
};

INSTANTIATE_TEST_SUITE_P(Commands, ExitCodesTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<Case>& info) {
                             return std::string(info.param.name);
                         });

// The library's own errors keep their description after the sentence saying what failed.
TEST_F(ToolFixture, ALibraryErrorSaysWhatFailedThenItsNumberAndSource) {
    ASSERT_EQ(kvlnmov({"demo", database_}).exitCode, 0);
    const ToolRun run = kvlnmov({"reassign", database_, "--from", "43000000", "--to", "43999999",
                                 "--dest", "43000009", "--start", "2025-12-31", "--end",
                                 "2026-12-31"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err,
              "kvlnmov: cannot move the lines to the new account: Fecha inicial fuera de "
              "ejercicio contable\n  (error 1000, clsMov::Cambiar_Cuenta)\n");
    EXPECT_EQ(textRows(database_, "SELECT COUNT(*) FROM Movimientos WHERE Cuenta = '43000009'"),
              (TextRows{{"0"}}));
}

// The terminal columns where the separators " | " stand in a line of the grid (a UTF-8
// letter takes one column).
std::vector<std::size_t> separators(const std::string& line) {
    std::vector<std::size_t> at;
    for (auto found = line.find(" | "); found != std::string::npos;
         found = line.find(" | ", found + 3)) {
        at.push_back(static_cast<std::size_t>(
            std::count_if(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(found),
                          [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; })));
    }
    return at;
}

// A long entry is written whole, batch after batch, under the columns of its first batch.
TEST_F(ToolFixture, ShowWritesALongEntryWholeUnderTheColumnsOfItsFirstBatch) {
    ASSERT_EQ(kvlnmov({"demo", database_}).exitCode, 0);
    // 450 more lines on entry 6 (two lines of its own): 10,00 each, debits and credits in turn.
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(database_.c_str(), &db), SQLITE_OK);
    const char* insert =
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 450) "
        "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, "
        "Fecha_Asiento, Cuenta, Fecha_Apunte, Concepto, Documento, Diario, Dpto, Debe, Haber, "
        "Punteo) SELECT 1, 2026, 6, 5000 + i, '2026-03-20', '57200001', '2026-03-20', 'Cobro ' "
        "|| i, 'C-' || i, 0, 0, CASE WHEN i % 2 = 1 THEN 100000 ELSE 0 END, CASE WHEN i % 2 = 0 "
        "THEN 100000 ELSE 0 END, 0 FROM n";
    EXPECT_EQ(sqlite3_exec(db, insert, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
    sqlite3_close(db);

    const ToolRun run = kvlnmov({"show", database_, "6", "--no-pager"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    std::vector<std::string> lines;
    std::istringstream text(run.out);
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    // Header, blank, captions, rule, 452 lines, rule, totals, imbalance.
    ASSERT_EQ(lines.size(), 4u + 452u + 3u);
    EXPECT_EQ(lines[2].rfind("Ap.    | Cod. Cuenta | ", 0), 0u) << lines[2];
    EXPECT_EQ(lines[4].rfind("     1 | ", 0), 0u) << lines[4];
    EXPECT_EQ(lines[4 + 451].rfind("   452 | 57200001    | ", 0), 0u) << lines[4 + 451];
    EXPECT_NE(lines[4 + 451].find(" | Cobro 450 "), std::string::npos) << lines[4 + 451];
    EXPECT_EQ(lines[4 + 451].substr(lines[4 + 451].size() - 6), " 10,00");
    // Every line of every batch keeps the columns of the captions.
    const std::vector<std::size_t> columns = separators(lines[2]);
    ASSERT_EQ(columns.size(), 9u);
    for (std::size_t i = 4; i < 4 + 452; ++i) {
        std::vector<std::size_t> found = separators(lines[i]);
        // A line without a credit ends after the debit column.
        ASSERT_GE(found.size(), 8u) << lines[i];
        found.resize(columns.size(), columns.back());
        EXPECT_EQ(found, columns) << "line " << i << ": " << lines[i];
    }
    EXPECT_EQ(lines[4 + 452], lines[3]);
}

}  // namespace
}  // namespace kvlnmov::testing
