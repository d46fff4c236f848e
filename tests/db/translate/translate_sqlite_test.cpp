// Translated statements run on SQLite over the company tables and give the rows the server
// would give: dates in calendar order, exact money, joins that change only what they match.

#include <gtest/gtest.h>

#include "db/translate/translate_support.h"

namespace kvlnmov::db::sqlite::testing {
namespace {

class OnSqlite : public ::testing::Test {
  protected:
    std::vector<Row> run(const std::string& tsql) { return db_.runTsql(tsql); }

    void addEntry(int code, const std::string& date) {
        run("INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre, Usuario) "
            "VALUES (1, 2026, " +
            std::to_string(code) + ", '" + date + "', 0, 3)");
    }

    void addLine(int entry, int line, const std::string& account, const std::string& debit,
                 const std::string& conceptCode = "C01") {
        run("INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, "
            "Fecha_Asiento, Cuenta, Cto_Aut, Concepto, Debe, Haber, Dpto) VALUES (1, 2026, " +
            std::to_string(entry) + ", " + std::to_string(line) + ", '15/03/2026', '" + account +
            "', '" + conceptCode + "', 'Linea', " + debit + ", 0, 0)");
    }

    MemoryDatabase db_;
};

TEST_F(OnSqlite, DatesCompareInCalendarOrderAcrossMonthsAndYears) {
    addEntry(1, "31/12/2025");
    addEntry(2, "01/01/2026");
    addEntry(3, "15/01/2026 10:00");
    addEntry(4, "15/01/2026");
    addEntry(5, "31/01/2026 23:59:59.997");
    addEntry(6, "1/2/2026");
    addEntry(7, "9/11/2026");
    addEntry(8, "10/2/2026");
    EXPECT_EQ(run("SELECT Codigo FROM Asientos WHERE Fecha BETWEEN '01/01/2026' AND "
                  "'31/01/2026 23:59:59.997' ORDER BY Fecha"),
              (std::vector<Row>{{"2"}, {"4"}, {"3"}, {"5"}}));
    EXPECT_EQ(run("SELECT Codigo FROM Asientos WHERE Fecha > '31/01/2026' ORDER BY Fecha DESC"),
              (std::vector<Row>{{"7"}, {"8"}, {"6"}, {"5"}}));
    EXPECT_EQ(run("SELECT Codigo FROM Asientos WHERE Fecha < '2026-01-01'"),
              (std::vector<Row>{{"1"}}));
    EXPECT_EQ(run("SELECT MAX(Fecha), MIN(Fecha) FROM Asientos"),
              (std::vector<Row>{{"2026-11-09", "2025-12-31"}}));
    EXPECT_EQ(run("SELECT COUNT(*) FROM Asientos WHERE Fecha IN ('15/01/2026', '1/2/2026')"),
              (std::vector<Row>{{"2"}}));
    EXPECT_EQ(run("SELECT YEAR(Fecha), MONTH(Fecha), DAY(Fecha) FROM Asientos WHERE Codigo = 3"),
              (std::vector<Row>{{"2026", "1", "15"}}));
}

TEST_F(OnSqlite, DateArithmeticCountsDaysInCanonicalForm) {
    addEntry(1, "31/01/2026");
    addEntry(2, "31/12/2026 18:00");
    EXPECT_EQ(run("SELECT Fecha + 1, Fecha - 31 FROM Asientos ORDER BY Codigo"),
              (std::vector<Row>{{"2026-02-01", "2025-12-31"},
                                {"2027-01-01 18:00:00.000", "2026-11-30 18:00:00.000"}}));
}

TEST_F(OnSqlite, NullDatesReadAsTheFirstOfJanuary1900) {
    run("INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, FechaCreacion) VALUES "
        "(1, 2026, 5, '15/03/2026', NULL)");
    EXPECT_EQ(run("SELECT ISNULL(a.FechaCreacion,'') AS FechaCreacion, ISNULL(b.Usuario, 0) AS "
                  "UsuarioBloqueo FROM Asientos a LEFT JOIN Asientos_Bloqueo b ON a.Codigo = "
                  "b.Codigo WHERE a.Codigo = 5"),
              (std::vector<Row>{{"1900-01-01", "0"}}));
}

TEST_F(OnSqlite, UpdateJoinChangesOnlyTheMatchedRows) {
    addLine(5, 10, "43000001", "100");
    addLine(5, 11, "70000000", "0");
    addLine(6, 12, "43000002", "50");
    for (int line : {10, 11, 12, 13}) {
        run("INSERT INTO Conc_Extractos (Cod_Empresa, Cod_Ejercicio, Importe, Pendiente, "
            "Asiento, Apunte_Mto) VALUES (1, 2026, 1, 0, 99, " +
            std::to_string(line) + ")");
    }
    run("UPDATE ce SET Pendiente=1, Asiento=0, Apunte_Mto=0 FROM Movimientos m INNER JOIN "
        "Conc_Extractos ce ON ce.Cod_Empresa = m.Cod_Empresa AND ce.Cod_Ejercicio = "
        "m.Cod_Ejercicio AND ce.Apunte_Mto = m.Apunte WHERE m.Cod_Empresa =1 AND m.Cod_Ejercicio "
        "=2026 AND m.Cod_Asiento =5");
    EXPECT_EQ(db_.changes(), 2);
    EXPECT_EQ(run("SELECT Codigo, Pendiente, Asiento, Apunte_Mto FROM Conc_Extractos ORDER BY "
                  "Codigo"),
              (std::vector<Row>{{"1", "1", "0", "0"},
                                {"2", "1", "0", "0"},
                                {"3", "0", "99", "12"},
                                {"4", "0", "99", "13"}}));
}

TEST_F(OnSqlite, UpdateJoinByTableNameOrReadingTheJoinedRow) {
    run("INSERT INTO Conceptos (Codigo, Nombre) VALUES ('C01', 'Cobro cliente')");
    run("INSERT INTO Conceptos (Codigo, Nombre) VALUES ('C02', 'Pago proveedor')");
    addLine(5, 10, "43000001", "100", "C01");
    addLine(5, 11, "40000001", "0", "C02");
    addLine(5, 12, "57000001", "0", "C09");
    addLine(6, 13, "43000002", "50", "C01");
    run("UPDATE Movimientos SET Concepto = c.Nombre FROM Movimientos INNER JOIN Conceptos c ON "
        "c.Codigo = Movimientos.Cto_Aut WHERE Movimientos.Cod_Asiento = 5");
    EXPECT_EQ(db_.changes(), 2);
    EXPECT_EQ(
        run("SELECT Apunte, Concepto FROM Movimientos ORDER BY Apunte"),
        (std::vector<Row>{
            {"10", "Cobro cliente"}, {"11", "Pago proveedor"}, {"12", "Linea"}, {"13", "Linea"}}));
    // The target may also stay out of the FROM list; it is then joined to it.
    run("UPDATE Movimientos SET Punteo = 1 FROM Conceptos c WHERE c.Codigo = "
        "Movimientos.Cto_Aut AND c.Nombre LIKE 'pago%'");
    EXPECT_EQ(run("SELECT Apunte FROM Movimientos WHERE Punteo = 1"), (std::vector<Row>{{"11"}}));
    run("DELETE m FROM Movimientos m JOIN Conceptos c ON c.Codigo = m.Cto_Aut WHERE m.Cod_Asiento "
        "= 6");
    EXPECT_EQ(run("SELECT COUNT(*) FROM Movimientos"), (std::vector<Row>{{"3"}}));
}

TEST_F(OnSqlite, MoneyStaysExact) {
    run("INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel, D3) VALUES (1, 2026, "
        "'430', 3, 0)");
    // Repeated through the cache: the same shape, the same value each time.
    db_.exec("BEGIN");
    for (int i = 0; i < 10000; ++i) {
        run("UPDATE Acumulados SET D3 = D3 + 0.1 WHERE Cod_Empresa =1 AND Cod_Ejercicio =2026 "
            "AND Cuenta ='430'");
    }
    db_.exec("COMMIT");
    EXPECT_EQ(run("SELECT D3 FROM Acumulados"), (std::vector<Row>{{"10000000"}}));

    for (int line = 1; line <= 10; ++line) addLine(5, line, "43000001", "0.1");
    addLine(5, 11, "43000001", "-0.3");
    EXPECT_EQ(run("SELECT ISNULL(SUM(a.Debe), 0) AS SumDebe, ISNULL(SUM(a.Haber), 0) AS SumHaber "
                  "FROM Movimientos a WHERE a.Cod_Asiento = 5"),
              (std::vector<Row>{{"7000", "0"}}));
    EXPECT_EQ(run("SELECT ISNULL(SUM(Debe), 0) FROM Movimientos WHERE Cod_Asiento = 9"),
              (std::vector<Row>{{"0"}}));
}

TEST_F(OnSqlite, MoneyArithmeticRoundsToFourDecimalsLikeTheServer) {
    addLine(5, 1, "43000001", "10");
    addLine(5, 2, "43000001", "-10");
    addLine(5, 3, "43000001", "1.2345");
    EXPECT_EQ(run("SELECT Debe / 3, Debe * 2, Debe * Debe, Debe * 0.21, 1 / Debe, Debe + Dpto "
                  "FROM Movimientos ORDER BY Apunte"),
              (std::vector<Row>{{"33333", "200000", "1000000", "21000", "1000", "100000"},
                                {"-33333", "-200000", "1000000", "-21000", "-1000", "-100000"},
                                {"4115", "24690", "15240", "2592", "8100", "12345"}}));
    EXPECT_EQ(run("SELECT AVG(Debe), CAST(SUM(Debe) AS INT) FROM Movimientos WHERE Apunte = 3"),
              (std::vector<Row>{{"12345", "1"}}));
    // 10, -10 and 1.2345 average to 0.41150 exactly; whole numbers average as integers.
    EXPECT_EQ(run("SELECT AVG(Debe), AVG(Apunte), AVG(-Debe) FROM Movimientos"),
              (std::vector<Row>{{"4115", "2", "-4115"}}));
    EXPECT_EQ(run("SELECT CAST(Debe AS FLOAT), Debe / 2.5 FROM Movimientos WHERE Apunte = 3"),
              (std::vector<Row>{{"1.2345", "4938"}}));
}

TEST_F(OnSqlite, LargeAmountsMultiplyWithinSixtyFourBits) {
    // 5,000,000 x 3,000,000.1234: the raw product (1.5e21) would not fit; the result does.
    addLine(5, 1, "43000001", "5000000");
    addLine(5, 2, "43000001", "-5000000.5");
    EXPECT_EQ(run("SELECT Debe * 3000000.1234 FROM Movimientos ORDER BY Apunte"),
              (std::vector<Row>{{"150000006170000000"}, {"-150000021170000617"}}));
}

TEST_F(OnSqlite, BitsAreStoredAsZeroOrOne) {
    run("INSERT INTO Conceptos (Codigo, Nombre, Debe, Automatico, M347) VALUES ('C01', 'Ventas', "
        "-1, 'TRUE', 0)");
    run("UPDATE Conceptos SET M347 = 7 WHERE Codigo = 'c01'");
    EXPECT_EQ(run("SELECT Debe, Automatico, M347 FROM Conceptos WHERE Debe = 1"),
              (std::vector<Row>{{"1", "1", "1"}}));
}

TEST_F(OnSqlite, TopAndOrderByPickTheFirstRows) {
    for (int code : {4, 9, 2, 7}) {
        run("INSERT INTO SGD_Usuarios (Codigo, Nombre, ForzarPass) VALUES (" +
            std::to_string(code) + ", 'U" + std::to_string(code) + "', 0)");
    }
    EXPECT_EQ(run("SELECT * FROM SGD_Usuarios WHERE Codigo IN (SELECT TOP 1 Codigo FROM "
                  "SGD_Usuarios WHERE Codigo < 7 ORDER BY Codigo DESC)")[0][1],
              "U4");
    EXPECT_EQ(run("SELECT TOP (2) Nombre FROM SGD_Usuarios ORDER BY Codigo DESC"),
              (std::vector<Row>{{"U9"}, {"U7"}}));
    EXPECT_EQ(run("SELECT Codigo FROM SGD_Usuarios WHERE Codigo IN (SELECT ISNULL(MIN(Codigo), 0) "
                  "AS Codigo FROM SGD_Usuarios)"),
              (std::vector<Row>{{"2"}}));
    EXPECT_EQ(run("SELECT Codigo FROM SGD_Usuarios WHERE Codigo IN (SELECT TOP 1 Codigo FROM "
                  "SGD_Usuarios WHERE Codigo > 9 ORDER BY Codigo ASC)"),
              (std::vector<Row>{}));
}

TEST_F(OnSqlite, IdentityIsTheSessionsValue) {
    EXPECT_EQ(run("SELECT ISNULL(@@IDENTITY, 0) AS Id"), (std::vector<Row>{{"0"}}));
    db_.session().identity = 17;
    EXPECT_EQ(run("SELECT ISNULL(@@IDENTITY, 0) AS Id"), (std::vector<Row>{{"17"}}));
    db_.session().identity.reset();
    EXPECT_EQ(run("SELECT @@IDENTITY"), (std::vector<Row>{{"NULL"}}));
}

TEST_F(OnSqlite, TextComparesWithoutRegardToCase) {
    run("INSERT INTO Conceptos (Codigo, Nombre) VALUES ('C01', 'Ventas Mostrador')");
    run("INSERT INTO Conceptos (Codigo, Nombre) VALUES ('C02', 'Compras')");
    EXPECT_EQ(run("SELECT Codigo FROM Conceptos WHERE Nombre = 'VENTAS MOSTRADOR'"),
              (std::vector<Row>{{"C01"}}));
    EXPECT_EQ(run("SELECT Codigo FROM Conceptos WHERE LOWER(Nombre) = 'COMPRAS'"),
              (std::vector<Row>{{"C02"}}));
    EXPECT_EQ(run("SELECT Codigo FROM Conceptos WHERE Nombre LIKE 'ventas%'"),
              (std::vector<Row>{{"C01"}}));
    EXPECT_EQ(run("SELECT Codigo FROM Conceptos WHERE Codigo BETWEEN 'c01' AND 'C01'"),
              (std::vector<Row>{{"C01"}}));
}

TEST_F(OnSqlite, TextFunctionsAndConcatenation) {
    run("INSERT INTO Cuentas (Cod_Empresa, Cod_Ejercicio, Cuenta, Nombre) VALUES (1, 2026, "
        "'43000001', 'Clientes  ')");
    EXPECT_EQ(run("SELECT Cuenta + ' - ' + RTRIM(Nombre), LEN(Nombre), LEFT(Cuenta, 3), "
                  "RIGHT(Cuenta, 2), RIGHT(Cuenta, 20), SUBSTRING(Cuenta, 2, 3), "
                  "UPPER(Nombre) + '|' FROM Cuentas"),
              (std::vector<Row>{
                  {"43000001 - Clientes", "8", "430", "01", "43000001", "300", "CLIENTES  |"}}));
    EXPECT_EQ(run("SELECT CONVERT(VARCHAR(10), CAST('15/03/2026' AS DATETIME), 103), "
                  "CAST(Cuenta AS INT) + 1, CAST(12.5 AS MONEY), CAST(Cuenta AS VARCHAR(3)) FROM "
                  "Cuentas"),
              (std::vector<Row>{{"15/03/2026", "43000002", "125000", "430"}}));
}

TEST_F(OnSqlite, GroupingHavingAndInsertSelect) {
    addLine(5, 1, "43000001", "10");
    addLine(5, 2, "43000001", "5.5");
    addLine(6, 3, "70000000", "1");
    EXPECT_EQ(run("SELECT Cuenta, SUM(Debe) AS Total, COUNT(*) FROM Movimientos GROUP BY Cuenta "
                  "HAVING SUM(Debe) > 2 ORDER BY Total DESC"),
              (std::vector<Row>{{"43000001", "155000", "2"}}));
    run("INSERT INTO Movimientos_Eliminados (Cod_Usuario, Cod_Empresa, Cod_Ejercicio, Cod_Asiento, "
        "Apunte, Debe) SELECT 7, Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, Debe FROM "
        "Movimientos WHERE Cod_Asiento = 5");
    EXPECT_EQ(run("SELECT Cod_Usuario, Apunte, Debe FROM Movimientos_Eliminados ORDER BY Apunte"),
              (std::vector<Row>{{"7", "1", "100000"}, {"7", "2", "55000"}}));
    run("INSERT INTO SGD_Usuarios_Grupos VALUES (3, 1)");
    run("INSERT INTO Conc_Extractos VALUES (1, 2026, '01/02/2026', 'Transferencia', 12.5, 1, 0, "
        "0)");
    EXPECT_EQ(run("SELECT Codigo, Fecha, Importe FROM Conc_Extractos"),
              (std::vector<Row>{{"1", "2026-02-01", "125000"}}));
    EXPECT_EQ(run("SELECT x.Cuenta, x.Total FROM (SELECT Cuenta, SUM(Debe) AS Total FROM "
                  "Movimientos GROUP BY Cuenta) x WHERE x.Total < 10 ORDER BY 1"),
              (std::vector<Row>{{"70000000", "10000"}}));
    EXPECT_EQ(run("SELECT COUNT(*) FROM Movimientos m WHERE EXISTS (SELECT 1 FROM "
                  "Movimientos_Eliminados e WHERE e.Apunte = m.Apunte)"),
              (std::vector<Row>{{"2"}}));
}

}  // namespace
}  // namespace kvlnmov::db::sqlite::testing
