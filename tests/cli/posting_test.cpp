// kvlnmov post run as a user runs it: what a posting file may hold, what is refused before
// anything is written, and the rows each file leaves in the company database.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "support/tool_fixture.h"

namespace kvlnmov::testing {
namespace {

/// The rows a posting leaves: entries, lines, VAT book records and their rate lines, the sums of
/// the lines' debits and of the book's bases and taxes, and the first entry's date.
struct Books {
    int entries = 0;
    int lines = 0;
    int invoices = 0;
    int rates = 0;
    std::string debits = "0";
    std::string bases = "0";
    std::string taxes = "0";
    std::string firstDay = "";
    bool operator==(const Books&) const = default;
};

void PrintTo(const Books& books, std::ostream* out) {
    *out << books.entries << " entries, " << books.lines << " lines, " << books.invoices
         << " invoices, " << books.rates << " rates, debits " << books.debits << ", bases "
         << books.bases << ", taxes " << books.taxes << ", first day " << books.firstDay;
}

class PostingTest : public ToolFixture {
  protected:
    std::string write(const std::string& name, const std::string& text) {
        std::string file = (folder_ / name).string();
        std::ofstream(file, std::ios::binary) << text;
        return file;
    }

    std::string value(const std::string& query) {
        auto connection = db::openConnection("Provider=SQLite;Data Source=" + database_);
        db::Recordset rows;
        rows.Open(query, connection);
        if (rows.Fields(0).isNull()) return "0";
        return rows.Fields(0).toCurrency().toString();
    }

    Books books() {
        return {std::stoi(value("SELECT COUNT(*) FROM Asientos")),
                std::stoi(value("SELECT COUNT(*) FROM Movimientos")),
                std::stoi(value("SELECT COUNT(*) FROM Iva")),
                std::stoi(value("SELECT COUNT(*) FROM Iva_Lineas")),
                value("SELECT SUM(Debe) FROM Movimientos"),
                value("SELECT SUM(Base) FROM Iva_Lineas"),
                value("SELECT SUM(Cuota) FROM Iva_Lineas"),
                firstDay()};
    }

    std::string firstDay() {
        auto connection = db::openConnection("Provider=SQLite;Data Source=" + database_);
        db::Recordset rows;
        rows.Open("SELECT MIN(Fecha) FROM Asientos", connection);
        return rows.Fields(0).isNull() ? "" : rows.Fields(0).toDate().toIso();
    }

    void init() { ASSERT_EQ(kvlnmov({"init", database_}).exitCode, 0); }

    /// Runs a statement on the database file directly, as another application would.
    void execute(const std::string& statement) {
        sqlite3* raw = nullptr;
        ASSERT_EQ(sqlite3_open(database_.c_str(), &raw), SQLITE_OK);
        char* error = nullptr;
        int result = sqlite3_exec(raw, statement.c_str(), nullptr, nullptr, &error);
        std::string message = error ? error : "";
        sqlite3_free(error);
        sqlite3_close(raw);
        ASSERT_EQ(result, SQLITE_OK) << message;
    }

    void chart(const std::vector<std::string>& accounts) {
        for (const std::string& account : accounts) {
            execute(
                "INSERT INTO Cuentas (Cod_Empresa, Cod_Ejercicio, Cuenta, Nombre) VALUES (1, "
                "2026, '" +
                account + "', 'Cuenta " + account + "')");
        }
    }

    /// Runs `kvlnmov post` with its standard error on a terminal, as a person at a terminal
    /// sees it; returns what the terminal received.
    std::string postOnTerminal(const std::string& file, int& exitCode) {
        int terminal = -1;
        int side = -1;
        EXPECT_EQ(openpty(&terminal, &side, nullptr, nullptr, nullptr), 0);
        std::string out = (folder_ / "terminal.out").string();
        std::vector<std::string> arguments{KVLNMOV_CLI, "post", database_, file};
        std::vector<char*> argv;
        for (std::string& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                         0600);
        posix_spawn_file_actions_adddup2(&files, side, 2);
        posix_spawn_file_actions_addclose(&files, side);
        posix_spawn_file_actions_addclose(&files, terminal);
        pid_t child = 0;
        int spawned = posix_spawn(&child, KVLNMOV_CLI, &files, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&files);
        close(side);
        std::string screen;
        if (spawned == 0) {
            char buffer[4096];
            // Read until the tool has closed the terminal (read fails once it has exited).
            for (ssize_t got; (got = read(terminal, buffer, sizeof buffer)) > 0;) {
                screen.append(buffer, static_cast<std::size_t>(got));
            }
            int status = 0;
            waitpid(child, &status, 0);
            exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        close(terminal);
        return screen;
    }
};

const std::string kHeader = "entry;date;account;debit;credit;concept;document;department\n";

/// A JSON file of one entry of two lines, `amount` on both sides, `extra` added to the first
/// line's keys.
std::string oneEntry(const std::string& reference, const std::string& amount,
                     const std::string& extra = "") {
    return R"({"entries": [{"date": "2026-03-02", "reference": ")" + reference +
           R"(", "lines": [{"account": "43000001", "debit": )" + amount + extra +
           R"(}, {"account": "70000001", "credit": )" + amount + "}]}]}";
}

/// A JSON file of one issued invoice: 43000001 against 70000001 and 47700021, with the given
/// base, rate and tax (as JSON values) and the withholding object if any.
std::string invoice(const std::string& base, int rate, const std::string& tax,
                    const std::string& total, const std::string& withholding = "") {
    return R"({"entries": [{"date": "2026-03-02", "reference": "A-1", "lines": [
        {"account": "43000001", "debit": )" +
           total + R"(},
        {"account": "70000001", "credit": )" +
           base + R"(},
        {"account": "47700021", "credit": )" +
           tax + R"(}],
      "invoice": {"book": "issued", "tax": "IVA", "account": "43000001", "name": "Cliente",
                  "nif": "B1", "document": "A-1",
                  "rates": [{"base": )" +
           base + R"(, "rate": )" + std::to_string(rate) + R"(, "tax": )" + tax + "}]" +
           withholding + "}}]}";
}

struct Case {
    const char* name;
    std::string file;
    std::string text;
    std::vector<std::string> options;
    /// Accounts put in the company's chart first; none leaves it empty.
    std::vector<std::string> chart;
    int exitCode;
    /// A piece of standard output (exit code 0) or of standard error.
    std::string message;
    Books left;
};

const Books kNothing{};

TEST_F(PostingTest, EachFileIsPostedOrRefusedWhole) {
    const std::string sixty(60, 'x');
    std::string accented;
    for (int i = 0; i < 60; ++i) accented += "\xC3\xB1";  // 60 letters, 120 bytes
    const Case cases[] = {
        {"three decimals in a text",
         "a.json",
         oneEntry("R1", "\"12.505\""),
         {},
         {},
         2,
         "entry 1, line 1: the amount '12.505' has 3 decimals; amounts are written in cents",
         kNothing},
        {"five decimals in a JSON number",
         "a.json",
         oneEntry("R1", "1.00005"),
         {},
         {},
         2,
         "entry 1, line 1: the amount '1.00005' has 5 decimals",
         kNothing},
        {"seventeen digits a double would round",
         "a.json",
         oneEntry("R1", "100000000000000.015"),
         {},
         {},
         2,
         "the amount '100000000000000.015' has 3 decimals",
         kNothing},
        {"two decimals as a JSON number",
         "a.json",
         oneEntry("R1", "12.5"),
         {},
         {},
         0,
         "Posted 1 entry (2 lines, 0 tax book records, 0 forecasts): entry 1.",
         {1, 2, 0, 0, "12.5", "0", "0", "2026-03-02"}},
        {"three decimals in a CSV line",
         "a.csv",
         kHeader + "R1;2026-03-02;43000001;12.505;;x;;0\nR1;2026-03-02;70000001;;12.505;x;;0\n",
         {"--decimal", "."},
         {},
         2,
         "a.csv, line 2: the amount '12.505' has 3 decimals",
         kNothing},
        {"four decimals, which no thousands separator explains",
         "a.csv",
         kHeader + "R1;2026-03-02;43000001;1;;x;;0\nR1;2026-03-02;70000001;;1,0001;x;;0\n",
         {},
         {},
         2,
         "a.csv, line 3: the amount '1,0001' has 4 decimals",
         kNothing},
        {"three decimals in a rate line",
         "a.json",
         R"({"entries": [{"date": "2026-03-02", "reference": "A-1", "lines": [
             {"account": "43000001", "debit": 1210}, {"account": "70000001", "credit": 1000},
             {"account": "47700021", "credit": 210}],
           "invoice": {"book": "issued", "tax": "IVA", "account": "43000001",
             "rates": [{"base": "1000.001", "rate": 21, "tax": 210}]}}]})",
         {},
         {},
         2,
         "entry 1, invoice, rate line 1: the amount '1000.001' has 3 decimals",
         kNothing},
        {"a tax that is not the rate of the base",
         "a.json",
         invoice("1000", 21, "999", "1999"),
         {},
         {},
         2,
         "entry 1, invoice, rate line 1: the tax 999,00 is not 21% of the base 1.000,00, "
         "which is 210,00",
         kNothing},
        {"a tax one cent off",
         "a.json",
         invoice("1000", 21, "210.01", "1210.01"),
         {},
         {},
         0,
         "Posted 1 entry (3 lines, 1 tax book record, 0 forecasts): entry 1.",
         {1, 3, 1, 1, "1210.01", "1000", "210.01", "2026-03-02"}},
        {"a tax two cents off",
         "a.json",
         invoice("1000", 21, "210.02", "1210.02"),
         {},
         {},
         2,
         "the tax 210,02 is not 21% of the base 1.000,00",
         kNothing},
        {"a withholding that is not its rate of the base",
         "a.json",
         invoice("1000", 21, "210", "1210",
                 R"(, "withholding": {"rate": 15, "account": "47510001", "base": 1000,
                     "amount": 140, "total": 1070})"),
         {},
         {},
         2,
         "entry 1, invoice, withholding: the withholding 140,00 is not 15% of the base "
         "1.000,00, which is 150,00",
         kNothing},
        {"an entry without reference",
         "a.json",
         oneEntry("", "1"),
         {},
         {},
         2,
         "a.json, entry 1: the entry has no reference; every entry needs one",
         kNothing},
        {"a reference twice in the file",
         "a.json",
         R"({"entries": [{"date": "2026-03-02", "reference": "A-1", "lines": [
             {"account": "43000001", "debit": 1}, {"account": "70000001", "credit": 1}]},
           {"date": "2026-03-03", "reference": "a-1 ", "lines": [
             {"account": "43000001", "debit": 1}, {"account": "70000001", "credit": 1}]}]})",
         {},
         {},
         2,
         "entry 2: the reference a-1  is also that of entry 1",
         kNothing},
        {"a CSV entry whose key comes back",
         "a.csv",
         kHeader + "A;2026-03-02;43000001;1;;x;;0\nA;2026-03-02;70000001;;1;x;;0\n"
                   "B;2026-03-02;43000001;1;;x;;0\nB;2026-03-02;70000001;;1;x;;0\n"
                   "A;2026-03-02;43000001;1;;x;;0\nA;2026-03-02;70000001;;1;x;;0\n",
         {},
         {},
         2,
         "line 6: the entry A appears again after other entries",
         kNothing},
        {"a concept of 61 characters",
         "a.json",
         oneEntry("R1", "1", R"(, "concept": ")" + sixty + "y\""),
         {},
         {},
         2,
         "entry 1, line 1: the concept has 61 characters and the column Movimientos.Concepto "
         "holds 60",
         kNothing},
        {"a concept of 60 accented letters",
         "a.json",
         oneEntry("R1", "1", R"(, "concept": ")" + accented + "\""),
         {},
         {},
         0,
         "Posted 1 entry",
         {1, 2, 0, 0, "1", "0", "0", "2026-03-02"}},
        {"a reference of 51 characters",
         "a.json",
         oneEntry(std::string(51, 'r'), "1"),
         {},
         {},
         2,
         "the reference has 51 characters and the column Asientos.CodigoExterno holds 50",
         kNothing},
        {"a document of 51 characters in a CSV line",
         "a.csv",
         kHeader + "R1;2026-03-02;43000001;1;;x;" + std::string(51, 'd') +
             ";0\nR1;2026-03-02;70000001;;1;x;;0\n",
         {},
         {},
         2,
         "line 2: the document has 51 characters and the column "
         "Movimientos.Documento holds 50",
         kNothing},
        {"an account missing from the chart",
         "a.json",
         oneEntry("R1", "1"),
         {},
         {"43000001", "57200001"},
         2,
         "entry 1, line 2: the account 70000001 is not in the company's chart of accounts",
         kNothing},
        {"an account missing from the chart, named by its CSV line",
         "a.csv",
         kHeader + "R1;2026-03-02;43000001;1;;x;;0\nR1;2026-03-02;70000002;;1;x;;0\n",
         {},
         {"43000001", "70000001"},
         2,
         "line 3: the account 70000002 is not in the company's chart of accounts",
         kNothing},
        {"accounts of the chart",
         "a.json",
         oneEntry("R1", "1"),
         {},
         {"43000001", "70000001"},
         0,
         "Posted 1 entry",
         {1, 2, 0, 0, "1", "0", "0", "2026-03-02"}},
        {"a spreadsheet's CSV: byte order mark, decimal comma, Spanish dates",
         "a.csv",
         "\xEF\xBB\xBF" + kHeader +
             "F-7;07/03/2026;62600001;12,50;;Comisión;EXT;3\r\n"
             "F-7;07/03/2026;57200001;;12,50;Comisión;EXT;3\r\n",
         {"--date-format", "dmy"},
         {},
         0,
         "Posted 1 entry (2 lines, 0 tax book records, 0 forecasts): entry 1.",
         {1, 2, 0, 0, "12.5", "0", "0", "2026-03-07"}},
        {"thousands separators with --decimal ','",
         "a.csv",
         kHeader + "R1;2026-03-02;43000001;1.210,50;;x;;0\nR1;2026-03-02;70000001;;1210,5;x;;0\n",
         {"--decimal", ","},
         {},
         0,
         "Posted 1 entry",
         {1, 2, 0, 0, "1210.5", "0", "0", "2026-03-02"}},
        {"comma-separated fields and thousands in both forms",
         "a.csv",
         "entry,date,account,debit,credit,concept,document,department\n"
         "R1,2026-03-02,43000001,\"1,210.50\",,x,,0\nR1,2026-03-02,70000001,,\"1.210,50\",x,,0\n",
         {"--delimiter", ","},
         {},
         0,
         "Posted 1 entry",
         {1, 2, 0, 0, "1210.5", "0", "0", "2026-03-02"}},
        {"an amount that reads both ways",
         "a.csv",
         kHeader + "R1;2026-03-02;43000001;1.210;;x;;0\nR1;2026-03-02;70000001;;1.210;x;;0\n",
         {},
         {},
         2,
         "line 2: the amount '1.210' could be read with either decimal mark; say which one "
         "with --decimal ',' or --decimal '.'",
         kNothing},
        {"a decimal point where a comma was announced",
         "a.csv",
         kHeader + "R1;2026-03-02;43000001;12.50;;x;;0\nR1;2026-03-02;70000001;;12.50;x;;0\n",
         {"--decimal", ","},
         {},
         2,
         "line 2: the amount '12.50' does not read with ',' as decimal mark: '.' may only "
         "separate groups of three digits",
         kNothing},
        {"a Spanish date without --date-format",
         "a.csv",
         kHeader + "R1;07/03/2026;43000001;1;;x;;0\nR1;07/03/2026;70000001;;1;x;;0\n",
         {},
         {},
         2,
         "line 2: the date must be YYYY-MM-DD: '07/03/2026' (for dd/mm/yyyy dates in a CSV "
         "file use --date-format dmy)",
         kNothing},
        {"a date that does not exist",
         "a.csv",
         kHeader + "R1;31/02/2026;43000001;1;;x;;0\nR1;31/02/2026;70000001;;1;x;;0\n",
         {"--date-format", "dmy"},
         {},
         2,
         "line 2: the date must be dd/mm/yyyy",
         kNothing},
        {"a comma-separated file read with ';'",
         "a.csv",
         "entry,date,account,debit,credit,concept,document,department\n",
         {},
         {},
         2,
         "the fields are separated by ','; say so with --delimiter ','",
         kNothing},
        {"a CSV option for a JSON file",
         "a.json",
         oneEntry("R1", "1"),
         {"--decimal", ","},
         {},
         2,
         "--decimal applies to CSV files only",
         kNothing},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove(database_);
        init();
        chart(c.chart);
        std::vector<std::string> arguments{"post", database_, write(c.file, c.text)};
        arguments.insert(arguments.end(), c.options.begin(), c.options.end());
        ToolRun run = kvlnmov(arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.out << run.err;
        const std::string& shown = c.exitCode == 0 ? run.out : run.err;
        EXPECT_NE(shown.find(c.message), std::string::npos) << shown;
        EXPECT_EQ(books(), c.left);
    }
}

const char* kTwoEntries = R"({"entries": [
  {"date": "2026-03-02", "reference": "A-1", "lines": [
     {"account": "43000001", "debit": "1210", "concept": "Factura A-1", "document": "A-1"},
     {"account": "70000001", "credit": "1000", "concept": "Factura A-1", "document": "A-1"},
     {"account": "47700021", "credit": "210", "concept": "IVA", "document": "A-1"}],
   "invoice": {"book": "issued", "tax": "IVA", "account": "43000001", "name": "Cliente", "nif": "B1",
               "document": "A-1", "rates": [{"base": "1000", "rate": 21, "tax": "210"}],
               "due": [{"date": "2026-04-01", "amount": "1210"}]}},
  {"date": "2026-03-20", "reference": "C-1", "lines": [
     {"account": "57200001", "debit": "1210", "concept": "Cobro A-1"},
     {"account": "43000001", "credit": "1210", "concept": "Cobro A-1"}]}]})";

TEST_F(PostingTest, AFilePostedTwiceChangesNothingTheSecondTime) {
    init();
    const std::string file = write("entries.json", kTwoEntries);
    ToolRun first = kvlnmov({"post", database_, file});
    ASSERT_EQ(first.exitCode, 0) << first.err;
    EXPECT_EQ(first.out,
              "Posted 2 entries (5 lines, 1 tax book record, 1 forecast): entries 1 to 2.\n");
    const Books after{2, 5, 1, 1, "2420", "1000", "210", "2026-03-02"};
    EXPECT_EQ(books(), after);

    ToolRun again = kvlnmov({"post", database_, file});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(again.out, "");
    EXPECT_EQ(again.err,
              "Nothing was posted: the reference A-1 (entry 1) is already in the books, as "
              "entry 1; 2 of the file's 2 references are.\n");
    EXPECT_EQ(books(), after);

    // One new entry beside an old one: still nothing, and the sentence names the old one.
    ToolRun mixed =
        kvlnmov({"post", database_,
                 write("mixed.json",
                       R"({"entries": [{"date": "2026-03-25", "reference": "N-1", "lines": [
                   {"account": "62600001", "debit": 5}, {"account": "57200001", "credit": 5}]},
                 {"date": "2026-03-20", "reference": "c-1", "lines": [
                   {"account": "57200001", "debit": 5}, {"account": "43000001", "credit": 5}]}]})")});
    EXPECT_EQ(mixed.exitCode, 1);
    EXPECT_EQ(mixed.err,
              "Nothing was posted: the reference c-1 (entry 2) is already in the books, as "
              "entry 2.\n");
    EXPECT_EQ(books(), after);
    EXPECT_EQ(value("SELECT COUNT(*) FROM Previsiones_Cobro"), "1");
}

TEST_F(PostingTest, TheReferenceOfAnAnnulledEntryMayBePostedAgain) {
    init();
    ASSERT_EQ(kvlnmov({"post", database_, write("entries.json", kTwoEntries)}).exitCode, 0);
    // Entry 1 is not the last one: its header stays, marked annulled.
    ToolRun annul = kvlnmov({"annul", database_, "1"});
    ASSERT_EQ(annul.exitCode, 0) << annul.err;
    ASSERT_EQ(value("SELECT COUNT(*) FROM Asientos WHERE Nulo = 1 AND CodigoExterno = 'A-1'"), "1");
    ToolRun again = kvlnmov(
        {"post", database_,
         write("again.json", R"({"entries": [{"date": "2026-03-02", "reference": "A-1", "lines": [
             {"account": "43000001", "debit": 1200}, {"account": "70000001", "credit": 1200}]}]})")});
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(again.out, "Posted 1 entry (2 lines, 0 tax book records, 0 forecasts): entry 3.\n");
    EXPECT_EQ(value("SELECT COUNT(*) FROM Asientos WHERE CodigoExterno = 'A-1'"), "2");
}

TEST_F(PostingTest, ALongFileShowsItsProgressOnATerminalOnly) {
    init();
    // 1,001 entries of two lines: over the 2,000 lines that show a bar.
    std::string text = kHeader;
    for (int i = 1; i <= 1001; ++i) {
        std::string key = "R" + std::to_string(i);
        text += key + ";2026-03-02;43000001;1;;x;;0\n" + key + ";2026-03-02;70000001;;1;x;;0\n";
    }
    const std::string file = write("long.csv", text);
    int exitCode = -1;
    std::string screen = postOnTerminal(file, exitCode);
    EXPECT_EQ(exitCode, 0);
    EXPECT_NE(screen.find("Posting [###############---------------] 50% (1.002 of 2.002 lines)"),
              std::string::npos)
        << screen;
    EXPECT_NE(screen.find("Posting [##############################] 100% (2.002 of 2.002 lines)"),
              std::string::npos)
        << screen;
    EXPECT_EQ(fileContents((folder_ / "terminal.out").string()),
              "Posted 1.001 entries (2.002 lines, 0 tax book records, 0 forecasts): entries 1 "
              "to 1001.\n");

    // Redirected, the error output holds no bar.
    std::filesystem::remove(database_);
    init();
    ToolRun run = kvlnmov({"post", database_, file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(books(), (Books{1001, 2002, 0, 0, "1001", "0", "0", "2026-03-02"}));
}

}  // namespace
}  // namespace kvlnmov::testing
