// The ODBC provider: how driver diagnostics become errors, the texts it sends, and the
// provider end to end against the SQLite ODBC driver with statements passed through as
// written.

#include "db/odbc/odbc_provider.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "db/odbc/odbc_connection.h"
#include "db/odbc/odbc_cursor.h"
#include "db/odbc/odbc_error.h"
#include "db/odbc_sqlite/sqlite_dialect.h"
#include "kvlnmov/db/command.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/frame/regional.h"
#include "support/rows.h"
#include "support/test_connection.h"

namespace kvlnmov::db::odbc {
namespace {

using kvlnmov::testing::errorOf;
using kvlnmov::testing::Rows;
using kvlnmov::testing::TestDatabase;
using kvlnmov::testing::TestProvider;

Rows query(const ConnectionRef& connection, std::string_view sql) {
    return kvlnmov::testing::queryRows(connection, sql);
}

std::string sqliteDriver() {
    const char* driver = std::getenv("KVLNMOV_TEST_ODBC_DRIVER");
    return driver && *driver ? driver : "SQLite3";
}

TEST(OdbcErrorNumbers, FollowTheSqlStateClass) {
    const std::vector<std::pair<const char*, std::int32_t>> cases{
        {"42000", -2147217900},  // syntax error or access violation
        {"42S22", -2147217900},  // invalid column name
        {"42S02", -2147217865},  // invalid object name
        {"23000", -2147217873},  // integrity constraint violation
        {"HYT00", -2147217871},  // query timeout
        {"HYT01", -2147217871},  // connection timeout
        {"22007", -2147217913},  // invalid datetime format
        {"22008", -2147217913},  // datetime field overflow
        {"22018", -2147217913},  // invalid character value for cast
        {"22001", -2147217833},  // string data, right truncated
        {"22003", -2147217833},  // numeric value out of range
        {"08001", -2147467259},  // unable to connect
        {"HY000", -2147467259},  // general error
        {"40001", -2147467259},  // deadlock victim
    };
    for (const auto& [state, number] : cases) EXPECT_EQ(errorNumberFor(state), number) << state;
}

TEST(OdbcErrorText, DropsTheVendorAndDriverPrefixes) {
    const std::vector<std::pair<const char*, const char*>> cases{
        {"[Microsoft][ODBC Driver 18 for SQL Server][SQL Server]Invalid object name 'Nada'.",
         "Invalid object name 'Nada'."},
        {"[FreeTDS][SQL Server]Incorrect syntax near 's'.", "Incorrect syntax near 's'."},
        {"[unixODBC][Driver Manager]Data source name not found and no default driver specified",
         "Data source name not found and no default driver specified"},
        {"Query timeout expired", "Query timeout expired"},
        {"[SQLite]no such table: t (1)\n", "no such table: t (1)"},
        {"A text with [brackets] inside", "A text with [brackets] inside"},
    };
    for (const auto& [raw, clean] : cases) EXPECT_EQ(cleanMessage(raw), clean) << raw;
}

TEST(OdbcErrorMapping, ServerDiagnosticsKeepTheirTextAndNativeNumber) {
    const Error error =
        odbcError({{"42S02", 208, "[FreeTDS][SQL Server]Invalid object name 'Nada'."},
                   {"01000", 3621, "[FreeTDS][SQL Server]The statement has been terminated."}},
                  Dialect::Tsql, kProviderName);
    EXPECT_EQ(error.number(), -2147217865);
    EXPECT_EQ(error.source(), "kvlnmov ODBC provider");
    EXPECT_EQ(error.description(), "Invalid object name 'Nada'.");
    EXPECT_EQ(error.nativeError(), 208);

    const Error keyViolation =
        odbcError({{"23000", 2627,
                    "[Microsoft][ODBC Driver 18 for SQL Server][SQL Server]Violation of PRIMARY "
                    "KEY constraint 'PK_Conceptos'. Cannot insert duplicate key in object "
                    "'dbo.Conceptos'. The duplicate key value is (A)."}},
                  Dialect::Tsql, kProviderName);
    EXPECT_EQ(keyViolation.number(), -2147217873);
    EXPECT_EQ(keyViolation.nativeError(), 2627);

    const Error silent = odbcError({}, Dialect::Tsql, kProviderName, "INSERT", "No connection.");
    EXPECT_EQ(silent.number(), -2147467259);
    EXPECT_EQ(silent.description(), "No connection.");
}

TEST(OdbcErrorMapping, SqliteDialectReadsSqliteResultCodes) {
    struct Case {
        Diagnostic diagnostic;
        const char* operation;
        std::int32_t number;
        const char* description;
    };
    const std::vector<Case> cases{
        {{"HY000", 19, "[SQLite]UNIQUE constraint failed: Conceptos.Codigo (19)"},
         "INSERT",
         -2147217873,
         "Violation of PRIMARY KEY constraint 'PK_Conceptos'. Cannot insert duplicate key in "
         "object 'dbo.Conceptos'."},
        {{"HY000", 19, "[SQLite]NOT NULL constraint failed: Movimientos.Apunte (19)"},
         "UPDATE",
         -2147217873,
         "Cannot insert the value NULL into column 'Apunte', table 'dbo.Movimientos'; column "
         "does not allow nulls. UPDATE fails."},
        {{"HY000", 5, "[SQLite]database is locked (5)"},
         "INSERT",
         -2147217871,
         "Query timeout expired"},
        {{"HY000", 1, "[SQLite]cannot commit - no transaction is active (1)"},
         "INSERT",
         -2147467259,
         "cannot commit - no transaction is active"},
        // Not a SQLite result code: numbered by its SQLSTATE like any other.
        {{"42000", 0, "[SQLite]syntax error"}, "INSERT", -2147217900, "syntax error"},
    };
    for (const Case& c : cases) {
        const Error error = odbcError({c.diagnostic}, Dialect::Sqlite, kProviderName, c.operation);
        EXPECT_EQ(error.number(), c.number) << c.diagnostic.message;
        EXPECT_EQ(error.description(), c.description) << c.diagnostic.message;
        EXPECT_EQ(error.nativeError(), c.diagnostic.nativeError) << c.diagnostic.message;
        EXPECT_EQ(error.source(), "kvlnmov ODBC provider");
    }
}

TEST(OdbcTexts, ConnectionStringLosesOnlyTheProvidersOwnKeys) {
    EXPECT_EQ(withoutKeys("Driver=SQLite3;Database=/tmp/x.db;Dialect=SQLite", {"Dialect"}),
              "Driver=SQLite3;Database=/tmp/x.db");
    EXPECT_EQ(withoutKeys(" dialect = sqlite ;DSN=Libros;Provider=MSDASQL;UID=sa;",
                          {"Dialect", "Provider"}),
              "DSN=Libros;UID=sa");
    EXPECT_EQ(withoutKeys("Driver={ODBC Driver 18 for SQL Server};Server=db1", {"Dialect"}),
              "Driver={ODBC Driver 18 for SQL Server};Server=db1");
}

TEST(OdbcTexts, ProceduresAreCalledThroughTheCallEscape) {
    EXPECT_EQ(procedureCall("CON_DevAsiento", 6, false), "{call CON_DevAsiento(?,?,?,?,?,?)}");
    EXPECT_EQ(procedureCall("CON_DevMovApunte", 3, false), "{call CON_DevMovApunte(?,?,?)}");
    EXPECT_EQ(procedureCall("Resumen", 0, false), "{call Resumen}");
    EXPECT_EQ(procedureCall("Total", 2, true), "{? = call Total(?)}");
}

TEST(OdbcTexts, SqlServerSessionsReadDatesInTheRegionalOrder) {
    setRegional(Regional{});
    EXPECT_EQ(sessionSetup("Microsoft SQL Server"),
              (std::vector<std::string>{"SET DATEFORMAT dmy"}));
    Regional monthFirst;
    monthFirst.shortDate = "mm/dd/yyyy";
    setRegional(monthFirst);
    EXPECT_EQ(sessionSetup("Microsoft SQL Server"),
              (std::vector<std::string>{"SET DATEFORMAT mdy"}));
    EXPECT_TRUE(sessionSetup("SQLite").empty());
    setRegional(Regional{});
}

TEST(OdbcTexts, NumberedMarkersBecomePositional) {
    using sqlite::SqlValue;
    const auto [text, values] = positionalMarkers(
        "SELECT ?1 + ?1, '?2', \"a?\", [b?] FROM t WHERE x = ?2 AND y = 'it''s ?'",
        {std::int64_t{5}, std::string("a")});
    EXPECT_EQ(text, "SELECT ? + ?, '?2', \"a?\", [b?] FROM t WHERE x = ? AND y = 'it''s ?'");
    EXPECT_EQ(values, (std::vector<SqlValue>{std::int64_t{5}, std::int64_t{5}, std::string("a")}));

    // A bare marker takes the number after the highest used so far.
    const auto [bare, ordered] = positionalMarkers(
        "VALUES (?, ?3, ?)", {std::int64_t{1}, std::int64_t{2}, std::int64_t{3}, std::int64_t{4}});
    EXPECT_EQ(bare, "VALUES (?, ?, ?)");
    EXPECT_EQ(ordered, (std::vector<SqlValue>{std::int64_t{1}, std::int64_t{3}, std::int64_t{4}}));
}

TEST(OdbcValues, AmountsAreReadExactlyFromText) {
    const std::vector<std::pair<const char*, std::int64_t>> cases{
        {"1234.5000", 12345000}, {"-0.1000", -1000}, {"922337203685477.5807", 9223372036854775807},
        {"0.00005", 0},  // half to even
        {"0.00015", 2},          {" 7 ", 70000},
    };
    for (const auto& [text, raw] : cases)
        EXPECT_EQ(currencyFromText(text, kProviderName), Variant(Currency::fromRaw(raw))) << text;
    EXPECT_EQ(errorOf([] { currencyFromText("12,5", kProviderName); }).number(), -2147217913);
}

TEST(OdbcOpen, FailuresComeFromTheDriverManager) {
    const Error noDriver = errorOf([] { openConnection("Driver=NoSuchDriver;Database=x.db"); });
    EXPECT_EQ(noDriver.number(), -2147467259);
    EXPECT_EQ(noDriver.source(), "kvlnmov ODBC provider");
    EXPECT_EQ(noDriver.description().find('['), std::string::npos) << noDriver.description();
    EXPECT_NE(noDriver.description().find("NoSuchDriver"), std::string::npos)
        << noDriver.description();

    // No provider named: an ODBC connection string without a data source.
    const Error noSource = errorOf([] { openConnection("Data Source=x.db"); });
    EXPECT_EQ(noSource.number(), -2147467259);
    EXPECT_EQ(noSource.source(), "kvlnmov ODBC provider");
    EXPECT_EQ(noSource.description(), "Data source name not found and no default driver specified");

    const Error dialect = errorOf([] { openConnection("Driver=SQLite3;Dialect=Oracle"); });
    EXPECT_EQ(dialect.number(), -2147467259);
    EXPECT_EQ(dialect.source(), "ADODB.Connection");
}

// Statements passed through as written to the SQLite ODBC driver: counts, typing by the
// driver's column descriptions, transactions and fetching as the driver reports them.
class OdbcPassThroughTest : public ::testing::Test {
  protected:
    void SetUp() override {
        connectionString_ = "Driver=" + sqliteDriver() + ";Database=" + database_.file() +
                            ";Timeout=100;JournalMode=WAL";
        db = openConnection(connectionString_);
        db->Execute(
            "CREATE TABLE Valores (Codigo INT PRIMARY KEY, Marca BIT, Nivel TINYINT, "
            "Dpto SMALLINT, Cantidad INT, Tasa FLOAT, Fecha DATETIME, Nombre VARCHAR(20))");
    }

    ConnectionRef another() const { return openConnection(connectionString_); }

    void insertValores(int first, int last) {
        db->BeginTrans();
        for (int i = first; i <= last; ++i) {
            db->Execute("INSERT INTO Valores (Codigo, Fecha) VALUES (" + std::to_string(i) +
                        ", '2026-01-01')");
        }
        db->CommitTrans();
    }

    TestDatabase database_{TestProvider::Odbc};
    std::string connectionString_;
    ConnectionRef db;
};

TEST_F(OdbcPassThroughTest, ExecuteReturnsTheDriversRowCounts) {
    EXPECT_EQ(db->providerName(), "kvlnmov ODBC provider");
    EXPECT_EQ(db->Execute("INSERT INTO Valores (Codigo, Nombre) VALUES (1, 'uno')"), 1);
    EXPECT_EQ(db->Execute("INSERT INTO Valores (Codigo, Nombre) VALUES (2, 'dos')"), 1);
    EXPECT_EQ(db->Execute("UPDATE Valores SET Dpto = 4"), 2);
    // The driver answers SQL_NO_DATA for a change that matches nothing.
    EXPECT_EQ(db->Execute("UPDATE Valores SET Dpto = 5 WHERE Codigo = 99"), 0);
    EXPECT_EQ(db->Execute("DELETE FROM Valores WHERE Codigo = 99"), 0);
    EXPECT_EQ(db->Execute("SELECT Codigo FROM Valores"), -1);
    EXPECT_EQ(db->Execute("DELETE FROM Valores WHERE Codigo = 1"), 1);
    EXPECT_EQ(query(db, "SELECT Codigo, Dpto FROM Valores"),
              (Rows{{Variant(std::int32_t(2)), Variant(std::int16_t(4))}}));
}

TEST_F(OdbcPassThroughTest, ValuesAreTypedByTheColumnDescriptions) {
    db->Execute(
        "INSERT INTO Valores VALUES (1, 1, 200, -3, 70000, 0.25, '2026-03-15 17:30:00', "
        "'Caja')");
    db->Execute("INSERT INTO Valores (Codigo) VALUES (2)");
    Recordset recordset;
    recordset.Open(
        "SELECT Marca, Nivel, Dpto, Cantidad, Tasa, Fecha, Nombre FROM Valores ORDER BY Codigo",
        db);
    const std::vector<std::tuple<const char*, DataType, Variant>> expected{
        {"Marca", DataType::Boolean, Variant(true)},
        {"Nivel", DataType::UnsignedTinyInt, Variant(std::uint8_t(200))},
        {"Dpto", DataType::SmallInt, Variant(std::int16_t(-3))},
        {"Cantidad", DataType::Integer, Variant(std::int32_t(70000))},
        {"Tasa", DataType::Double, Variant(0.25)},
        {"Fecha", DataType::Date, Variant(Date::ymd(2026, 3, 15).withTime(17, 30, 0))},
        {"Nombre", DataType::VarChar, Variant("Caja")},
    };
    ASSERT_EQ(recordset.FieldCount(), static_cast<int>(expected.size()));
    for (int i = 0; i < recordset.FieldCount(); ++i) {
        const auto& [name, type, value] = expected[static_cast<std::size_t>(i)];
        EXPECT_EQ(recordset.FieldInfo(i).name, name);
        EXPECT_EQ(recordset.FieldInfo(i).type, type) << name;
        EXPECT_EQ(recordset.Fields(name), value) << name;
    }
    recordset.MoveNext();
    for (const auto& [name, type, value] : expected)
        EXPECT_TRUE(recordset.Fields(name).isNull()) << name;
    recordset.MoveNext();
    EXPECT_TRUE(recordset.Eof());
}

TEST_F(OdbcPassThroughTest, RowsAreFetchedOnDemand) {
    // Row 301 holds a number too large for its tinyint column: reading it fails, and only
    // reading it, so nothing past the rows asked for has been read.
    insertValores(1, 400);
    db->Execute("UPDATE Valores SET Nivel = 300 WHERE Codigo = 301");
    Recordset recordset;
    recordset.Open("SELECT Codigo, Nivel FROM Valores ORDER BY Codigo", db);
    for (int i = 1; i <= 200; ++i, recordset.MoveNext())
        ASSERT_EQ(recordset.Fields("Codigo"), Variant(std::int32_t(i)));
    // Other queries run on the same connection meanwhile.
    EXPECT_EQ(query(db, "SELECT COUNT(*) FROM Valores"), (Rows{{Variant(std::int32_t(400))}}));
    for (int i = 201; i < 300; ++i, recordset.MoveNext())
        ASSERT_EQ(recordset.Fields("Codigo"), Variant(std::int32_t(i)));
    EXPECT_EQ(recordset.Fields("Codigo"), Variant(std::int32_t(300)));
    const Error error = errorOf([&] { recordset.MoveNext(); });
    EXPECT_EQ(error.number(), -2147217833);
    EXPECT_EQ(error.description(),
              "Arithmetic overflow error converting expression to data type tinyint.");
}

TEST_F(OdbcPassThroughTest, DriverErrorsAreNumberedBySqlState) {
    // Passed through, a SQLite error is the driver's general error with SQLite's text.
    const Error error = errorOf([&] { db->Execute("SELEC 1"); });
    EXPECT_EQ(error.number(), -2147467259);
    EXPECT_EQ(error.description(), "near \"SELEC\": syntax error (1)");
    EXPECT_EQ(error.nativeError(), 1);
    EXPECT_EQ(error.source(), "kvlnmov ODBC provider");
}

// The SQLite dialect (T-SQL translated, the numbering procedures run by the provider) runs
// every database suite in the test command's ODBC pass; here only what that pass does not see.
TEST(OdbcSqliteDialect, ErrorsKeepTheDriversNumberAndTheStringKeepsTheDialect) {
    const TestDatabase database{TestProvider::Odbc};
    const ConnectionRef db = database.connect();
    db->createCompanySchema();
    db->Execute("INSERT INTO Conceptos (Codigo) VALUES ('A')");
    const Error duplicate =
        errorOf([&] { db->Execute("INSERT INTO Conceptos (Codigo) VALUES ('a')"); });
    EXPECT_EQ(duplicate.number(), -2147217873);
    EXPECT_EQ(duplicate.source(), "kvlnmov ODBC provider");
    EXPECT_NE(duplicate.nativeError(), 0);
    // The dialect key is the provider's: the connection keeps the string it was given.
    EXPECT_NE(db->ConnectionString().find("Dialect=SQLite"), std::string::npos);
}

}  // namespace
}  // namespace kvlnmov::db::odbc
