// Constructs ordinary callers write translate and run on SQLite, and key shapes are translated
// to exactly the expected SQLite text and parameters. The library's own statements run, with
// their texts and resulting rows checked, in the scenario files (tests/scenarios).

#include <gtest/gtest.h>

#include "db/sqlite/translate/literal_coercion.h"
#include "db/translate/translate_support.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov::db::sqlite::testing {
namespace {

using Kind = StatementKind;

struct Shape {
    Kind kind;
    const char* tsql;
};

class CallerStatement : public ::testing::TestWithParam<Shape> {};

TEST_P(CallerStatement, TranslatesAndRunsOnSqlite) {
    const Shape& shape = GetParam();
    MemoryDatabase database;
    Translation translation = database.translator().translate(shape.tsql, database.session());
    EXPECT_EQ(translation.kind(), shape.kind);
    EXPECT_EQ(translation.sql().find('@'), std::string::npos);
    EXPECT_NO_THROW(database.run(translation)) << translation.sql();
}

// Constructs ordinary callers write besides the library's own statements.
const Shape kCallerStatements[] = {
    {Kind::Select, "select [Codigo], [Nombre] from dbo.[Conceptos] with (nolock) where 1 = 1"},
    {Kind::Select, "SELECT Nombre = c.Nombre, Total = 1 FROM Conceptos c"},
    {Kind::Select, "SELECT N'Añadido' AS Texto, 'It''s' + ' ok'"},
    {Kind::Select, "SELECT Apunte FROM Movimientos WHERE Dpto != 1 AND Debe !< 0 AND Haber !> 5"},
    {Kind::Select,
     "SELECT DISTINCT TOP 10 a.Cuenta FROM Movimientos a RIGHT JOIN Cuentas c ON c.Cuenta = "
     "a.Cuenta CROSS JOIN Empresas e WHERE NOT EXISTS (SELECT 1 FROM Acumulados x WHERE "
     "x.Cuenta = a.Cuenta) ORDER BY a.Cuenta"},
    {Kind::Select,
     "SELECT Cuenta, COUNT(*) AS Lineas, SUM(Debe - Haber) AS Saldo FROM Movimientos WHERE "
     "Cuenta NOT LIKE '6%' AND Cto_Aut IS NOT NULL AND Dpto NOT IN (1, 2) AND Debe NOT BETWEEN "
     "1 AND 2 GROUP BY Cuenta HAVING COUNT(*) > 1 ORDER BY 3 DESC, Cuenta"},
    {Kind::Select,
     "SELECT CASE Dpto WHEN 0 THEN 'Sin' WHEN 1 THEN 'Uno' ELSE 'Otro' END, COALESCE(Cto_Aut, "
     "Documento, '-'), NULLIF(Dpto, 0), ABS(Debe - Haber), LTRIM(RTRIM(Concepto)) FROM "
     "Movimientos"},
    {Kind::Select,
     "SELECT CONVERT(VARCHAR(8), Fecha_Asiento, 112), CONVERT(INT, '7'), CAST(Debe AS FLOAT) / "
     "3, CAST(Dpto AS MONEY), CAST(Concepto AS VARCHAR(MAX)) FROM Movimientos"},
    {Kind::Select,
     "SELECT t.Cuenta, t.Total FROM (SELECT Cuenta, SUM(Debe) AS Total FROM Movimientos GROUP "
     "BY Cuenta) AS t WHERE t.Total > (SELECT AVG(Debe) FROM Movimientos)"},
    {Kind::Select,
     "SELECT Apunte FROM Movimientos WHERE ((Debe > 0 AND (Haber = 0)) OR NOT (Dpto = 1)) AND "
     "Fecha_Asiento >= GETDATE() - 30 AND YEAR(Fecha_Asiento) = 2026"},
    {Kind::Insert,
     "INSERT INTO SGD_Usuarios_Grupos (CodUsuario, CodGrupo) VALUES (1, 1), (1, 2), (2, 1)"},
    {Kind::Insert, "INSERT SGD_Usuarios_Grupos VALUES (4, 1);"},
    {Kind::Update, "UPDATE Acumulados SET D1 += 10.5, H1 -= 2 WHERE Cuenta = '430'"},
    {Kind::Update,
     "UPDATE a SET a.Apertura = a.Apertura + m.Debe FROM Acumulados a JOIN Movimientos m ON "
     "m.Cuenta = a.Cuenta WHERE m.Cod_Asiento = 0"},
    {Kind::Delete, "DELETE Conceptos WHERE Codigo LIKE 'X%'"},
    {Kind::Delete,
     "DELETE FROM Movimientos FROM Movimientos m INNER JOIN Asientos a ON a.Codigo = "
     "m.Cod_Asiento WHERE a.Nulo = 1"},
};

INSTANTIATE_TEST_SUITE_P(CallerShapes, CallerStatement, ::testing::ValuesIn(kCallerStatements));

struct Expected {
    const char* tsql;
    const char* sql;
    std::vector<SqlValue> parameters;
};

class EmittedText : public ::testing::TestWithParam<Expected> {};

TEST_P(EmittedText, IsExactlyTheSqliteTextAndValues) {
    const Expected& expected = GetParam();
    SessionState session;
    session.identity = 42;
    Translation translation = translateOnce(expected.tsql, session);
    EXPECT_EQ(translation.sql(), expected.sql);
    EXPECT_EQ(translation.parameters, expected.parameters);
}

INSTANTIATE_TEST_SUITE_P(
    KeyShapes, EmittedText,
    ::testing::Values(
        // Money literals are bound in ten-thousandths, exactly.
        Expected{"UPDATE Acumulados SET D3 = D3 + (100.5) WHERE Cod_Empresa =1 AND "
                 "Cod_Ejercicio =2026 AND Cuenta ='430'",
                 "UPDATE \"Acumulados\" SET \"D3\" = \"Acumulados\".\"D3\" + ?1 WHERE "
                 "\"Acumulados\".\"Cod_Empresa\" = ?2 AND \"Acumulados\".\"Cod_Ejercicio\" = ?3 "
                 "AND \"Acumulados\".\"Cuenta\" = ?4",
                 {std::int64_t{1005000}, std::int64_t{1}, std::int64_t{2026}, std::string("430")}},
        // Dates in BETWEEN and comparisons are read day first (or as yyyymmdd).
        Expected{"SELECT Codigo FROM Amortizaciones_Plan WHERE Fecha BETWEEN '01/01/2026' AND "
                 "'31/12/2026' AND Fecha <> '20260630'",
                 "SELECT \"Amortizaciones_Plan\".\"Codigo\" FROM \"Amortizaciones_Plan\" WHERE "
                 "\"Amortizaciones_Plan\".\"Fecha\" BETWEEN ?1 AND ?2 AND "
                 "\"Amortizaciones_Plan\".\"Fecha\" <> ?3",
                 {std::string("2026-01-01"), std::string("2026-12-31"), std::string("2026-06-30")}},
        // TOP becomes LIMIT; the ORDER BY name of a select item becomes its position.
        Expected{"SELECT TOP 1 Codigo FROM SGD_Usuarios WHERE Codigo > 3 ORDER BY Codigo",
                 "SELECT \"SGD_Usuarios\".\"Codigo\" FROM \"SGD_Usuarios\" WHERE "
                 "\"SGD_Usuarios\".\"Codigo\" > ?1 ORDER BY 1 LIMIT ?2",
                 {std::int64_t{3}, std::int64_t{1}}},
        // The update-join changes only the target rows the join matches.
        Expected{"UPDATE ce SET Pendiente=1 FROM Movimientos m INNER JOIN Conc_Extractos ce ON "
                 "ce.Apunte_Mto = m.Apunte WHERE m.Cod_Asiento =5",
                 "UPDATE \"Conc_Extractos\" AS \"ce\" SET \"Pendiente\" = ?1 WHERE "
                 "\"ce\".rowid IN (SELECT \"ce\".rowid FROM \"Movimientos\" AS \"m\" INNER JOIN "
                 "\"Conc_Extractos\" AS \"ce\" ON \"ce\".\"Apunte_Mto\" = \"m\".\"Apunte\" "
                 "WHERE \"m\".\"Cod_Asiento\" = ?2)",
                 {std::int64_t{1}, std::int64_t{5}}},
        // @@IDENTITY is a parameter holding the session's value; GETDATE() is never text.
        Expected{"SELECT ISNULL(@@IDENTITY, 0) AS Id",
                 "SELECT IFNULL(?1, ?2) AS \"Id\"",
                 {std::int64_t{42}, std::int64_t{0}}}));

TEST(GetDate, IsBoundAsTheLocalTimeOfEachExecution) {
    CompanyCatalog catalog;
    Translator translator(catalog, kSource);
    const char* tsql = "UPDATE Asientos SET FechaUltMod = GETDATE() WHERE Codigo = 5";
    for (int execution = 0; execution < 2; ++execution) {
        std::string before = tsql::canonicalDateTime(Date::now());
        Translation translation = translator.translate(tsql, {});
        std::string after = tsql::canonicalDateTime(Date::now());
        EXPECT_EQ(translation.sql(),
                  "UPDATE \"Asientos\" SET \"FechaUltMod\" = ?1 WHERE \"Asientos\".\"Codigo\" "
                  "= ?2");
        ASSERT_EQ(translation.parameters.size(), 2u);
        const auto* now = std::get_if<std::string>(&translation.parameters[0]);
        ASSERT_NE(now, nullptr);
        // The local clock read for this execution, in canonical form.
        EXPECT_LE(before, *now);
        EXPECT_LE(*now, after);
    }
}

}  // namespace
}  // namespace kvlnmov::db::sqlite::testing
