// The chart of accounts: accounts fitted to a company's levels, chart files read, charts
// imported in one transaction, and the `accounts` commands of the kvlnmov tool run as a user
// runs them.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "chart_file.h"
#include "commands.h"
#include "kvlnmov/db/open.h"
#include "support/company_fixture.h"
#include "support/rows.h"
#include "support/tool_fixture.h"

namespace kvlnmov::testing {
namespace {

using cli::ChartLine;
using cli::PlacedChart;

// --- Account lengths ------------------------------------------------------------------------

struct ResizeCase {
    const char* account;
    std::size_t prefix;
    std::size_t length;
    std::optional<std::string> expected;
};

class ResizeAccount : public ::testing::TestWithParam<ResizeCase> {};

TEST_P(ResizeAccount, InsertsOrRemovesZerosAfterThePrefix) {
    const ResizeCase& c = GetParam();
    EXPECT_EQ(cli::resizeAccount(c.account, c.prefix, c.length), c.expected)
        << c.account << " prefix " << c.prefix << " length " << c.length;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ResizeAccount,
    ::testing::Values(
        ResizeCase{"4300000001", 4, 8, "43000001"}, ResizeCase{"43000001", 4, 10, "4300000001"},
        ResizeCase{"4300000001", 4, 10, "4300000001"}, ResizeCase{"4300000123", 4, 7, "4300123"},
        ResizeCase{"4301", 3, 8, "43000001"}, ResizeCase{"7620100000", 5, 8, "76201000"},
        ResizeCase{"57200001", 4, 12, "572000000001"}, ResizeCase{"5", 0, 4, "0005"},
        ResizeCase{"00001234", 0, 4, "1234"}, ResizeCase{"4300100001", 4, 8, std::nullopt},
        ResizeCase{"4300000123", 4, 6, std::nullopt}, ResizeCase{"12345678", 0, 4, std::nullopt},
        ResizeCase{"4300000001", 4, 4, std::nullopt}, ResizeCase{"430", 3, 8, std::nullopt}));

// --- Fitting a chart to the levels ----------------------------------------------------------

std::vector<ChartLine> chartLines(const std::vector<std::string>& accounts) {
    std::vector<ChartLine> lines;
    for (std::size_t i = 0; i < accounts.size(); ++i)
        lines.push_back({i + 2, accounts[i], "Cuenta " + accounts[i], ""});
    return lines;
}

struct PlaceCase {
    const char* title;
    std::vector<int> levels;
    std::vector<std::string> accounts;
    /// "account:level" of every account placed, in the file's order.
    std::vector<std::string> placed;
    std::vector<std::string> leftOut;
    std::size_t summary = 0;
    std::size_t posting = 0;
    std::string error;  ///< the refusal, when the chart does not fit
};

class PlaceChart : public ::testing::TestWithParam<PlaceCase> {};

TEST_P(PlaceChart, FitsAccountsToTheLevels) {
    const PlaceCase& c = GetParam();
    if (!c.error.empty()) {
        try {
            cli::placeChart(chartLines(c.accounts), c.levels, "chart.csv");
            ADD_FAILURE() << "not refused";
        } catch (const cli::UsageError& error) {
            EXPECT_EQ(error.message, c.error);
        }
        return;
    }
    const PlacedChart chart = cli::placeChart(chartLines(c.accounts), c.levels, "chart.csv");
    std::vector<std::string> placed;
    for (const auto& account : chart.accounts) {
        placed.push_back(account.account + ":" + std::to_string(account.level));
        EXPECT_EQ(account.name, "Cuenta " + c.accounts[account.line - 2]);
    }
    std::vector<std::string> leftOut;
    for (const ChartLine& line : chart.leftOut) leftOut.push_back(line.account);
    EXPECT_EQ(placed, c.placed);
    EXPECT_EQ(leftOut, c.leftOut);
    EXPECT_EQ(chart.summary, c.summary);
    EXPECT_EQ(chart.posting, c.posting);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, PlaceChart,
    ::testing::Values(
        PlaceCase{"ShortensPostingAccounts",
                  {1, 2, 3, 4, 8},
                  {"4", "43", "430", "4300", "4300000001", "4300000012"},
                  {"4:1", "43:2", "430:3", "4300:4", "43000001:5", "43000012:5"},
                  {},
                  4,
                  2,
                  ""},
        PlaceCase{"LengthensPostingAccounts",
                  {1, 2, 3, 4, 10},
                  {"4300", "43000001", "572", "5720001"},
                  {"4300:4", "4300000001:5", "572:3", "5720000001:5"},
                  {},
                  2,
                  2,
                  ""},
        PlaceCase{"LeavesOutSummariesOfNoLevelAndKeepsTheirPrefix",
                  {1, 2, 3, 4, 8},
                  {"7620", "76200", "76201", "7620000000", "7620100000", "7621"},
                  {"7620:4", "76200000:5", "76201000:5", "7621:4"},
                  {"76200", "76201"},
                  2,
                  2,
                  ""},
        PlaceCase{"KeepsFiveDigitSummariesWhenALevelHasThem",
                  {1, 2, 3, 4, 5, 10},
                  {"7620", "76200", "7620000000", "7620000001"},
                  {"7620:4", "76200:5", "7620000000:6", "7620000001:6"},
                  {},
                  2,
                  2,
                  ""},
        PlaceCase{"LeavesOutAShortSummaryOfNoLevel",
                  {1, 3, 8},
                  {"4", "43", "430", "43000001", "4300000002"},
                  {"4:1", "430:2", "43000001:3", "43000002:3"},
                  {"43"},
                  2,
                  2,
                  ""},
        PlaceCase{"RefusesToLoseADigit",
                  {1, 2, 3, 4, 8},
                  {"430", "4300", "4300000001", "4300100001"},
                  {},
                  {},
                  0,
                  0,
                  "chart.csv, line 5: the account 4300100001 cannot have the company's 8 digits: "
                  "after its prefix 4300 it would lose a digit other than zero."},
        PlaceCase{"RefusesTwoAccountsThatBecomeOne",
                  {1, 2, 3, 4, 8},
                  {"4300", "43000001", "4300000001"},
                  {},
                  {},
                  0,
                  0,
                  "chart.csv, line 4: the account 4300000001 becomes 43000001, as the account "
                  "43000001 on line 3 does."}),
    [](const ::testing::TestParamInfo<PlaceCase>& info) { return info.param.title; });

// --- Reading chart files --------------------------------------------------------------------

const std::string kHeader = "\"cuenta\";\"descripcion\";\"cuentaesp\"\n";

struct ReadCase {
    const char* title;
    std::string text;
    /// "line|account|name|tag" of every account read.
    std::vector<std::string> lines;
    std::string error;
};

class ReadChart : public ::testing::TestWithParam<ReadCase> {};

TEST_P(ReadChart, ReadsEveryAccountOrRefusesTheLine) {
    const ReadCase& c = GetParam();
    std::istringstream input(c.text);
    if (!c.error.empty()) {
        try {
            cli::readChart(input, "plan.csv");
            ADD_FAILURE() << "not refused";
        } catch (const cli::UsageError& error) {
            EXPECT_EQ(error.message, c.error);
        }
        return;
    }
    std::vector<std::string> read;
    for (const ChartLine& line : cli::readChart(input, "plan.csv")) {
        read.push_back(std::to_string(line.line) + "|" + line.account + "|" + line.name + "|" +
                       line.tag);
    }
    EXPECT_EQ(read, c.lines);
}

const std::string kLongName = "Cuenta de nombre largo " + std::string(127, 'x');

INSTANTIATE_TEST_SUITE_P(
    Cases, ReadChart,
    ::testing::Values(
        ReadCase{"WithoutBom",
                 kHeader + "\"4\";\"Acreedores\";\"\"\n\"430\";\"Clientes\";\"CLIENT\"\n",
                 {"2|4|Acreedores|", "3|430|Clientes|CLIENT"},
                 ""},
        ReadCase{"WithBomAndCrLf",
                 "\xEF\xBB\xBF\"cuenta\";\"descripcion\";\"cuentaesp\"\r\n\"4\";\"Acreedores y "
                 "deudores\";\"\"\r\n\r\n\"572\";\"Bancos\";\"BANCO\"\r\n",
                 {"2|4|Acreedores y deudores|", "4|572|Bancos|BANCO"},
                 ""},
        ReadCase{"QuotesAndSemicolonsInNames",
                 kHeader + "\"609\";\"\"\"Rappels\"\" por compras; otros\";\"\"\n"
                           "6090;Sin comillas;\n",
                 {"2|609|\"Rappels\" por compras; otros|", "3|6090|Sin comillas|"},
                 ""},
        ReadCase{"AQuotedNameOverTwoLines",
                 kHeader + "\"1\";\"Financiación\nbásica\";\"\"\n\"10\";\"Capital\";\"\"\n",
                 {"2|1|Financiación\nbásica|", "4|10|Capital|"},
                 ""},
        ReadCase{"ALongNameKeptWhole",
                 kHeader + "\"4300\";\"" + kLongName + "\";\"\"\n",
                 {"2|4300|" + kLongName + "|"},
                 ""},
        ReadCase{"EmptyFile", "", {}, "plan.csv: the file is empty."},
        ReadCase{"WrongHeader",
                 "cuenta;nombre;tipo\n\"4\";\"A\";\"\"\n",
                 {},
                 "plan.csv, line 1: the header must be \"cuenta\";\"descripcion\";\"cuentaesp\"."},
        ReadCase{"TwoFields",
                 kHeader + "\"4\";\"A\";\"\"\n\"43\";\"B\"\n",
                 {},
                 "plan.csv, line 3: expected 3 fields (account, name, tag), found 2."},
        ReadCase{"LettersInTheAccount",
                 kHeader + "\"4\";\"A\";\"\"\n\"43A\";\"B\";\"\"\n",
                 {},
                 "plan.csv, line 3: the account '43A' must be digits only."},
        ReadCase{"NoName",
                 kHeader + "\"4\";\"\";\"\"\n",
                 {},
                 "plan.csv, line 2: the account 4 has no name."},
        ReadCase{"NameTooLong",
                 kHeader + "\"4\";\"" + std::string(256, 'n') + "\";\"\"\n",
                 {},
                 "plan.csv, line 2: the name of account 4 is longer than 255 characters."},
        ReadCase{"TagTooLong",
                 kHeader + "\"4\";\"A\";\"DEMASIADOLARGA\"\n",
                 {},
                 "plan.csv, line 2: the tag of account 4 is longer than 10 characters."},
        ReadCase{"TwiceTheSameAccount",
                 kHeader + "\"4\";\"A\";\"\"\n\"43\";\"B\";\"\"\n\"4\";\"C\";\"\"\n",
                 {},
                 "plan.csv, line 4: the account 4 is already on line 2."},
        ReadCase{"Latin1",
                 kHeader + "\"4\";\"A\";\"\"\n\"1\";\"Financiaci\xF3n\";\"\"\n",
                 {},
                 "plan.csv, line 3: the text is not UTF-8."},
        ReadCase{"QuoteNeverClosed",
                 kHeader + "\"4\";\"A\";\"\"\n\"1\";\"Financiación;\"\"\n",
                 {},
                 "plan.csv, line 3: a quoted field is never closed."},
        ReadCase{"TextAfterAClosingQuote",
                 kHeader + "\"4\";\"A\"x;\"\"\n",
                 {},
                 "plan.csv, line 2: the line is not valid CSV (error parsing data while strict "
                 "checking enabled)."}),
    [](const ::testing::TestParamInfo<ReadCase>& info) { return info.param.title; });

// --- The tool -------------------------------------------------------------------------------

class AccountsTool : public ToolFixture {
  protected:
    std::string write(const std::string& name, const std::string& text) {
        std::string file = (folder_ / name).string();
        std::ofstream(file, std::ios::binary) << text;
        return file;
    }

    db::ConnectionRef open() {
        return db::openConnection("Provider=SQLite;Data Source=" + database_);
    }

    TextRows rows(const std::string& query) {
        TextRows text;
        for (const auto& row : queryRows(open(), query)) {
            std::vector<std::string> cells;
            for (const Variant& value : row)
                cells.push_back(value.isNull() ? "NULL" : value.toText());
            text.push_back(std::move(cells));
        }
        return text;
    }

    std::int32_t count(const std::string& query) { return queryRows(open(), query)[0][0].toLong(); }

    void init(const std::string& levels = "1,2,3,4,8") {
        ToolRun run = kvlnmov({"init", database_, "--levels", levels});
        ASSERT_EQ(run.exitCode, 0) << run.err;
    }
};

// A small chart as a user writes it: a byte order mark, a name with a semicolon and quotes,
// one of 150 characters, ten-digit subaccounts.
const std::string kLongName150 = "Clientes " + std::string(141, 'z');
const std::string kSmallChart = "\xEF\xBB\xBF" + kHeader +
                                "\"4\";\"Acreedores y deudores\";\"\"\n"
                                "\"43\";\"Clientes; \"\"grupo\"\"\";\"\"\n"
                                "\"430\";\"Clientes\";\"CLIENT\"\n"
                                "\"4300\";\"" +
                                kLongName150 +
                                "\";\"\"\n"
                                "\"4300000001\";\"Hostelería del Puerto\";\"\"\n"
                                "\"4300000002\";\"Comercial Rivera\";\"\"\n";

TEST_F(AccountsTool, ImportsAChartWrittenByTheUser) {
    init();
    ToolRun run = kvlnmov({"accounts", "import", database_, write("plan.csv", kSmallChart)});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "Imported 6 accounts (4 summary, 2 posting) into company 1, exercise 2026.\n");
    EXPECT_EQ(run.err, "");  // no progress bar when standard error is not a terminal
    EXPECT_EQ(rows("SELECT Cod_Empresa, Cod_Ejercicio, Cuenta, Nombre, Especial FROM Cuentas "
                   "ORDER BY Cuenta"),
              (TextRows{{"1", "2026", "4", "Acreedores y deudores", "NULL"},
                        {"1", "2026", "43", "Clientes; \"grupo\"", "NULL"},
                        {"1", "2026", "430", "Clientes", "CLIENT"},
                        {"1", "2026", "4300", kLongName150, "NULL"},
                        {"1", "2026", "43000001", "Hostelería del Puerto", "NULL"},
                        {"1", "2026", "43000002", "Comercial Rivera", "NULL"}}));
}

TEST_F(AccountsTool, ALineThatWouldLoseDigitsImportsNothing) {
    init();
    const std::string file =
        write("plan.csv", kSmallChart + "\"4300100001\";\"Cliente lejano\";\"\"\n");
    ToolRun run = kvlnmov({"accounts", "import", database_, file});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.err, "kvlnmov: " + file +
                           ", line 8: the account 4300100001 cannot have the company's 8 digits: "
                           "after its prefix 4300 it would lose a digit other than zero.\n");
    EXPECT_EQ(count("SELECT COUNT(*) FROM Cuentas"), 0);
}

TEST_F(AccountsTool, AChartThatHoldsAccountsIsReplacedOnlyWhenAsked) {
    init();
    const std::string file = write("plan.csv", kSmallChart);
    ASSERT_EQ(kvlnmov({"accounts", "add", database_, "5", "Cuentas financieras"}).exitCode, 0);

    ToolRun refused = kvlnmov({"accounts", "import", database_, file});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.err,
              "The chart of company 1, exercise 2026 already holds 1 account: nothing was "
              "imported (give --replace to replace it).\n");
    EXPECT_EQ(rows("SELECT Cuenta FROM Cuentas"), (TextRows{{"5"}}));

    ToolRun replaced = kvlnmov({"accounts", "import", database_, file, "--replace"});
    ASSERT_EQ(replaced.exitCode, 0) << replaced.err;
    EXPECT_EQ(replaced.out,
              "Deleted the 1 account the chart held before.\n"
              "Imported 6 accounts (4 summary, 2 posting) into company 1, exercise 2026.\n");
    EXPECT_EQ(count("SELECT COUNT(*) FROM Cuentas"), 6);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Cuentas WHERE Cuenta = '5'"), 0);
}

struct CommandCase {
    std::vector<std::string> arguments;  ///< after `kvlnmov accounts`; "DB" is the database
    int exitCode;
    std::string out;
    std::string err;
};

TEST_F(AccountsTool, ListAddAndRenameAnswerAsTheyShould) {
    init();
    ASSERT_EQ(kvlnmov({"accounts", "import", database_, write("plan.csv", kSmallChart)}).exitCode,
              0);
    const std::vector<CommandCase> cases{
        {{"list", "DB", "43000"},
         0,
         "Account   Name                   Level  Tag\n"
         "43000001  Hostelería del Puerto      5\n"
         "43000002  Comercial Rivera           5\n",
         ""},
        {{"list", "DB", "43"},
         0,
         "Account   Name" + std::string(146, ' ') +
             "  Level  Tag\n"
             "43        Clientes; \"grupo\"" +
             std::string(133, ' ') +
             "      2\n"
             "430       Clientes" +
             std::string(142, ' ') +
             "      3  CLIENT\n"
             "4300      " +
             kLongName150 +
             "      4\n"
             "43000001  Hostelería del Puerto" +
             std::string(129, ' ') +
             "      5\n"
             "43000002  Comercial Rivera" +
             std::string(134, ' ') + "      5\n",
         ""},
        {{"list", "DB", "9"}, 1, "", "No account of company 1, exercise 2026 begins with 9.\n"},
        {{"list", "DB", "4x"}, 2, "", "kvlnmov: PREFIX must be digits only: '4x'\n"},
        {{"add", "DB", "43000003", "Clientes de contado", "--tag", "CONTAD"},
         0,
         "Added the account 43000003 'Clientes de contado' at level 5.\n",
         ""},
        {{"add", "DB", "43000003", "Otra vez"},
         1,
         "",
         "The account 43000003 is already in the chart, as 'Clientes de contado'.\n"},
        {{"add", "DB", "4300003", "Siete cifras"},
         2,
         "",
         "kvlnmov: ACCOUNT 4300003 has 7 digits, the length of none of the company's levels "
         "(1,2,3,4,8)\n"},
        {{"add", "DB", "4400000A", "Letras"},
         2,
         "",
         "kvlnmov: ACCOUNT must be digits only: '4400000A'\n"},
        {{"add", "DB", "44000001", "Sin grupo"},
         1,
         "",
         "The summary accounts above 44000001 must be in the chart first; missing: 44, 440, "
         "4400.\n"},
        {{"add", "DB", "44", "Clientes, empresas del grupo"},
         0,
         "Added the account 44 'Clientes, empresas del grupo' at level 2.\n",
         ""},
        {{"add", "DB", "45", " "}, 2, "", "kvlnmov: NAME must not be empty\n"},
        {{"rename", "DB", "43000001", "Hostelería del Puerto, S.L."},
         0,
         "Renamed the account 43000001 to 'Hostelería del Puerto, S.L.'.\n",
         ""},
        {{"rename", "DB", "43000009", "Nadie"},
         1,
         "",
         "The chart of company 1, exercise 2026 has no account 43000009.\n"},
        {{"list", "DB", "4300000"},
         0,
         "Account   Name                         Level  Tag\n"
         "43000001  Hostelería del Puerto, S.L.      5\n"
         "43000002  Comercial Rivera                 5\n"
         "43000003  Clientes de contado              5  CONTAD\n",
         ""},
        {{"list", "--connection", "Provider=SQLite;Data Source=DB", "44"},
         0,
         "Account  Name                          Level  Tag\n"
         "44       Clientes, empresas del grupo      2\n",
         ""},
    };
    for (const CommandCase& c : cases) {
        std::vector<std::string> arguments{"accounts"};
        std::string shown;
        for (std::string argument : c.arguments) {
            if (argument.size() >= 2 && argument.compare(argument.size() - 2, 2, "DB") == 0)
                argument = argument.substr(0, argument.size() - 2) + database_;
            shown += " " + argument;
            arguments.push_back(argument);
        }
        ToolRun run = kvlnmov(arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << shown << "\n" << run.err;
        EXPECT_EQ(run.out, c.out) << shown;
        EXPECT_EQ(run.err, c.err) << shown;
    }
    EXPECT_EQ(rows("SELECT Cuenta, Nombre, Especial FROM Cuentas WHERE Cuenta LIKE '4%' AND "
                   "LEN(Cuenta) IN (2, 8) ORDER BY Cuenta"),
              (TextRows{{"43", "Clientes; \"grupo\"", "NULL"},
                        {"43000001", "Hostelería del Puerto, S.L.", "NULL"},
                        {"43000002", "Comercial Rivera", "NULL"},
                        {"43000003", "Clientes de contado", "CONTAD"},
                        {"44", "Clientes, empresas del grupo", "NULL"}}));
}

TEST_F(AccountsTool, AnEmptyChartListsNothing) {
    init();
    ToolRun run = kvlnmov({"accounts", "list", database_});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "The chart of company 1, exercise 2026 holds no accounts.\n");
}

TEST_F(AccountsTool, InitImportsTheChartItIsGiven) {
    ToolRun run = kvlnmov(
        {"init", database_, "--levels", "1,2,3,4,10", "--chart", write("plan.csv", kSmallChart)});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("\nImported 6 accounts (4 summary, 2 posting) into company 1, exercise "
                           "2026.\n"),
              std::string::npos)
        << run.out;
    EXPECT_EQ(rows("SELECT Cuenta FROM Cuentas WHERE LEN(Cuenta) = 10 ORDER BY Cuenta"),
              (TextRows{{"4300000001"}, {"4300000002"}}));
}

TEST_F(AccountsTool, InitWithAChartThatDoesNotFitCreatesNothing) {
    const std::string file = write("plan.csv", kSmallChart + "\"4300100001\";\"Lejano\";\"\"\n");
    ToolRun run = kvlnmov({"init", database_, "--chart", file});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.err, "kvlnmov: " + file +
                           ", line 8: the account 4300100001 cannot have the company's 8 digits: "
                           "after its prefix 4300 it would lose a digit other than zero.\n");
    EXPECT_FALSE(std::filesystem::exists(database_));
}

TEST_F(AccountsTool, TheDemoChartHoldsEveryAccountTheDemoPosts) {
    ToolRun demo = kvlnmov({"demo", database_});
    ASSERT_EQ(demo.exitCode, 0) << demo.err;
    EXPECT_NE(demo.out.find("Imported 56 accounts (38 summary, 18 posting) into company 1, "
                            "exercise 2026.\n"),
              std::string::npos)
        << demo.out;
    EXPECT_GT(count("SELECT COUNT(*) FROM Movimientos"), 0);
    EXPECT_EQ(rows("SELECT DISTINCT m.Cuenta FROM Movimientos m WHERE NOT EXISTS (SELECT 1 FROM "
                   "Cuentas c WHERE c.Cod_Empresa = m.Cod_Empresa AND c.Cod_Ejercicio = "
                   "m.Cod_Ejercicio AND c.Cuenta = m.Cuenta)"),
              TextRows{});
    EXPECT_EQ(rows("SELECT Cuenta, Especial FROM Cuentas WHERE Especial IS NOT NULL AND Cuenta "
                   "LIKE '43%'"),
              (TextRows{{"430", "CLIENT"}}));
}

// --- The real chart -------------------------------------------------------------------------

// The shared reference chart, beside the repository (or where KVLNMOV_SHARED_DATA says).
std::string referenceChart() {
    const char* shared = std::getenv("KVLNMOV_SHARED_DATA");
    const std::string folder = shared && *shared ? shared : KVLNMOV_SHARED_DATA_DIR;
    return folder + "/es-defaultPlan.csv";
}

struct RealChartCase {
    const char* levels;
    const char* postingLength;
    /// Account, name and tag of a few rows as the company keeps them.
    TextRows rows;
};

class RealChart : public AccountsTool, public ::testing::WithParamInterface<RealChartCase> {};

TEST_P(RealChart, ImportsEveryAccountThatFitsTheLevels) {
    const std::string file = referenceChart();
    if (!std::filesystem::exists(file))
        GTEST_SKIP() << file << " is not there (it lives beside the repository, not in it)";
    const RealChartCase& c = GetParam();
    ToolRun run = kvlnmov({"init", database_, "--levels", c.levels, "--chart", file});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("\nImported 1650 accounts (905 summary, 745 posting) into company 1, "
                           "exercise 2026.\nLeft out 10 summary accounts whose length is none of "
                           "the company's levels, the first of them 76200 on line 773.\n"),
              std::string::npos)
        << run.out;
    EXPECT_EQ(
        rows("SELECT LEN(Cuenta), COUNT(*) FROM Cuentas GROUP BY LEN(Cuenta) ORDER BY "
             "1"),
        (TextRows{{"1", "9"}, {"2", "78"}, {"3", "421"}, {"4", "397"}, {c.postingLength, "745"}}));
    // Forty names are longer than a hundred characters; every one is kept whole.
    EXPECT_EQ(count("SELECT COUNT(*) FROM Cuentas WHERE LEN(Nombre) > 100"), 40);
    EXPECT_EQ(count("SELECT MAX(LEN(Nombre)) FROM Cuentas"), 138);
    TextRows found;
    for (const auto& row : c.rows) {
        TextRows one =
            rows("SELECT Cuenta, Nombre, Especial FROM Cuentas WHERE Cuenta = '" + row[0] + "'");
        found.insert(found.end(), one.begin(), one.end());
    }
    EXPECT_EQ(found, c.rows);
}

INSTANTIATE_TEST_SUITE_P(
    Levels, RealChart,
    ::testing::Values(
        RealChartCase{
            "1,2,3,4,8",
            "8",
            {{"430", "Clientes", "CLIENT"},
             {"4300", "Clientes (euros)", "NULL"},
             {"43000000", "Clientes", "NULL"},
             {"57200000", "Bancos e instituciones de crédito c/c vista, euros", "NULL"},
             {"76201000", "Ingresos de créditos a largo plazo, empresas asociadas", "NULL"}}},
        RealChartCase{
            "1,2,3,4,10",
            "10",
            {{"430", "Clientes", "CLIENT"},
             {"4300000000", "Clientes", "NULL"},
             {"5720000000", "Bancos e instituciones de crédito c/c vista, euros", "NULL"},
             {"7620100000", "Ingresos de créditos a largo plazo, empresas asociadas", "NULL"}}}),
    [](const ::testing::TestParamInfo<RealChartCase>& info) {
        return std::string("Length") + info.param.postingLength;
    });

// The import runs in one transaction of its own: every account between one BEGIN and one
// COMMIT, and a failure on the way rolls all of it back.
class RealChartTransaction : public AccountsTool {
  protected:
    void SetUp() override {
        AccountsTool::SetUp();
        if (!std::filesystem::exists(referenceChart()))
            GTEST_SKIP() << referenceChart() << " is not there";
        init();
        chart_ = cli::placeChart(cli::readChartFile(referenceChart()), {1, 2, 3, 4, 8},
                                 referenceChart());
        connection_ = open();
        log_ = std::make_shared<StatementLog>();
        connection_->addObserver(log_);
    }

    std::size_t seen(const std::string& prefix) const {
        std::size_t times = 0;
        for (const std::string& text : log_->texts) times += text.rfind(prefix, 0) == 0 ? 1 : 0;
        return times;
    }

    PlacedChart chart_;
    db::ConnectionRef connection_;
    std::shared_ptr<StatementLog> log_;
};

TEST_F(RealChartTransaction, EveryAccountInOneTransaction) {
    std::vector<std::size_t> heard;
    const cli::ChartImport done =
        cli::importChart(connection_, 1, 2026, chart_, false,
                         [&](std::size_t written, std::size_t) { heard.push_back(written); });
    EXPECT_EQ(done.imported, 1650u);
    EXPECT_EQ(log_->texts.front(), "BEGIN TRANSACTION");
    EXPECT_EQ(log_->texts.back(), "COMMIT TRANSACTION");
    EXPECT_EQ(seen("BEGIN TRANSACTION"), 1u);
    EXPECT_EQ(seen("COMMIT TRANSACTION"), 1u);
    EXPECT_EQ(seen("INSERT INTO Cuentas"), 1650u);
    ASSERT_FALSE(heard.empty());
    EXPECT_EQ(heard.back(), 1650u);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Cuentas"), 1650);
}

TEST_F(RealChartTransaction, AFailureHalfWayLeavesNothing) {
    connection_->injectFault(
        {"INSERT INTO Cuentas (Cod_Empresa, Cod_Ejercicio, Cuenta, Nombre, Especial) VALUES (1, "
         "2026, '57200000'",
         1, -2147467259, "disk I/O error"});
    const Error error = errorOf([&] { cli::importChart(connection_, 1, 2026, chart_, false); });
    EXPECT_EQ(error.description(), "disk I/O error");
    EXPECT_EQ(seen("ROLLBACK TRANSACTION"), 1u);
    EXPECT_EQ(seen("COMMIT TRANSACTION"), 0u);
    EXPECT_GT(seen("INSERT INTO Cuentas"), 1000u);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Cuentas"), 0);
}

}  // namespace
}  // namespace kvlnmov::testing
