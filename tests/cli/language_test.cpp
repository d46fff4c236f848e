// The kvlnmov tool in Spanish and in English: the language follows the locale (also where the
// Spanish locale is not generated), human output uses the regional number and date forms with
// numbers aligned to the right, and the library's own errors keep their Spanish description.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "support/tool_fixture.h"

namespace kvlnmov::testing {
namespace {

// The language variables a test sets; the others are removed so the parent's do not count.
EnvironmentChanges locale(std::optional<std::string> lang, std::optional<std::string> all = {},
                          std::optional<std::string> messages = {},
                          std::optional<std::string> language = {}) {
    return {{"LANG", std::move(lang)},
            {"LC_ALL", std::move(all)},
            {"LC_MESSAGES", std::move(messages)},
            {"LANGUAGE", std::move(language)},
            {"KVLNMOV_LOCALEDIR", std::nullopt}};
}

const EnvironmentChanges kSpanish = locale("es_ES.UTF-8");
const EnvironmentChanges kEnglish = locale("C.UTF-8");

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream input(text);
    for (std::string line; std::getline(input, line);) result.push_back(line);
    return result;
}

// Characters on the terminal (UTF-8 continuation bytes do not count).
std::size_t columns(const std::string& line) {
    std::size_t count = 0;
    for (char c : line) count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return count;
}

class LanguageTest : public ToolFixture {
  protected:
    void SetUp() override {
        ToolFixture::SetUp();
        const ToolRun demo = kvlnmov(kEnglish, {"demo", database_});
        ASSERT_EQ(demo.exitCode, 0) << demo.err;
    }

    Currency value(const std::string& query) {
        auto connection = db::openConnection("Provider=SQLite;Data Source=" + database_);
        db::Recordset rows;
        rows.Open(query, connection);
        return rows.Fields(0).toCurrency();
    }

    // Every line of `expected` is a line of `text`.
    void expectLines(const std::string& text, const std::vector<std::string>& expected) {
        const std::vector<std::string> found = lines(text);
        for (const std::string& line : expected) {
            EXPECT_NE(std::find(found.begin(), found.end(), line), found.end())
                << "missing line \"" << line << "\" in:\n"
                << text;
        }
    }
};

struct Report {
    const char* name;
    EnvironmentChanges environment;
    std::string text;
};

TEST_F(LanguageTest, TheTrialBalanceNamesItsColumnsInEitherLanguage) {
    const Report reports[] = {
        {"Spanish", kSpanish,
         "Balance de sumas y saldos de la empresa 1, ejercicio 2026, nivel 1 (cuentas de 1 "
         "dígito)\n"
         "\n"
         "                                                Debe      Haber  Asiento\n"
         "Cuenta  Nombre                   Apertura    periodo    periodo   cierre       Saldo\n"
         "------------------------------------------------------------------------------------\n"
         "1       Financiación básica    -60.000,00       0,00       0,00     0,00  -60.000,00\n"
         "4       Acreedores y deudores        0,00   9.941,00  13.886,00     0,00   -3.945,00\n"
         "5       Cuentas financieras     60.000,00   8.470,00   3.037,50     0,00   65.432,50\n"
         "6       Compras y gastos             0,00   3.612,50       0,00     0,00    3.612,50\n"
         "7       Ventas e ingresos            0,00       0,00   5.100,00     0,00   -5.100,00\n"
         "------------------------------------------------------------------------------------\n"
         "Total                                0,00  22.023,50  22.023,50     0,00        0,00\n"
         "\n"
         "5 cuentas. El debe es igual al haber: el balance cuadra.\n"},
        {"English", kEnglish,
         "Trial balance of company 1, exercise 2026, level 1 (1-digit accounts)\n"
         "\n"
         "                                               Period     Period  Closing\n"
         "Account  Name                      Opening      debit     credit    entry     Balance\n"
         "-------------------------------------------------------------------------------------\n"
         "1        Financiación básica    -60.000,00       0,00       0,00     0,00  -60.000,00\n"
         "4        Acreedores y deudores        0,00   9.941,00  13.886,00     0,00   -3.945,00\n"
         "5        Cuentas financieras     60.000,00   8.470,00   3.037,50     0,00   65.432,50\n"
         "6        Compras y gastos             0,00   3.612,50       0,00     0,00    3.612,50\n"
         "7        Ventas e ingresos            0,00       0,00   5.100,00     0,00   -5.100,00\n"
         "-------------------------------------------------------------------------------------\n"
         "Total                                 0,00  22.023,50  22.023,50     0,00        0,00\n"
         "\n"
         "5 accounts. Debits equal credits: the trial balance balances.\n"},
    };
    for (const Report& report : reports) {
        SCOPED_TRACE(report.name);
        const ToolRun run = kvlnmov(report.environment, {"balance", database_, "--level", "1"});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(run.out, report.text);
        EXPECT_EQ(run.err, "");
    }
}

TEST_F(LanguageTest, PeriodsListMonthsAsRowsWithinAHundredColumns) {
    const Report reports[] = {
        {"Spanish", kSpanish,
         "Debe y haber por mes:\n"
         "\n"
         "Cuenta  Mes           Debe      Haber\n"
         "-------------------------------------\n"
         "4       03/2026   9.941,00  13.886,00\n"
         "5       03/2026   8.470,00   3.037,50\n"
         "6       03/2026   3.612,50       0,00\n"
         "7       03/2026       0,00   5.100,00\n"
         "-------------------------------------\n"
         "Total   03/2026  22.023,50  22.023,50\n"},
        {"English", kEnglish,
         "Debits and credits by month:\n"
         "\n"
         "Account  Month        Debit     Credit\n"
         "--------------------------------------\n"
         "4        03/2026   9.941,00  13.886,00\n"
         "5        03/2026   8.470,00   3.037,50\n"
         "6        03/2026   3.612,50       0,00\n"
         "7        03/2026       0,00   5.100,00\n"
         "--------------------------------------\n"
         "Total    03/2026  22.023,50  22.023,50\n"},
    };
    for (const Report& report : reports) {
        SCOPED_TRACE(report.name);
        const ToolRun groups =
            kvlnmov(report.environment, {"balance", database_, "--level", "1", "--periods"});
        EXPECT_EQ(groups.exitCode, 0) << groups.err;
        const auto months = groups.out.find(report.text.substr(0, report.text.find('\n')));
        ASSERT_NE(months, std::string::npos) << groups.out;
        EXPECT_EQ(groups.out.substr(months), report.text);

        // The posting accounts, the widest report, fit a terminal of 100 columns.
        const ToolRun accounts = kvlnmov(report.environment, {"balance", database_, "--periods"});
        EXPECT_EQ(accounts.exitCode, 0) << accounts.err;
        EXPECT_GT(lines(accounts.out).size(), 40u);
        for (const std::string& line : lines(accounts.out)) {
            EXPECT_LE(columns(line), 100u) << line;
        }
    }
}

TEST_F(LanguageTest, BooksShowRegionalAmountsAndDates) {
    struct Case {
        const char* name;
        EnvironmentChanges environment;
        std::vector<std::string> lines;
    };
    const Case cases[] = {
        {"Spanish",
         kSpanish,
         {"Empresa 1, ejercicio 2026 (del 01/01/2026 al 31/12/2026)",
          "Libro de IGIC (tabla Igic): sin registros", "Libro de IVA (tabla Iva)",
          "    Libro      Tipo      Base     Cuota  Deducible",
          "    emitidas    21%  5.000,00  1.050,00       0,00",
          "        20  16/03/2026  recibidas  41000001  M-03             5  Asesoría Fiscal "
          "Martín       12345678Z    800,00  168,00",
          "Previsiones de cobro pendientes por vencimiento:",
          "  Vencimiento  Apunte  Cuenta    Documento  Banco  Forma   Importe",
          "  01/04/2026        1  43000001  A-031                 1  1.210,00",
          "  Total: 6.050,00"}},
        {"English",
         kEnglish,
         {"Company 1, exercise 2026 (01/01/2026 to 31/12/2026)",
          "IGIC book (table Igic): no records", "VAT book (table Iva)",
          "    Book      Rate      Base       Tax  Deductible",
          "    issued     21%  5.000,00  1.050,00        0,00",
          "      20  16/03/2026  received  41000001  M-03          5  Asesoría Fiscal Martín  "
          "     12345678Z    800,00  168,00",
          "Open collection forecasts by due date:",
          "  Due date    Line  Account   Document  Bank  Method    Amount",
          "  01/04/2026     1  43000001  A-031                1  1.210,00", "  Total: 6.050,00"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const ToolRun run = kvlnmov(c.environment, {"books", database_});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        expectLines(run.out, c.lines);
    }
}

TEST_F(LanguageTest, VerifyCountsWithTheRightFormOfEachWord) {
    const ToolRun change = kvlnmov(
        kEnglish,
        {"sql", database_, "UPDATE Acumulados SET D3 = D3 + 0.0001 WHERE Cuenta = '43000001'"});
    ASSERT_EQ(change.exitCode, 0) << change.err;
    const Report reports[] = {
        {"Spanish", kSpanish,
         "Empresa 1, ejercicio 2026: 29 apuntes, 10 asientos, 56 filas en Acumulados, 130 filas "
         "en Acumulados_Dpto\n"
         "  Acumulados, cuenta 43000001, D3: guardado 1.210,0001, esperado 1.210,0000\n"
         "Resumen, empresa 1, ejercicio 2026: 1 celda distinta en 1 fila (ausentes: 0, "
         "sobrantes: 0), 0 asientos descuadrados, 0 apuntes sin cabecera, 0 números de apunte "
         "y 0 números de asiento repetidos, 0 saldos de apertura sin asiento de apertura: HAY "
         "DIFERENCIAS\n"
         "Reparación de la empresa 1, ejercicio 2026, en una transacción: 1 fila actualizada, "
         "0 filas insertadas, 0 filas puestas a cero\n"
         "  actualizada Acumulados, cuenta 43000001, D3: 1.210,0001 -> 1.210,0000\n"
         "Comprobado de nuevo tras la reparación:\n"
         "Empresa 1, ejercicio 2026: 29 apuntes, 10 asientos, 56 filas en Acumulados, 130 filas "
         "en Acumulados_Dpto\n"
         "Resumen, empresa 1, ejercicio 2026: 0 celdas distintas en 0 filas (ausentes: 0, "
         "sobrantes: 0), 0 asientos descuadrados, 0 apuntes sin cabecera, 0 números de apunte "
         "y 0 números de asiento repetidos, 0 saldos de apertura sin asiento de apertura: "
         "correcto\n"},
        {"English", kEnglish,
         "Company 1, exercise 2026: 29 lines, 10 entries, 56 rows in Acumulados, 130 rows in "
         "Acumulados_Dpto\n"
         "  Acumulados, account 43000001, D3: stored 1.210,0001, expected 1.210,0000\n"
         "Summary, company 1, exercise 2026: 1 differing cell in 1 row (0 missing, 0 stray), 0 "
         "unbalanced entries, 0 lines without header, 0 line numbers and 0 entry numbers used "
         "more than once, 0 opening balances without an opening entry: DIFFERENCES FOUND\n"
         "Repair of company 1, exercise 2026, in one transaction: 1 row updated, 0 rows "
         "inserted, 0 rows set to zero\n"
         "  updated Acumulados, account 43000001, D3: 1.210,0001 -> 1.210,0000\n"
         "Verified again after the repair:\n"
         "Company 1, exercise 2026: 29 lines, 10 entries, 56 rows in Acumulados, 130 rows in "
         "Acumulados_Dpto\n"
         "Summary, company 1, exercise 2026: 0 differing cells in 0 rows (0 missing, 0 stray), 0 "
         "unbalanced entries, 0 lines without header, 0 line numbers and 0 entry numbers used "
         "more than once, 0 opening balances without an opening entry: clean\n"},
    };
    for (const Report& report : reports) {
        SCOPED_TRACE(report.name);
        // The repair puts the difference right; the next case makes it again.
        const ToolRun repair = kvlnmov(report.environment, {"verify", database_, "--repair"});
        EXPECT_EQ(repair.exitCode, 0) << repair.err;
        EXPECT_EQ(repair.out, report.text);
        EXPECT_EQ(value("SELECT D3 FROM Acumulados WHERE Cuenta = '43000001'"),
                  Currency::fromRaw(12100000));
        ASSERT_EQ(kvlnmov(kEnglish, {"sql", database_,
                                     "UPDATE Acumulados SET D3 = D3 + 0.0001 WHERE Cuenta = "
                                     "'43000001'"})
                      .exitCode,
                  0);
    }
}

TEST_F(LanguageTest, TheLanguageFollowsTheLocaleVariables) {
    const std::string spanish =
        "Balance de sumas y saldos de la empresa 1, ejercicio 2026, nivel 1 (cuentas de 1 "
        "dígito)";
    const std::string english =
        "Trial balance of company 1, exercise 2026, level 1 (1-digit accounts)";
    const std::filesystem::path noCatalogues = folder_ / "no-catalogues";
    std::filesystem::create_directory(noCatalogues);
    EnvironmentChanges elsewhere = kSpanish;
    elsewhere["KVLNMOV_LOCALEDIR"] = noCatalogues.string();
    struct Case {
        const char* name;
        EnvironmentChanges environment;
        const std::string& first;
    };
    const Case cases[] = {
        {"LANG Spanish", locale("es_ES.UTF-8"), spanish},
        {"LANG bare es", locale("es"), spanish},
        {"LANG Mexican Spanish", locale("es_MX.UTF-8"), spanish},
        {"LC_ALL over LANG", locale("C.UTF-8", "es_ES.UTF-8"), spanish},
        {"LC_MESSAGES over LANG", locale("C.UTF-8", std::nullopt, "es_ES.UTF-8"), spanish},
        {"LC_ALL English over LANG", locale("es_ES.UTF-8", "C.UTF-8"), english},
        {"LANG C.UTF-8", locale("C.UTF-8"), english},
        {"no variable", locale(std::nullopt), english},
        {"Estonian", locale("et_EE.UTF-8"), english},
        {"LANGUAGE alone", locale("C.UTF-8", std::nullopt, std::nullopt, "es"), english},
        {"catalogues elsewhere", elsewhere, english},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const ToolRun run = kvlnmov(c.environment, {"balance", database_, "--level", "1"});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(lines(run.out).at(0), c.first);
    }
}

TEST_F(LanguageTest, LibraryErrorsKeepTheirSpanishDescription) {
    const std::string missing = (folder_ / "missing.db").string();
    struct Case {
        const char* name;
        EnvironmentChanges environment;
        std::vector<std::string> arguments;
        int exitCode;
        std::string err;
    };
    const Case cases[] = {
        {"Spanish, library",
         kSpanish,
         {"balance", database_, "--company", "9", "--exercise", "2026"},
         1,
         "kvlnmov: la orden balance ha fallado: No existe la empresa 9\n"
         "  (error 1000, EmpresaContext)\n"},
        {"English, library",
         kEnglish,
         {"balance", database_, "--company", "9", "--exercise", "2026"},
         1,
         "kvlnmov: the balance command failed: No existe la empresa 9\n"
         "  (error 1000, EmpresaContext)\n"},
        {"Spanish, library, books",
         kSpanish,
         {"books", database_, "--company", "1", "--exercise", "1999"},
         1,
         "kvlnmov: la orden books ha fallado: Empresa: 1 No existe el ejercicio 1999\n"
         "  (error 1000, EmpresaContext)\n"},
        {"English, library, books",
         kEnglish,
         {"books", database_, "--company", "1", "--exercise", "1999"},
         1,
         "kvlnmov: the books command failed: Empresa: 1 No existe el ejercicio 1999\n"
         "  (error 1000, EmpresaContext)\n"},
        {"Spanish, tool",
         kSpanish,
         {"verify", missing},
         2,
         "kvlnmov: '" + missing +
             "' no es un fichero de base de datos (cree uno con kvlnmov "
             "init)\n"},
        {"English, tool",
         kEnglish,
         {"verify", missing},
         2,
         "kvlnmov: '" + missing + "' is not a database file (create one with kvlnmov init)\n"},
        {"Spanish, level",
         kSpanish,
         {"balance", database_, "--level", "9"},
         2,
         "kvlnmov: --level debe estar entre 1 y 5\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const ToolRun run = kvlnmov(c.environment, c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, c.err);
    }
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(LanguageTest, HelpIsTranslatedWhereTheParserAllows) {
    const ToolRun spanish = kvlnmov(kSpanish, {"balance", "--help"});
    EXPECT_EQ(spanish.exitCode, 0);
    expectLines(spanish.out, {"  DB TEXT REQUIRED            Fichero de la base de datos de la "
                              "empresa",
                              "                              Solo este departamento"});
    // The parser's own words stay English.
    EXPECT_NE(spanish.out.find("\nUsage: "), std::string::npos) << spanish.out;
    const ToolRun english = kvlnmov(kEnglish, {"balance", "--help"});
    EXPECT_EQ(english.exitCode, 0);
    expectLines(english.out, {"  DB TEXT REQUIRED            Company database file",
                              "                              Only this department"});
}

// One command run in both languages: a line of what it writes, exact in each language.
struct Phrase {
    const char* name;
    std::vector<std::string> arguments;
    int exitCode;
    bool onError;  // the line is on standard error, not standard output
    std::string spanish;
    std::string english;
};

TEST_F(LanguageTest, EveryCommandSpeaksTheUsersLanguage) {
    const std::string unbalanced = (folder_ / "unbalanced.json").string();
    {
        std::ofstream file(unbalanced);
        file << R"({"entries": [{"date": "2026-03-30", "reference": "L-2", "lines": [
                 {"account": "43000001", "debit": "1210.00"},
                 {"account": "70000001", "credit": "1000.00"}]}]})";
    }
    const std::string outside = (folder_ / "outside.json").string();
    {
        std::ofstream file(outside);
        file << R"({"entries": [{"date": "2027-01-04", "reference": "L-3", "lines": [
                 {"account": "43000001", "debit": "10.00"},
                 {"account": "70000001", "credit": "10.00"}]}]})";
    }
    const Phrase phrases[] = {
        {"show refusal",
         {"show", database_, "77", "--no-pager"},
         1,
         true,
         "kvlnmov: el asiento 77 no existe en la empresa 1, ejercicio 2026",
         "kvlnmov: entry 77 does not exist in company 1, exercise 2026"},
        {"annul refusal",
         {"annul", database_, "99"},
         1,
         true,
         "kvlnmov: el asiento 99 no existe en la empresa 1, ejercicio 2026",
         "kvlnmov: entry 99 does not exist in company 1, exercise 2026"},
        {"annul of the opening entry",
         {"annul", database_, "0"},
         1,
         true,
         "kvlnmov: el asiento 0 es el asiento de apertura de la empresa 1, ejercicio 2026 y no "
         "se anula sin --force",
         "kvlnmov: entry 0 is the opening entry of company 1, exercise 2026 and is not annulled "
         "without --force"},
        {"renumber onto itself",
         {"renumber", database_, "3", "3"},
         1,
         true,
         "kvlnmov: el asiento 3 no se puede trasladar sobre sí mismo: OLD y NEW deben ser "
         "distintos",
         "kvlnmov: entry 3 cannot be moved onto itself: OLD and NEW must differ"},
        {"renumber into a missing entry",
         {"renumber", database_, "3", "500"},
         1,
         true,
         "kvlnmov: el asiento 500 no tiene cabecera en la empresa 1, ejercicio 2026; créelo "
         "antes: renumber traslada los apuntes a un asiento que ya existe",
         "kvlnmov: entry 500 has no header in company 1, exercise 2026; create it first: "
         "renumber moves the lines into an existing entry"},
        {"reassign without lines",
         {"reassign", database_, "--from", "62600001", "--to", "62600001", "--dest", "62300001",
          "--start", "2026-01-01", "--end", "2026-01-31"},
         1,
         true,
         "kvlnmov: ningún apunte de las cuentas 62600001 a 62600001 tiene fecha del 01/01/2026 "
         "al 31/01/2026 en la empresa 1, ejercicio 2026; no hay nada que trasladar",
         "kvlnmov: no line of accounts 62600001 to 62600001 is dated 01/01/2026 to 31/01/2026 "
         "in company 1, exercise 2026; there is nothing to move"},
        {"accounts list",
         {"accounts", "list", database_, "4300"},
         0,
         false,
         "Cuenta    Nombre                       Nivel  Marca",
         "Account   Name                         Level  Tag"},
        {"accounts refusal",
         {"accounts", "rename", database_, "43009999", "Nadie"},
         1,
         true,
         "El plan de la empresa 1, ejercicio 2026 no tiene la cuenta 43009999.",
         "The chart of company 1, exercise 2026 has no account 43009999."},
        {"sql table",
         {"sql", database_,
          "SELECT Cuenta, Debe FROM Movimientos WHERE Documento = 'A-031' AND Cuenta = '43000001'"},
         0,
         false,
         "(1 fila)",
         "(1 row)"},
        {"sql change",
         {"sql", database_, "UPDATE Cuentas SET Nombre = Nombre WHERE Cuenta LIKE '4300%'"},
         0,
         false,
         "(4 filas afectadas)",
         "(4 rows affected)"},
        {"sql refusal",
         {"sql", database_, "SELECT 1; SELECT * FROM NoSuchTable; SELECT 2"},
         1,
         true,
         "kvlnmov: antes se ejecutó la sentencia 1; sus cambios se conservan.",
         "kvlnmov: statement 1 ran before it; its changes are kept."},
        {"post refusal, unbalanced",
         {"post", database_, unbalanced},
         2,
         true,
         "kvlnmov: asiento 1: descuadrado: debe 1.210,00, haber 1.000,00",
         "kvlnmov: entry 1: unbalanced: debits 1.210,00, credits 1.000,00"},
        {"post refusal, outside the exercise",
         {"post", database_, outside},
         2,
         true,
         "kvlnmov: asiento 1: la fecha 04/01/2027 está fuera del ejercicio (del 01/01/2026 al "
         "31/12/2026)",
         "kvlnmov: entry 1: the date 04/01/2027 is outside the exercise (01/01/2026 to "
         "31/12/2026)"},
        {"post help",
         {"post", "--help"},
         0,
         false,
         "  FILE TEXT REQUIRED          Asientos que se contabilizan (.json o .csv)",
         "  FILE TEXT REQUIRED          Entries to post (.json or .csv)"},
    };
    for (const Phrase& phrase : phrases) {
        for (const bool inSpanish : {true, false}) {
            SCOPED_TRACE(std::string(phrase.name) + (inSpanish ? ", Spanish" : ", English"));
            const ToolRun run = kvlnmov(inSpanish ? kSpanish : kEnglish, phrase.arguments);
            EXPECT_EQ(run.exitCode, phrase.exitCode) << run.err;
            expectLines(phrase.onError ? run.err : run.out,
                        {inSpanish ? phrase.spanish : phrase.english});
        }
    }
    // Nothing the refusals were given reached the books.
    EXPECT_EQ(value("SELECT COUNT(*) FROM Asientos WHERE CodigoExterno IN ('L-2', 'L-3')"),
              Currency::fromUnits(0));
}

TEST_F(LanguageTest, TheSqlTableAlignsRegionalAmountsToTheRight) {
    const std::vector<std::string> arguments{
        "sql", database_,
        "SELECT Cuenta, Debe FROM Movimientos WHERE Documento = 'A-031' ORDER BY Debe DESC, Cuenta"};
    const std::string table =
        "Cuenta   | Debe\n"
        "---------+---------\n"
        "43000001 | 1.210,00\n"
        "47700021 |     0,00\n"
        "70000001 |     0,00\n";
    for (const auto& [environment, count] :
         {std::pair{kSpanish, "(3 filas)\n"}, std::pair{kEnglish, "(3 rows)\n"}}) {
        const ToolRun run = kvlnmov(environment, arguments);
        EXPECT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(run.out, table + count);
        // Programs read '.' as the decimal mark, whatever the language.
        std::vector<std::string> csv = arguments;
        csv.push_back("--csv");
        const ToolRun machine = kvlnmov(environment, csv);
        EXPECT_EQ(machine.exitCode, 0) << machine.err;
        EXPECT_EQ(machine.out, "Cuenta,Debe\n43000001,1210\n47700021,0\n70000001,0\n");
    }
}

TEST_F(LanguageTest, PostingSaysWhatItPostedAndRefusesItTwice) {
    const std::string entries = (folder_ / "entries.json").string();
    {
        std::ofstream file(entries);
        file << R"({"entries": [{"date": "2026-03-30", "reference": "L-1", "lines": [
                 {"account": "43000001", "debit": "1210.00", "concept": "Factura L-1"},
                 {"account": "70000001", "credit": "1210.00", "concept": "Factura L-1"}]}]})";
    }
    const ToolRun spanish = kvlnmov(kSpanish, {"post", database_, entries});
    EXPECT_EQ(spanish.exitCode, 0) << spanish.err;
    const std::string number = std::to_string(
        value("SELECT Codigo FROM Asientos WHERE CodigoExterno = 'L-1'").raw() /
        Currency::kScale);
    EXPECT_EQ(spanish.out, "Contabilizado 1 asiento (2 apuntes, 0 registros de libro de "
                           "impuestos, 0 previsiones): asiento " +
                               number + ".\n");
    const ToolRun again = kvlnmov(kSpanish, {"post", database_, entries});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(again.err, "No se ha contabilizado nada: la referencia L-1 (asiento 1) ya está en "
                         "los libros, como asiento " +
                             number + ".\n");
    const ToolRun english = kvlnmov(kEnglish, {"post", database_, entries});
    EXPECT_EQ(english.exitCode, 1);
    EXPECT_EQ(english.err, "Nothing was posted: the reference L-1 (entry 1) is already in the "
                           "books, as entry " +
                               number + ".\n");
    EXPECT_EQ(value("SELECT COUNT(*) FROM Asientos WHERE CodigoExterno = 'L-1'"),
              Currency::fromUnits(1));
}

TEST_F(LanguageTest, InitAndTheDemoOpenInEitherLanguage) {
    struct Case {
        const char* name;
        EnvironmentChanges environment;
        std::string created;
        std::string demo;
        std::string company;
    };
    const std::string spanishFile = (folder_ / "es.db").string();
    const std::string englishFile = (folder_ / "en.db").string();
    const Case cases[] = {
        {"Spanish", kSpanish,
         "Creada " + spanishFile +
             ": empresa 1 'Empresa demo', ejercicio 2026 del 01/01/2026 al 31/12/2026 (abierto), "
             "niveles de cuenta 1,2,3,4,8, numeración 0, tipo de impuesto 0.\n",
         "Base de datos de la empresa de demostración: " + spanishFile + ".demo",
         "Empresa 1 'Distribuciones Atlántico, S.L.', ejercicio 2026, niveles de cuenta "
         "1,2,3,4,8"},
        {"English", kEnglish,
         "Created " + englishFile +
             ": company 1 'Empresa demo', exercise 2026 from 01/01/2026 to 31/12/2026 (open), "
             "account levels 1,2,3,4,8, numbering scheme 0, tax kind 0.\n",
         "Demonstration company database: " + englishFile + ".demo",
         "Company 1 'Distribuciones Atlántico, S.L.', exercise 2026, account levels 1,2,3,4,8"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string file = c.environment.at("LANG") == "C.UTF-8" ? englishFile : spanishFile;
        const ToolRun init = kvlnmov(c.environment, {"init", file});
        EXPECT_EQ(init.exitCode, 0) << init.err;
        EXPECT_EQ(init.out, c.created);
        const ToolRun demo = kvlnmov(c.environment, {"demo", file + ".demo"});
        EXPECT_EQ(demo.exitCode, 0) << demo.err;
        const std::vector<std::string> first = lines(demo.out);
        ASSERT_GE(first.size(), 2u);
        EXPECT_EQ(first[0], c.demo);
        EXPECT_EQ(first[1], c.company);
    }
}

}  // namespace
}  // namespace kvlnmov::testing
