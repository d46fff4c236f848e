// `kvlnmov sql` as a console: whole statements split at `;` and GO lines, incomplete input
// refused before anything runs, all-or-nothing transactions, regional and CSV results, and the
// interactive prompt on a terminal.

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/db/script.h"
#include "support/tool_fixture.h"

namespace kvlnmov::testing {
namespace {

// ---- The splitter the console reads its input with ----

struct SplitCase {
    const char* name;
    std::string text;
    /// The statements ended by a separator, each with the line it starts on.
    std::vector<std::pair<std::string, int>> statements;
    db::ScriptEnd end;
    std::string rest;
    int openLine;
};

const SplitCase kSplitCases[] = {
    {"one statement over two lines, no separator",
     "DELETE FROM Conceptos\n  WHERE Codigo='VTA'\n",
     {},
     db::ScriptEnd::Unseparated,
     "DELETE FROM Conceptos\n  WHERE Codigo='VTA'",
     0},
    {"semicolons, an empty statement and comments around statements",
     "-- first\nSELECT 1;;\n  SELECT 2 /* two */ ;\n-- done\n",
     {{"SELECT 1", 2}, {"SELECT 2", 3}},
     db::ScriptEnd::Separated,
     "",
     0},
    {"GO lines in any case with blanks; GO inside a line is a word",
     "SELECT 1\n go \nSELECT 'a' AS go\nGO\n\tGo\r\nSELECT 3",
     {{"SELECT 1", 1}, {"SELECT 'a' AS go", 3}},
     db::ScriptEnd::Unseparated,
     "SELECT 3",
     6},
    {"a ; or GO inside quotes, brackets and comments separates nothing",
     "SELECT 'it''s; x', [a;b], \"c;d\" -- e;f\n/* g;\nGO\n*/ FROM t;",
     {{"SELECT 'it''s; x', [a;b], \"c;d\" -- e;f\n/* g;\nGO\n*/ FROM t", 1}},
     db::ScriptEnd::Separated,
     "",
     0},
    {"a GO line inside a quoted text",
     "INSERT INTO t VALUES ('a\nGO\nb')\n",
     {},
     db::ScriptEnd::Unseparated,
     "INSERT INTO t VALUES ('a\nGO\nb')",
     0},
    {"an unclosed quote after a complete statement",
     "DELETE FROM t WHERE a = 1;\nDELETE FROM t WHERE a = 'x\n;\n",
     {{"DELETE FROM t WHERE a = 1", 1}},
     db::ScriptEnd::UnclosedQuote,
     "DELETE FROM t WHERE a = 'x\n;\n",
     2},
    {"an unclosed bracket",
     "SELECT [a;\nb FROM t;",
     {},
     db::ScriptEnd::UnclosedQuote,
     "SELECT [a;\nb FROM t;",
     1},
    {"an unclosed comment",
     "SELECT 1;\n\n/* SELECT 2;",
     {{"SELECT 1", 1}},
     db::ScriptEnd::UnclosedComment,
     "/* SELECT 2;",
     3},
    {"an unclosed parenthesis",
     "SELECT 1;\nDELETE FROM t WHERE a IN (1,\n(2)\n",
     {{"SELECT 1", 1}},
     db::ScriptEnd::UnclosedParenthesis,
     "DELETE FROM t WHERE a IN (1,\n(2)",
     2},
    {"only blanks and comments", "  -- nothing\n/* here */\n", {}, db::ScriptEnd::Separated, "", 0},
};

class SplitTest : public ::testing::TestWithParam<SplitCase> {};

TEST_P(SplitTest, SplitsAsTheTranslatorReads) {
    const SplitCase& expected = GetParam();
    const db::Script script = db::splitScript(expected.text);
    std::vector<std::pair<std::string, int>> statements;
    for (const db::ScriptStatement& statement : script.statements) {
        statements.emplace_back(statement.text, statement.line);
    }
    EXPECT_EQ(statements, expected.statements);
    EXPECT_EQ(script.end, expected.end);
    EXPECT_EQ(script.rest.text, expected.rest);
    if (expected.end == db::ScriptEnd::Unseparated) {
        EXPECT_EQ(script.rest.line, expected.openLine == 0 ? 1 : expected.openLine);
    } else {
        EXPECT_EQ(script.openLine, expected.openLine);
    }
}

INSTANTIATE_TEST_SUITE_P(Scripts, SplitTest, ::testing::ValuesIn(kSplitCases),
                         [](const ::testing::TestParamInfo<SplitCase>& info) {
                             return "Case" + std::to_string(info.index);
                         });

// ---- The tool, fed from a file as a pipe would feed it ----

class SqlConsoleTest : public ToolFixture {
  protected:
    void SetUp() override {
        ToolFixture::SetUp();
        ASSERT_EQ(kvlnmov({"init", database_}).exitCode, 0);
        auto connection = db::openConnection("Provider=SQLite;Data Source=" + database_);
        for (const char* row :
             {"('CMP', 'Compras', 1)", "('NOM', 'Nominas', 1)", "('VTA', 'Ventas', 0)"}) {
            connection->Execute(
                std::string("INSERT INTO Conceptos (Codigo, Nombre, Debe) VALUES ") + row);
        }
    }

    /// Runs `kvlnmov sql DB arguments...` with `input` as its standard input.
    ToolRun sql(const std::vector<std::string>& arguments, const std::string& input) {
        const std::string file = (folder_ / "input.sql").string();
        std::ofstream(file, std::ios::binary) << input;
        std::vector<std::string> command{"sql", database_};
        command.insert(command.end(), arguments.begin(), arguments.end());
        ToolRun run = runTool(KVLNMOV_CLI, command, (folder_ / "run").string(), file);
        EXPECT_NE(run.exitCode, -1) << "cannot start " << KVLNMOV_CLI;
        return run;
    }

    /// The first column of the first row `query` returns, as text.
    std::string value(const std::string& query) {
        auto connection = db::openConnection("Provider=SQLite;Data Source=" + database_);
        db::Recordset rows;
        rows.Open(query, connection);
        return rows.Fields(0).toText();
    }
};

struct ConsoleCase {
    const char* name;
    std::vector<std::string> arguments;
    std::string input;
    int exitCode;
    std::string out;
    std::string err;
    /// Queries on the database afterwards and the value each returns.
    std::vector<std::pair<std::string, std::string>> after;
};

const char* kCount = "SELECT COUNT(*) FROM Conceptos";
const char* kCodes =
    "SELECT ISNULL(MAX(CASE WHEN Codigo = 'CMP' THEN 'C' END), '-') + "
    "ISNULL(MAX(CASE WHEN Codigo = 'NOM' THEN 'N' END), '-') + "
    "ISNULL(MAX(CASE WHEN Codigo = 'VTA' THEN 'V' END), '-') FROM Conceptos";

const char* kDuplicate =
    "Error -2147217873 (kvlnmov SQLite provider): Violation of PRIMARY KEY constraint "
    "'PK_Conceptos'. Cannot insert duplicate key in object 'dbo.Conceptos'.\n";

const std::vector<ConsoleCase> kConsoleCases = {
    {"a DELETE over two lines deletes only its row",
     {},
     "DELETE FROM Conceptos\n  WHERE Codigo='VTA'\n",
     0,
     "(1 row affected)\n",
     "",
     {{kCount, "2"}, {kCodes, "CN-"}}},
    {"a ; inside a quoted text, a comment and a bracketed name",
     {},
     "INSERT INTO Conceptos (Codigo, Nombre) VALUES ('X1', 'it''s; fine'); -- one; two\n"
     "SELECT Nombre AS [name;x] FROM Conceptos /* ; */ WHERE Codigo = 'X1';\n",
     0,
     "(1 row affected)\n\nname;x\n----------\nit's; fine\n(1 row)\n",
     "",
     {{kCount, "4"}, {"SELECT Nombre FROM Conceptos WHERE Codigo = 'X1'", "it's; fine"}}},
    {"GO lines separate; a GO inside a quoted text does not",
     {},
     "DELETE FROM Conceptos WHERE Codigo = 'VTA'\n go \n"
     "UPDATE Conceptos SET Nombre = 'a\nGO\nb' WHERE Debe = 1\nGO\n",
     0,
     "(1 row affected)\n\n(2 rows affected)\n",
     "",
     {{kCodes, "CN-"}, {"SELECT Nombre FROM Conceptos WHERE Codigo = 'NOM'", "a\nGO\nb"}}},
    {"an unclosed quote is refused and nothing runs",
     {},
     "DELETE FROM Conceptos WHERE Codigo = 'VTA';\nDELETE FROM Conceptos WHERE Codigo = 'CMP\n",
     1,
     "",
     "kvlnmov: the input ends inside the quoted text or name opened on line 2; nothing was "
     "run.\n",
     {{kCount, "3"}}},
    {"an unclosed comment is refused and nothing runs",
     {},
     "DELETE FROM Conceptos;\n/* WHERE Codigo = 'VTA'; */\n/* the rest\n",
     1,
     "",
     "kvlnmov: the input ends inside the comment opened on line 3; nothing was run.\n",
     {{kCount, "3"}}},
    {"an unclosed parenthesis is refused and nothing runs",
     {},
     "DELETE FROM Conceptos WHERE Codigo = 'VTA';\nDELETE FROM Conceptos WHERE Codigo IN ('CMP',\n",
     1,
     "",
     "kvlnmov: the input ends with the parenthesis opened on line 2 still open; nothing was "
     "run.\n",
     {{kCount, "3"}}},
    {"input without a statement",
     {},
     "-- nothing to do\n;\nGO\n",
     1,
     "",
     "kvlnmov: the input holds no statement; nothing was run.\n",
     {{kCount, "3"}}},
    {"--transaction: the third statement fails and the books are unchanged",
     {"--transaction"},
     "DELETE FROM Conceptos WHERE Codigo = 'VTA';\nDELETE FROM Conceptos WHERE Codigo = 'CMP'\nGO\n"
     "INSERT INTO Conceptos (Codigo, Nombre)\n  VALUES ('NOM', 'again');\nDELETE FROM Conceptos;\n",
     1,
     "(1 row affected)\n\n(1 row affected)\n",
     std::string(kDuplicate) +
         "kvlnmov: statement 3 (line 4) failed: INSERT INTO Conceptos (Codigo, Nombre)\n"
         "kvlnmov: the transaction was rolled back; no statement's change was kept.\n",
     {{kCount, "3"}, {kCodes, "CNV"}}},
    {"--transaction: everything commits when nothing fails",
     {"--transaction"},
     "DELETE FROM Conceptos WHERE Codigo = 'VTA';\nUPDATE Conceptos SET Debe = 0;\n",
     0,
     "(1 row affected)\n\n(2 rows affected)\n",
     "",
     {{kCodes, "CN-"}, {"SELECT COUNT(*) FROM Conceptos WHERE Debe = 1", "0"}}},
    {"without --transaction the run stops at the failure and keeps what ran",
     {},
     "DELETE FROM Conceptos WHERE Codigo = 'VTA';\nDELETE FROM Conceptos WHERE Codigo = 'CMP'\nGO\n"
     "INSERT INTO Conceptos (Codigo, Nombre)\n  VALUES ('NOM', 'again');\nDELETE FROM Conceptos;\n",
     1,
     "(1 row affected)\n\n(1 row affected)\n",
     std::string(kDuplicate) +
         "kvlnmov: statement 3 (line 4) failed: INSERT INTO Conceptos (Codigo, Nombre)\n"
         "kvlnmov: statements 1 to 2 ran before it; their changes are kept.\n"
         "kvlnmov: statement 4 was not run.\n",
     {{kCount, "1"}, {kCodes, "-N-"}}},
    {"without --transaction a failing first statement: nothing ran",
     {},
     "INSERT INTO Conceptos (Codigo, Nombre) VALUES ('NOM', 'again');\nDELETE FROM Conceptos;\n"
     "DELETE FROM Conceptos;\n",
     1,
     "",
     std::string(kDuplicate) +
         "kvlnmov: statement 1 (line 1) failed: INSERT INTO Conceptos (Codigo, Nombre) VALUES "
         "('NOM', 'again')\n"
         "kvlnmov: no statement ran before it.\n"
         "kvlnmov: statements 2 to 3 were not run.\n",
     {{kCount, "3"}}},
    {"results in the regional form, aligned",
     {},
     "UPDATE Conceptos SET Impuestos = 7 WHERE Codigo = 'VTA';\n"
     "SELECT Codigo, Impuestos AS Tipo, CAST(Impuestos * 172.86 AS money) AS Importe,\n"
     "       CAST(Impuestos AS float) / 8 AS Parte, CAST('15/03/2026' AS datetime) AS Fecha,\n"
     "       Debe\n"
     "FROM Conceptos ORDER BY Codigo;\n"
     "SELECT CAST(1234567.5 AS float) AS Grande, CAST(0.0001 AS money) AS Minimo, NULL AS Nada\n",
     0,
     "(1 row affected)\n"
     "\n"
     "Codigo | Tipo | Importe  | Parte | Fecha      | Debe\n"
     "-------+------+----------+-------+------------+-----\n"
     "CMP    |    0 |     0,00 |     0 | 15/03/2026 | 1\n"
     "NOM    |    0 |     0,00 |     0 | 15/03/2026 | 1\n"
     "VTA    |    7 | 1.210,02 | 0,875 | 15/03/2026 | 0\n"
     "(3 rows)\n"
     "\n"
     "Grande      | Minimo | Nada\n"
     "------------+--------+-----\n"
     "1.234.567,5 | 0,0001 | NULL\n"
     "(1 row)\n",
     "",
     {{"SELECT Impuestos FROM Conceptos WHERE Codigo = 'VTA'", "7"}}},
    {"--csv: '.' decimals, ISO dates, quoted fields, NULL empty",
     {"--csv"},
     "UPDATE Conceptos SET Impuestos = 7, Nombre = 'Ventas, \"netas\"' WHERE Codigo = 'VTA';\n"
     "SELECT Codigo, Nombre, CAST(Impuestos * 172.86 AS money) AS Importe,\n"
     "       CAST('15/03/2026' AS datetime) AS Fecha, NULL AS Nada\n"
     "FROM Conceptos WHERE Codigo IN ('NOM', 'VTA') ORDER BY Codigo;\n"
     "SELECT CAST(1234567.5 AS float) AS Grande\n",
     0,
     "Codigo,Nombre,Importe,Fecha,Nada\n"
     "NOM,Nominas,0,2026-03-15,\n"
     "VTA,\"Ventas, \"\"netas\"\"\",1210.02,2026-03-15,\n"
     "\n"
     "Grande\n"
     "1234567.5\n",
     "",
     {{"SELECT Nombre FROM Conceptos WHERE Codigo = 'VTA'", "Ventas, \"netas\""}}},
    {"a STATEMENT argument still runs, and is split the same way",
     {"DELETE FROM Conceptos WHERE Codigo = 'NOM'; SELECT COUNT(*) AS n FROM Conceptos"},
     "DELETE FROM Conceptos\n",
     0,
     "(1 row affected)\n\nn\n-\n2\n(1 row)\n",
     "",
     {{kCodes, "C-V"}}},
    {"a STATEMENT argument with an unclosed quote is refused",
     {"DELETE FROM Conceptos WHERE Codigo = 'NOM"},
     "",
     1,
     "",
     "kvlnmov: the input ends inside the quoted text or name opened on line 1; nothing was "
     "run.\n",
     {{kCount, "3"}}},
    {"a failing SELECT is reported with its line",
     {},
     "SELECT COUNT(*) AS n FROM Conceptos\nGO\n\n-- next\nSELECT Nada\n  FROM NoSuchTable\n",
     1,
     "n\n-\n3\n(1 row)\n",
     "Error -2147217865 (kvlnmov SQLite provider): Invalid object name 'NoSuchTable'.\n"
     "kvlnmov: statement 2 (line 5) failed: SELECT Nada\n"
     "kvlnmov: statement 1 ran before it; its changes are kept.\n",
     {{kCount, "3"}}},
};

class SqlConsoleCases : public SqlConsoleTest, public ::testing::WithParamInterface<ConsoleCase> {};

TEST_P(SqlConsoleCases, RunsAndLeavesTheDatabaseAsExpected) {
    const ConsoleCase& expected = GetParam();
    SCOPED_TRACE(expected.name);
    const ToolRun run = sql(expected.arguments, expected.input);
    EXPECT_EQ(run.exitCode, expected.exitCode);
    EXPECT_EQ(run.out, expected.out);
    EXPECT_EQ(run.err, expected.err);
    for (const auto& [query, result] : expected.after) {
        EXPECT_EQ(value(query), result) << query;
    }
}

INSTANTIATE_TEST_SUITE_P(Inputs, SqlConsoleCases, ::testing::ValuesIn(kConsoleCases),
                         [](const ::testing::TestParamInfo<ConsoleCase>& info) {
                             return "Case" + std::to_string(info.index);
                         });

// ---- The console on a terminal ----

/// Reads what the terminal shows until `expected` has appeared after `from`; false when the
/// program ends (or stays silent for a long while) first.
bool readUntil(int terminal, std::string& shown, std::size_t from, const std::string& expected) {
    while (shown.find(expected, from) == std::string::npos) {
        pollfd ready{terminal, POLLIN, 0};
        if (poll(&ready, 1, 30000) <= 0) return false;
        char buffer[512];
        const ssize_t count = read(terminal, buffer, sizeof buffer);
        if (count <= 0) return false;
        shown.append(buffer, static_cast<std::size_t>(count));
    }
    return true;
}

/// Reads what the terminal shows until the program closes it; false when it stays silent for
/// a long while instead (the program waits for input it will never get).
bool readUntilClosed(int terminal, int silenceMs = 30000) {
    for (;;) {
        pollfd ready{terminal, POLLIN, 0};
        if (poll(&ready, 1, silenceMs) <= 0) return false;
        char buffer[512];
        if (read(terminal, buffer, sizeof buffer) <= 0) return true;
    }
}

/// Waits until the line editor has the terminal (it reads keys one by one, not lines), so that
/// keys are typed where it reads them. False when it never does.
bool waitForLineEditor(int terminal) {
    for (int tries = 0; tries < 20000; ++tries) {
        termios mode{};
        if (tcgetattr(terminal, &mode) != 0) return false;
        if ((mode.c_lflag & ICANON) == 0) return true;
        usleep(500);
    }
    return false;
}

/// Types Ctrl-D and reads until the program closes the terminal.
bool endInput(int terminal) {
    return waitForLineEditor(terminal) && write(terminal, "\x04", 1) == 1 &&
           readUntilClosed(terminal);
}

/// One thing typed at the console and what the terminal shows after it, in order.
struct TerminalStep {
    std::string keys;
    std::vector<std::string> shows;
};

struct TerminalCase {
    const char* name;
    std::vector<std::string> arguments;
    std::vector<TerminalStep> steps;
    int exitCode;
    std::vector<std::pair<std::string, std::string>> after;
};

const char* kPromptShown = "kvlnmov> ";
const char* kGoesOnShown = "    -> ";

const std::vector<TerminalCase> kTerminalCases = {
    {"a two-line statement after the prompts; a failure is numbered and the console goes on",
     {},
     {{"", {kPromptShown}},
      {"DELETE FROM Conceptos\r", {kGoesOnShown}},
      {"  WHERE Codigo = 'VTA';\r", {"(1 row affected)", kPromptShown}},
      {"SELECT Nada FROM NoSuchTable;\r",
       {"Invalid object name 'NoSuchTable'.",
        "kvlnmov: statement 2 (line 3) failed: SELECT Nada FROM NoSuchTable", kPromptShown}},
      {"SELECT COUNT(*) AS n FROM Conceptos\r", {kGoesOnShown}},
      {"GO\r", {"n\r\n-\r\n2\r\n(1 row)", kPromptShown}},
      {"\x04", {}}},
     0,
     {{kCount, "2"}, {kCodes, "CN-"}}},
    {"an unfinished statement at Ctrl-D is not run",
     {},
     {{"", {kPromptShown}},
      {"DELETE FROM Conceptos\r", {kGoesOnShown}},
      {"\x04", {"kvlnmov: the input ended inside an unfinished statement, which was not run."}}},
     1,
     {{kCount, "3"}}},
    {"--transaction: a failure rolls back what was typed before it and ends the console",
     {"--transaction"},
     {{"", {kPromptShown}},
      {"DELETE FROM Conceptos WHERE Codigo = 'VTA';\r", {"(1 row affected)", kPromptShown}},
      {"INSERT INTO Conceptos (Codigo, Nombre) VALUES ('NOM', 'again');\r",
       {"kvlnmov: statement 2 (line 2) failed: INSERT INTO Conceptos",
        "kvlnmov: the transaction was rolled back; no statement's change was kept."}}},
     1,
     {{kCount, "3"}, {kCodes, "CNV"}}},
    {"--transaction: quit commits what was typed",
     {"--transaction"},
     {{"", {kPromptShown}},
      {"DELETE FROM Conceptos WHERE Codigo = 'VTA';\r", {"(1 row affected)", kPromptShown}},
      {"quit\r", {}}},
     0,
     {{kCount, "2"}, {kCodes, "CN-"}}},
};

class SqlTerminalCases : public SqlConsoleTest,
                         public ::testing::WithParamInterface<TerminalCase> {};

TEST_P(SqlTerminalCases, TheConsoleOnATerminal) {
    const TerminalCase& expected = GetParam();
    SCOPED_TRACE(expected.name);
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    ASSERT_NE(child, -1);
    if (child == 0) {
        setenv("HOME", folder_.c_str(), 1);
        setenv("TERM", "dumb", 1);
        setenv("LANG", "C.UTF-8", 1);
        unsetenv("LC_ALL");
        unsetenv("LC_MESSAGES");
        std::vector<std::string> arguments{KVLNMOV_CLI, "sql", database_};
        arguments.insert(arguments.end(), expected.arguments.begin(), expected.arguments.end());
        std::vector<char*> argv;
        for (std::string& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        execv(KVLNMOV_CLI, argv.data());
        _exit(127);
    }
    std::string shown;
    bool ok = true;
    for (const TerminalStep& step : expected.steps) {
        const std::size_t mark = shown.size();
        if (step.keys == "\x04") {
            ok = endInput(terminal);
            EXPECT_TRUE(ok) << "the console did not end:\n" << shown;
            break;
        }
        if (!step.keys.empty()) {
            ok = waitForLineEditor(terminal) &&
                 write(terminal, step.keys.data(), step.keys.size()) ==
                     static_cast<ssize_t>(step.keys.size());
        }
        // Each piece is looked for after the one before it.
        std::size_t from = mark;
        for (const std::string& piece : step.shows) {
            ok = ok && readUntil(terminal, shown, from, piece);
            EXPECT_TRUE(ok) << "waiting for: " << piece << "\nshown:\n" << shown;
            if (ok) from = shown.find(piece, from) + piece.size();
        }
        if (!ok) break;
    }
    ok = ok && (expected.steps.back().keys == "\x04" || readUntilClosed(terminal));
    EXPECT_TRUE(ok) << "the console did not end:\n" << shown;
    if (!ok) kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    close(terminal);
    ASSERT_TRUE(ok);
    ASSERT_TRUE(WIFEXITED(status)) << status;
    EXPECT_EQ(WEXITSTATUS(status), expected.exitCode) << shown;
    for (const auto& [query, result] : expected.after) {
        EXPECT_EQ(value(query), result) << query;
    }
}

INSTANTIATE_TEST_SUITE_P(Typed, SqlTerminalCases, ::testing::ValuesIn(kTerminalCases),
                         [](const ::testing::TestParamInfo<TerminalCase>& info) {
                             return "Case" + std::to_string(info.index);
                         });

TEST_F(SqlConsoleTest, TheHistoryIsKeptInTheHomeFolder) {
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    ASSERT_NE(child, -1);
    if (child == 0) {
        setenv("HOME", folder_.c_str(), 1);
        setenv("TERM", "dumb", 1);
        setenv("LANG", "C.UTF-8", 1);
        unsetenv("LC_ALL");
        unsetenv("LC_MESSAGES");
        execl(KVLNMOV_CLI, KVLNMOV_CLI, "sql", database_.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    // Each line is typed once the prompt asks for it.
    std::string shown;
    bool ok = readUntil(terminal, shown, 0, kPromptShown);
    const std::pair<std::string, std::string> steps[] = {{"SELECT 1\r", kGoesOnShown},
                                                         {"  AS one;\r", "(1 row)\r\nkvlnmov> "}};
    for (const auto& [keys, answer] : steps) {
        const std::size_t mark = shown.size();
        ok = ok && waitForLineEditor(terminal) &&
             write(terminal, keys.data(), keys.size()) == static_cast<ssize_t>(keys.size());
        ok = ok && readUntil(terminal, shown, mark, answer);
    }
    ok = ok && endInput(terminal);
    if (!ok) kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    close(terminal);
    ASSERT_TRUE(ok) << shown;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    // libedit keeps one line per entry, blanks written as \040.
    const std::string history = fileContents((folder_ / ".kvlnmov_history").string());
    EXPECT_NE(history.find("\nSELECT\\0401\n\\040\\040AS\\040one;\n"), std::string::npos)
        << history;
}

}  // namespace
}  // namespace kvlnmov::testing
