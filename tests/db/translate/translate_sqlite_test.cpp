// Translated statements run on SQLite over the company tables and give the rows the server
// would give: date arithmetic, money rounded as the server rounds it, joins that change only
// what they match, texts compared without case. (Date order, exact sums, TOP and @@IDENTITY
// are checked end to end on both providers in sqlite_provider_test.cpp.)

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

TEST_F(OnSqlite, DateArithmeticCountsDaysInCanonicalForm) {
    addEntry(1, "31/01/2026");
    addEntry(2, "31/12/2026 18:00");
    EXPECT_EQ(run("SELECT Fecha + 1, Fecha - 31 FROM Asientos ORDER BY Codigo"),
              (std::vector<Row>{{"2026-02-01", "2025-12-31"},
                                {"2027-01-01 18:00:00.000", "2026-11-30 18:00:00.000"}}));
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
    EXPECT_EQ(run("SELECT DISTINCT Cuenta FROM Movimientos ORDER BY Cuenta"),
              (std::vector<Row>{{"43000001"}, {"70000000"}}));
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
