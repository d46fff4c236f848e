// SQL Server statements run end to end on the SQLite provider: values, counts, identities,
// errors, transactions and the recordset's static contents. (Locks held by another
// connection are in operation_test.cpp.)

#include <sqlite3.h>

#include <fstream>

#include "provider_fixture.h"

namespace kvlnmov::db::testing {
namespace {

/// The embedded provider's name, for connections opened by their own connection string.
constexpr const char* kSqliteProvider = "kvlnmov SQLite provider";

class SqliteProviderTest : public ProviderTest {
  protected:
    void insertConcepts(int count) {
        db->BeginTrans();
        for (int i = 0; i < count; ++i) {
            char code[16];
            std::snprintf(code, sizeof code, "C%04d", i);
            db->Execute(std::string("INSERT INTO Conceptos (Codigo, Nombre) VALUES ('") + code +
                        "', 'Concepto " + std::to_string(i) + "')");
        }
        db->CommitTrans();
    }
};

TEST_F(SqliteProviderTest, AmountsReadBackExactly) {
    const std::vector<std::pair<const char*, std::int64_t>> cases{
        {"0.0001", 1},
        {"1234.5", 12345000},
        {"-0.1", -1000},
        {"922337203685477.5807", 9223372036854775807},
        {"-1234567.8912", -12345678912},
    };
    int line = 0;
    for (const auto& [literal, raw] : cases) {
        ++line;
        db->Execute(
            "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Apunte, Debe) VALUES "
            "(1, 2026, " +
            std::to_string(line) + ", " + literal + ")");
        EXPECT_EQ(scalar(db, "SELECT Debe FROM Movimientos WHERE Apunte = " + std::to_string(line)),
                  Variant(Currency::fromRaw(raw)))
            << literal;
    }
    EXPECT_EQ(scalar(db, "SELECT SUM(Debe) AS Total FROM Movimientos WHERE Apunte IN (1, 2, 3)"),
              Variant(Currency::fromRaw(1 + 12345000 - 1000)));
}

TEST_F(SqliteProviderTest, DatesCompareChronologicallyAcrossMonthsAndYears) {
    const std::vector<std::pair<int, const char*>> entries{
        {1, "10/11/2026"}, {2, "31/12/2025"}, {3, "02/02/2026"},       {4, "01/01/2026"},
        {5, "15/01/2026"}, {6, "1/2/2026"},   {7, "15/01/2026 10:00"},
    };
    for (const auto& [code, date] : entries) {
        db->Execute(
            "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre, "
            "Usuario) VALUES (1, 2026, " +
            std::to_string(code) + ", '" + date + "', 0, 7)");
    }
    // Every value of every row, as whole numbers.
    auto numbers = [&](const std::string& sql) {
        std::vector<std::int32_t> result;
        for (const auto& row : query(db, sql)) {
            for (const Variant& value : row) result.push_back(value.toLong());
        }
        return result;
    };
    using Numbers = std::vector<std::int32_t>;
    EXPECT_EQ(numbers("SELECT Codigo FROM Asientos ORDER BY Fecha, Codigo"),
              (Numbers{2, 4, 5, 7, 6, 3, 1}));
    EXPECT_EQ(numbers("SELECT Codigo FROM Asientos WHERE Fecha BETWEEN '01/01/2026' AND "
                      "'31/01/2026' ORDER BY Codigo"),
              (Numbers{4, 5, 7}));
    EXPECT_EQ(numbers("SELECT Codigo FROM Asientos WHERE Fecha BETWEEN '15/01/2026 00:00:01' "
                      "AND '15/01/2026 23:59:59.997' ORDER BY Fecha DESC"),
              (Numbers{7}));
    EXPECT_EQ(numbers("SELECT Codigo FROM Asientos WHERE Fecha > '31/01/2026' ORDER BY Codigo"),
              (Numbers{1, 3, 6}));
    EXPECT_EQ(numbers("SELECT Codigo FROM Asientos WHERE Fecha < '1/1/2026'"), (Numbers{2}));
    EXPECT_EQ(numbers("SELECT Codigo FROM Asientos WHERE Fecha IN ('15/01/2026', '1/2/2026') "
                      "ORDER BY Codigo"),
              (Numbers{5, 6}));
    EXPECT_EQ(numbers("SELECT YEAR(Fecha), MONTH(Fecha), DAY(Fecha) FROM Asientos WHERE "
                      "Codigo = 7"),
              (Numbers{2026, 1, 15}));
    EXPECT_EQ(scalar(db, "SELECT Fecha FROM Asientos WHERE Codigo = 6"),
              Variant(Date::ymd(2026, 2, 1)));
    EXPECT_EQ(query(db, "SELECT MAX(Fecha) AS Ultima, MIN(Fecha) AS Primera FROM Asientos"),
              (Rows{{Variant(Date::ymd(2026, 11, 10)), Variant(Date::ymd(2025, 12, 31))}}));
}

TEST_F(SqliteProviderTest, BitColumnsAreBooleansSoNotWorks) {
    db->Execute(
        "INSERT INTO Empresas_Ejercicios (Cod_Empresa, Cod_Ejercicio, Estado, "
        "FechaInicio, FechaFin) VALUES (1, 2026, 1, '01/01/2026', '31/12/2026')");
    db->Execute(
        "INSERT INTO Empresas_Ejercicios (Cod_Empresa, Cod_Ejercicio, FechaInicio, "
        "FechaFin) VALUES (1, 2027, '01/01/2027', '31/12/2027')");
    db->Execute(
        "INSERT INTO Empresas_Ejercicios (Cod_Empresa, Cod_Ejercicio, Estado, "
        "FechaInicio, FechaFin) VALUES (1, 2028, NULL, '01/01/2028', '31/12/2028')");
    const Rows rows = query(db, "SELECT Estado FROM Empresas_Ejercicios ORDER BY Cod_Ejercicio");
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0][0], Variant(true));
    EXPECT_FALSE(!rows[0][0].toBoolean());  // Not Estado: closed
    EXPECT_EQ(rows[1][0], Variant(false));
    EXPECT_TRUE(!rows[1][0].toBoolean());  // Not Estado: open
    EXPECT_TRUE(rows[2][0].isNull());
}

TEST_F(SqliteProviderTest, ValuesComeTypedByTheirSqlServerColumn) {
    db->Execute(
        "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, "
        "Fecha_Asiento, Cuenta, Debe, M347, FechaUltMod) VALUES (1, 2026, 5, 70000, "
        "'15/03/2026', '43000001', 12.5, 1, '15/03/2026 17:30:00')");
    db->Execute("INSERT INTO Conceptos (Codigo, Nombre, Impuestos) VALUES ('V', 'Ventas', 3)");
    Recordset recordset;
    recordset.Open(
        "SELECT Cod_Ejercicio, Apunte, Debe, Fecha_Asiento, FechaUltMod, M347, Cuenta, "
        "Concepto FROM Movimientos",
        db);
    const std::vector<std::pair<DataType, Variant>> expected{
        {DataType::SmallInt, Variant(i16(2026))},
        {DataType::Integer, Variant(std::int32_t(70000))},
        {DataType::Currency, Variant(Currency::fromRaw(125000))},
        {DataType::Date, Variant(Date::ymd(2026, 3, 15))},
        {DataType::Date, Variant(Date::ymd(2026, 3, 15).withTime(17, 30, 0))},
        {DataType::Boolean, Variant(true)},
        {DataType::VarChar, Variant("43000001")},
        {DataType::VarChar, Variant::null()},
    };
    ASSERT_EQ(recordset.FieldCount(), static_cast<int>(expected.size()));
    for (int i = 0; i < recordset.FieldCount(); ++i) {
        EXPECT_EQ(recordset.FieldInfo(i).type, expected[i].first) << recordset.FieldInfo(i).name;
        EXPECT_EQ(recordset.Fields(i), expected[i].second) << recordset.FieldInfo(i).name;
    }
    EXPECT_EQ(recordset.Fields("cuenta"), Variant("43000001"));
    EXPECT_EQ(scalar(db, "SELECT Impuestos FROM Conceptos"), Variant(u8(3)));
}

TEST_F(SqliteProviderTest, IdentityFollowsEachInsertOfTheConnection) {
    // @@IDENTITY is numeric: it reads as a Double.
    auto identity = [&](const ConnectionRef& connection) {
        const Variant value = scalar(connection, "SELECT ISNULL(@@IDENTITY, 0) AS Id");
        EXPECT_EQ(value.type(), VariantType::Double);
        return value.toLong();
    };
    EXPECT_EQ(identity(db), 0);  // Null before any insert
    EXPECT_TRUE(scalar(db, "SELECT @@IDENTITY AS Id").isNull());

    db->Execute(
        "INSERT INTO Conc_Extractos (Cod_Empresa, Cod_Ejercicio, Concepto) "
        "VALUES (1, 2026, 'uno')");
    EXPECT_EQ(identity(db), 1);
    db->Execute(
        "INSERT INTO Conc_Extractos (Cod_Empresa, Cod_Ejercicio, Concepto) "
        "VALUES (1, 2026, 'dos')");
    EXPECT_EQ(identity(db), 2);
    db->Execute("UPDATE Conc_Extractos SET Concepto = 'x'");
    db->Execute("DELETE FROM Conc_Extractos WHERE Codigo = 1");
    EXPECT_EQ(identity(db), 2);  // other statements leave it alone

    // Another connection has its own.
    const ConnectionRef other = another();
    EXPECT_EQ(identity(other), 0);
    other->Execute("INSERT INTO Conc_Extractos (Cod_Empresa) VALUES (1)");
    EXPECT_EQ(identity(other), 3);
    EXPECT_EQ(identity(db), 2);

    // A table without identity, or an insert of no rows, makes it Null.
    db->Execute("INSERT INTO Conceptos (Codigo, Nombre) VALUES ('A', 'a')");
    EXPECT_EQ(identity(db), 0);
    db->Execute(
        "INSERT INTO BakAnulado_Asientos (Cod_Empresa, Cod_Ejercicio, Codigo) "
        "SELECT Cod_Empresa, Cod_Ejercicio, Codigo FROM Asientos WHERE Codigo = 1");
    EXPECT_EQ(identity(db), 0);
    db->Execute(
        "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha) "
        "VALUES (1, 2026, 1, '02/01/2026')");
    db->Execute(
        "INSERT INTO BakAnulado_Asientos (Cod_Empresa, Cod_Ejercicio, Codigo) "
        "SELECT Cod_Empresa, Cod_Ejercicio, Codigo FROM Asientos WHERE Codigo = 1");
    EXPECT_EQ(identity(db), 1);
}

TEST_F(SqliteProviderTest, TopIsNullAndRowCounts) {
    struct Case {
        const char* statement;
        std::int32_t rows;
    };
    const std::vector<Case> cases{
        {"INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha) VALUES (1, 2026, 1, "
         "'01/03/2026')",
         1},
        {"INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha) VALUES (1, 2026, 2, "
         "'02/03/2026')",
         1},
        {"INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha) VALUES (1, 2026, 3, "
         "'03/03/2026')",
         1},
        {"UPDATE Asientos SET Usuario = 4 WHERE Codigo >= 2", 2},
        {"UPDATE Asientos SET Usuario = 4 WHERE Codigo = 99", 0},
        {"SELECT Codigo FROM Asientos", -1},
        {"DELETE FROM Asientos WHERE Codigo = 3", 1},
    };
    for (const Case& c : cases) EXPECT_EQ(db->Execute(c.statement), c.rows) << c.statement;

    const Rows top = query(db, "SELECT TOP 1 Codigo FROM Asientos ORDER BY Codigo DESC");
    EXPECT_EQ(top, (Rows{{std::int32_t(2)}}));
    EXPECT_EQ(scalar(db,
                     "SELECT ISNULL(FechaUltMod, '') AS FechaUltMod FROM Asientos WHERE "
                     "Codigo = 1"),
              Variant(Date::ymd(1900, 1, 1)));
}

TEST_F(SqliteProviderTest, RefusedStatementsChangeNothing) {
    db->Execute("INSERT INTO Conceptos (Codigo, Nombre) VALUES ('A', 'Uno')");
    struct Case {
        const char* statement;
        std::int32_t number;
        const char* description;
    };
    const std::vector<Case> cases{
        {"UPDATE Conceptos SET Nombre = 'x' WHERE Codigo = 'A'; DELETE FROM Conceptos", -2147217900,
         nullptr},
        {"INSERT INTO Conceptos (Codigo, Nombre, Debe) VALUES ('1', 'O'Brien', 0)", -2147217900,
         "Incorrect syntax near 'Brien'."},
        {"INSERT INTO Conceptos (Codigo, Nombre) VALUES ('a', 'Otro')", -2147217873,
         "Violation of PRIMARY KEY constraint 'PK_Conceptos'. Cannot insert duplicate key in "
         "object 'dbo.Conceptos'."},
        {"INSERT INTO SGD_Usuarios (Codigo, Nombre) VALUES (1, 'Ana')", -2147217873,
         "Cannot insert the value NULL into column 'ForzarPass', table 'dbo.SGD_Usuarios'; "
         "column does not allow nulls. INSERT fails."},
        {"UPDATE Conceptos SET Codigo = NULL", -2147217873,
         "Cannot insert the value NULL into column 'Codigo', table 'dbo.Conceptos'; column does "
         "not allow nulls. UPDATE fails."},
        {"DELETE FROM Nada", -2147217865, "Invalid object name 'Nada'."},
    };
    for (const Case& c : cases) {
        const Error error = errorOf([&] { db->Execute(c.statement); });
        EXPECT_EQ(error.number(), c.number) << c.statement;
        EXPECT_EQ(error.source(), kProvider) << c.statement;
        if (c.description) {
            EXPECT_EQ(error.description(), c.description) << c.statement;
        }
    }
    EXPECT_EQ(query(db, "SELECT Codigo, Nombre FROM Conceptos"),
              (Rows{{Variant("A"), Variant("Uno")}}));
    EXPECT_EQ(scalar(db, "SELECT COUNT(*) AS N FROM SGD_Usuarios"), Variant(std::int32_t(0)));
}

TEST_F(SqliteProviderTest, TransactionsCommitRollBackAndRefuseMisuse) {
    db->BeginTrans();
    db->Execute("INSERT INTO Conceptos (Codigo) VALUES ('R')");
    db->RollbackTrans();
    db->BeginTrans();
    db->Execute("INSERT INTO Conceptos (Codigo) VALUES ('C')");
    EXPECT_EQ(errorOf([&] { db->BeginTrans(); }).number(), -2147467259);
    db->CommitTrans();
    EXPECT_EQ(query(db, "SELECT Codigo FROM Conceptos"), (Rows{{Variant("C")}}));
    EXPECT_EQ(errorOf([&] { db->CommitTrans(); }).number(), -2147467259);
    EXPECT_EQ(errorOf([&] { db->RollbackTrans(); }).number(), -2147467259);
}

TEST_F(SqliteProviderTest, RecordsetKeepsTheRowsItFoundWithoutHoldingBackCommits) {
    insertConcepts(3);
    Recordset recordset;
    recordset.Open("SELECT Codigo FROM Conceptos ORDER BY Codigo", db);
    db->Execute("INSERT INTO Conceptos (Codigo) VALUES ('A0')");
    db->Execute("INSERT INTO Conceptos (Codigo) VALUES ('Z9')");
    db->Execute("DELETE FROM Conceptos WHERE Codigo = 'C0001'");
    // The changes are committed: another connection sees them while the recordset is open.
    EXPECT_EQ(scalar(another(), "SELECT COUNT(*) AS N FROM Conceptos"), Variant(std::int32_t(4)));
    std::vector<std::string> seen;
    for (; !recordset.Eof(); recordset.MoveNext())
        seen.push_back(recordset.Fields("Codigo").toText());
    EXPECT_EQ(seen, (std::vector<std::string>{"C0000", "C0001", "C0002"}));
}

TEST_F(SqliteProviderTest, TheSameQueryCanBeOpenTwiceAtOnce) {
    insertConcepts(3);
    const char* sql = "SELECT Codigo FROM Conceptos ORDER BY Codigo";
    Recordset first;
    first.Open(sql, db);
    first.MoveNext();
    Recordset second;
    second.Open(sql, db);
    EXPECT_EQ(first.Fields(0), Variant("C0001"));
    EXPECT_EQ(second.Fields(0), Variant("C0000"));
    second.MoveNext();
    first.MoveNext();
    EXPECT_EQ(first.Fields(0), Variant("C0002"));
    EXPECT_EQ(second.Fields(0), Variant("C0001"));
    first.Close();
    second.Close();
    EXPECT_EQ(query(db, sql).size(), 3u);
}

TEST_F(SqliteProviderTest, SchemaMadeByAnotherConnectionIsSeen) {
    const kvlnmov::testing::TestDatabase empty;
    const ConnectionRef early = empty.connect();
    EXPECT_EQ(errorOf([&] { early->Execute("DELETE FROM Conceptos"); }).number(), -2147217865);
    empty.connect()->createCompanySchema();
    EXPECT_EQ(early->Execute("DELETE FROM Conceptos"), 0);
}

// A statement whose translation and prepared statement are cached runs again, correctly,
// after another connection rebuilt its table with the columns in another order and one more:
// in a statement of its own, and as the first statement of a transaction.
TEST_F(SqliteProviderTest, AStatementRunsAgainAfterAnotherConnectionChangedItsTable) {
    const kvlnmov::testing::TestDatabase database;
    const ConnectionRef connection = database.connect();
    connection->createCompanySchema();
    connection->Execute("INSERT INTO Conceptos (Codigo, Nombre) VALUES ('VTA', 'Ventas')");
    const std::string sql = "SELECT * FROM Conceptos WHERE Codigo = 'VTA'";
    const auto before = query(connection, sql);
    ASSERT_EQ(before.size(), 1u);

    auto rebuild = [&](const char* extraColumn, const char* value) {
        sqlite3* other = nullptr;
        ASSERT_EQ(sqlite3_open(database.file().c_str(), &other), SQLITE_OK);
        const std::string script =
            std::string("BEGIN; DROP TABLE Conceptos; CREATE TABLE Conceptos (") + extraColumn +
            " INT, Nombre VARCHAR(60), Codigo VARCHAR(10) PRIMARY KEY); INSERT INTO Conceptos "
            "VALUES (" +
            value + ", 'Ventas nacionales', 'VTA'); COMMIT;";
        EXPECT_EQ(sqlite3_exec(other, script.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(other);
        sqlite3_close(other);
    };

    rebuild("Orden", "7");
    Recordset alone;
    alone.Open(sql, connection);
    ASSERT_EQ(alone.FieldCount(), 3);
    EXPECT_EQ(alone.Fields("Orden"), Variant(std::int32_t{7}));
    EXPECT_EQ(alone.Fields("Nombre"), Variant("Ventas nacionales"));
    EXPECT_EQ(alone.Fields("Codigo"), Variant("VTA"));
    alone.Close();

    rebuild("Prioridad", "3");
    connection->BeginTrans();
    Recordset inTransaction;
    inTransaction.Open(sql, connection);
    ASSERT_EQ(inTransaction.FieldCount(), 3);
    EXPECT_EQ(inTransaction.FieldInfo(0).name, "Prioridad");
    EXPECT_EQ(inTransaction.Fields("Prioridad"), Variant(std::int32_t{3}));
    inTransaction.Close();
    EXPECT_EQ(connection->Execute("UPDATE Conceptos SET Prioridad = 4 WHERE Codigo = 'VTA'"), 1);
    connection->CommitTrans();
    EXPECT_EQ(scalar(connection, "SELECT Prioridad FROM Conceptos"), Variant(std::int32_t{4}));
}

TEST(OpenConnection, ReadsTheConnectionString) {
    const std::vector<std::tuple<const char*, const char*, const char*>> cases{
        {"Provider=SQLite;Data Source=/tmp/a.db", "data source", "/tmp/a.db"},
        {" provider = SQLite ; Data Source = x.db ;Busy Timeout=100", "Busy Timeout", "100"},
        {"Provider=SQLite;Data Source=x.db", "Busy Timeout", ""},
        {"Provider=SQLite;Data Source=x.db", "Provider", "SQLite"},
        {"", "Provider", ""},
    };
    for (const auto& [text, key, value] : cases)
        EXPECT_EQ(connectionStringValue(text, key), value) << text << " / " << key;
}

TEST(OpenConnection, RefusesWhatItCannotOpen) {
    const std::string notADatabase =
        (std::filesystem::temp_directory_path() / "kvlnmov-not-a-database.db").string();
    std::ofstream(notADatabase) << "this is plain text, long enough to fill a database header, "
                                   "which SQLite reads first to tell what the file holds....";
    const std::vector<std::pair<std::string, std::string>> cases{
        {"Provider=Other;Data Source=x.db", "ADODB.Connection"},
        {"Provider=SQLite", "ADODB.Connection"},
        {"Provider=SQLite;Data Source=x.db;Busy Timeout=soon", "ADODB.Connection"},
        {"Provider=SQLite;Data Source=/nonexistent-folder/x.db", kSqliteProvider},
        {"Provider=SQLite;Data Source=" + notADatabase, kSqliteProvider},
    };
    for (const auto& [text, source] : cases) {
        const Error error = errorOf([&] { openConnection(text); });
        EXPECT_EQ(error.number(), -2147467259) << text;
        EXPECT_EQ(error.source(), source) << text;
        EXPECT_FALSE(error.description().empty()) << text;
    }
    std::filesystem::remove(notADatabase);
}

TEST(OpenConnection, InMemoryDatabaseIsPrivateToItsConnection) {
    const ConnectionRef first = openConnection("Provider=SQLite;Data Source=:memory:");
    first->createCompanySchema();
    first->Execute("INSERT INTO Conceptos (Codigo) VALUES ('M')");
    EXPECT_EQ(first->providerName(), kSqliteProvider);
    const ConnectionRef second = openConnection("Provider=SQLite;Data Source=:memory:");
    EXPECT_EQ(errorOf([&] { second->Execute("DELETE FROM Conceptos"); }).number(), -2147217865);
}

}  // namespace
}  // namespace kvlnmov::db::testing
