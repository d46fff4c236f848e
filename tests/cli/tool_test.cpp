// The demo, post, balance and books commands of the kvlnmov tool, run as a user runs them.

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/library.h"
#include "support/tool_fixture.h"

namespace kvlnmov::testing {
namespace {

class ToolTest : public ToolFixture {
  protected:
    std::string write(const std::string& name, const std::string& text) {
        std::string file = (folder_ / name).string();
        std::ofstream(file) << text;
        return file;
    }

    std::int32_t count(const std::string& query) {
        auto connection = db::openConnection("Provider=SQLite;Data Source=" + database_);
        db::Recordset rows;
        rows.Open(query, connection);
        return rows.Fields(0).toLong();
    }

    void init() { ASSERT_EQ(kvlnmov({"init", database_}).exitCode, 0); }
};

const char* kTwoEntries = R"({"entries": [
  {"date": "2026-03-02", "reference": "A-1", "lines": [
     {"account": "43000001", "debit": "1210", "concept": "Factura A-1", "document": "A-1", "department": 1},
     {"account": "70000001", "credit": "1000", "concept": "Factura A-1", "document": "A-1", "department": 1},
     {"account": "47700021", "credit": "210", "concept": "IVA", "document": "A-1", "department": 1}],
   "invoice": {"book": "issued", "tax": "IVA", "account": "43000001", "name": "Cliente", "nif": "B1",
               "document": "A-1", "rates": [{"base": "1000", "rate": 21, "tax": "210"}],
               "due": [{"date": "2026-04-01", "amount": "1210"}]}},
  {"date": "2026-03-20", "reference": "C-1", "lines": [
     {"account": "57200001", "debit": "1210", "concept": "Cobro A-1"},
     {"account": "43000001", "credit": "1210", "concept": "Cobro A-1"}]}]})";

TEST_F(ToolTest, TheDemoPostsABalancedMonthAndItsBooks) {
    ToolRun demo = kvlnmov({"demo", database_});
    ASSERT_EQ(demo.exitCode, 0) << demo.err;
    std::string::size_type first = demo.out.find("Debits equal credits");
    ASSERT_NE(first, std::string::npos) << demo.out;
    EXPECT_NE(demo.out.find("Debits equal credits", first + 1), std::string::npos);
    EXPECT_NE(demo.out.find("VAT book (table Iva)"), std::string::npos);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Asientos"), 10);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Irpf"), 1);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Previsiones_Pago WHERE Estado = 0"), 3);

    ToolRun groups = kvlnmov({"balance", database_, "--level", "1"});
    EXPECT_EQ(groups.exitCode, 0);
    EXPECT_NE(groups.out.find("5 accounts. Debits equal credits"), std::string::npos) << groups.out;
    EXPECT_EQ(kvlnmov({"balance", database_, "--level", "9"}).exitCode, 2);
    EXPECT_EQ(kvlnmov({"demo", database_}).exitCode, 2);  // never over an existing database
}

TEST_F(ToolTest, PostWritesEntriesBooksAndForecastsInOneGo) {
    init();
    ToolRun run = kvlnmov({"post", database_, write("entries.json", kTwoEntries), "--user", "4"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "Posted 2 entries (5 lines, 1 tax book record, 1 forecast): entries 1 to 2.\n");
    EXPECT_EQ(count("SELECT COUNT(*) FROM Movimientos WHERE Cod_Usuario = 4"), 5);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Iva_Lineas WHERE Base = 1000 AND Cuota = 210"), 1);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Previsiones_Cobro WHERE Importe = 1210"), 1);
    EXPECT_EQ(count("SELECT D3 FROM Acumulados WHERE Cuenta = '43000001'"), 1210);
    EXPECT_EQ(count("SELECT H3 FROM Acumulados WHERE Cuenta = '4'"), 1420);

    ToolRun csv = kvlnmov({"post", database_,
                           write("more.csv",
                                 "entry;date;account;debit;credit;concept;document;department\n"
                                 "F1;2026-04-01;62600001;12.5;;Comision;EXT;3\n"
                                 "F1;2026-04-01;57200001;;12.5;Comision;EXT;3\n")});
    ASSERT_EQ(csv.exitCode, 0) << csv.err;
    EXPECT_EQ(count("SELECT COUNT(*) FROM Movimientos WHERE Dpto = 3"), 2);
}

TEST_F(ToolTest, PostRefusesABadFileBeforeWritingAnything) {
    init();
    struct Case {
        const char* file;
        const char* text;
        const char* message;
    };
    const Case cases[] = {
        {"unbalanced.json",
         R"({"entries": [{"date": "2026-03-01", "reference": "U1", "lines": [{"account": "43000001", "debit": "5"},
             {"account": "70000001", "credit": "5"}]},
             {"date": "2026-03-02", "reference": "U2", "lines": [{"account": "43000001", "debit": "100"},
             {"account": "70000001", "credit": "90"}]}]})",
         "entry 2: unbalanced: debits 100,00, credits 90,00"},
        {"broken.json", R"({"entries": [)", "not valid JSON"},
        {"short.json",
         R"({"entries": [{"date": "2026-03-02", "reference": "S1", "lines": [{"account": "4300001", "debit": "1"},
             {"account": "70000001", "credit": "1"}]}]})",
         "entry 1, line 1: the account must be 8 digits: '4300001'"},
        {"quote.json",
         R"({"entries": [{"date": "2026-03-02", "reference": "Q1", "lines": [{"account": "43000001", "debit": "1", "concept": "L'Oreal"},
             {"account": "70000001", "credit": "1"}]}]})",
         "texts may not hold a quote"},
        {"outside.json",
         R"({"entries": [{"date": "2027-01-02", "reference": "O1", "lines": [{"account": "43000001", "debit": "1"},
             {"account": "70000001", "credit": "1"}]}]})",
         "the date 02/01/2027 is outside the exercise"},
        {"typo.json",
         R"({"entries": [{"date": "2026-03-02", "lines": [{"acount": "43000001", "debit": "1"}]}]})",
         "unknown key \"acount\""},
        {"both.csv",
         "entry;date;account;debit;credit;concept;document;department\n"
         "1;2026-03-02;43000001;5;5;x;;0\n1;2026-03-02;70000001;;5;x;;0\n",
         "exactly one of debit and credit must be above zero"},
        {"entries.txt", "x", "the file must end in .json or .csv"},
    };
    for (const Case& c : cases) {
        // Nothing is written, not even the valid entries before a bad one.
        ToolRun run = kvlnmov({"post", database_, write(c.file, c.text)});
        EXPECT_EQ(run.exitCode, 2) << c.file;
        EXPECT_NE(run.err.find(c.message), std::string::npos) << c.file << ": " << run.err;
    }
    EXPECT_EQ(count("SELECT COUNT(*) FROM Asientos"), 0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Acumulados"), 0);
}

TEST_F(ToolTest, ALibraryErrorHalfWayUndoesTheWholeFile) {
    init();
    // Another application's trigger refuses lines on the bank account: the second entry fails
    // inside the library after the first one has been written.
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(database_.c_str(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw,
                           "CREATE TRIGGER refuse_bank BEFORE INSERT ON Movimientos "
                           "WHEN NEW.Cuenta = '57200001' BEGIN SELECT RAISE(ABORT, 'no'); END",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(raw);

    ToolRun run = kvlnmov({"post", database_, write("entries.json", kTwoEntries)});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find(", clsMov::Insertar)\n"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("Nothing was posted"), std::string::npos) << run.err;
    EXPECT_EQ(count("SELECT COUNT(*) FROM Asientos"), 0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Movimientos"), 0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Acumulados"), 0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Iva"), 0);
}

}  // namespace
}  // namespace kvlnmov::testing

namespace kvlnmov::testing {
namespace {

// A command that fails on a file that is not a company database leaves it exactly as it was:
// an empty file stays empty (no journal mode, no header written), a missing one is not made.
TEST_F(ToolTest, FailingCommandsNeitherCreateNorChangeAFile) {
    const std::string empty = write("empty.db", "");
    const std::string missing = (folder_ / "missing.db").string();
    const std::string entries = write("entries.json", kTwoEntries);
    const std::vector<std::vector<std::string>> commands{
        {"balance"},
        {"books"},
        {"show", "", "1"},
        {"post", "", entries},
        {"verify"},
        {"annul", "", "1"},
        {"sql", "", "SELECT COUNT(*) FROM Asientos"}};
    for (const std::string& file : {empty, missing}) {
        for (std::vector<std::string> command : commands) {
            if (command.size() == 1) {
                command.push_back(file);
            } else {
                command[1] = file;
            }
            SCOPED_TRACE(command[0] + " " + file);
            const ToolRun run = kvlnmov(command);
            EXPECT_NE(run.exitCode, 0) << run.out;
            EXPECT_EQ(std::filesystem::exists(file), file == empty);
            if (file == empty) {
                EXPECT_EQ(std::filesystem::file_size(file), 0u);
            }
            EXPECT_FALSE(std::filesystem::exists(file + "-wal"));
            EXPECT_FALSE(std::filesystem::exists(file + "-shm"));
        }
    }
}

}  // namespace
}  // namespace kvlnmov::testing
