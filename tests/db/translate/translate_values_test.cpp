// Literal values as the server reads them by what they meet, result column types, and the
// translation cache.

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "db/translate/translate_support.h"

namespace kvlnmov::db::sqlite::testing {
namespace {

// The value bound for the first parameter of `tsql`.
SqlValue firstParameter(const std::string& tsql, bool dayBeforeMonth = true) {
    SessionState session;
    session.dayBeforeMonth = dayBeforeMonth;
    Translation translation = translateOnce(tsql, session);
    EXPECT_FALSE(translation.parameters.empty()) << tsql;
    return translation.parameters.empty() ? SqlValue{} : translation.parameters[0];
}

struct DateCase {
    const char* literal;
    const char* canonical;
    bool dayBeforeMonth = true;
};

class DateLiteral : public ::testing::TestWithParam<DateCase> {};

TEST_P(DateLiteral, IsReadAsTheServerReadsItAndBoundCanonical) {
    const DateCase& c = GetParam();
    std::string tsql = std::string("UPDATE Asientos SET Fecha = '") + c.literal + "'";
    EXPECT_EQ(firstParameter(tsql, c.dayBeforeMonth), SqlValue(std::string(c.canonical)));
}

INSTANTIATE_TEST_SUITE_P(
    Forms, DateLiteral,
    ::testing::Values(DateCase{"15/03/2026", "2026-03-15"}, DateCase{"5/3/2026", "2026-03-05"},
                      DateCase{"05/03/26", "2026-03-05"}, DateCase{"05/03/49", "2049-03-05"},
                      DateCase{"05/03/50", "1950-03-05"}, DateCase{"29/02/2024", "2024-02-29"},
                      DateCase{"15.03.2026", "2026-03-15"}, DateCase{"15-03-2026", "2026-03-15"},
                      DateCase{"15/03/2026 17:30", "2026-03-15 17:30:00.000"},
                      DateCase{"15/03/2026 17:30:05", "2026-03-15 17:30:05.000"},
                      DateCase{"15/03/2026 7:30:05.12", "2026-03-15 07:30:05.120"},
                      DateCase{"15/03/2026 00:00:00", "2026-03-15"},
                      DateCase{"2026-03-15", "2026-03-15"},
                      DateCase{"2026-03-15T17:30:00", "2026-03-15 17:30:00.000"},
                      DateCase{"2026-03-15 17:30:00.5", "2026-03-15 17:30:00.500"},
                      DateCase{"20260315", "2026-03-15"},
                      DateCase{" 22/11/2026 10:00:00 ", "2026-11-22 10:00:00.000"},
                      DateCase{"", "1900-01-01"}, DateCase{"17:30", "1900-01-01 17:30:00.000"},
                      DateCase{"03/15/2026", "2026-03-15", false},
                      DateCase{"2026-03-15", "2026-03-15", false}));

class BadDateLiteral : public ::testing::TestWithParam<const char*> {};

TEST_P(BadDateLiteral, RaisesTheConversionError) {
    std::string tsql =
        std::string("SELECT Codigo FROM Asientos WHERE Fecha < '") + GetParam() + "'";
    try {
        translateOnce(tsql);
        FAIL() << "accepted " << GetParam();
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), errc::kConversion);
        EXPECT_EQ(error.source(), kSource);
        EXPECT_EQ(error.description(),
                  "Conversion failed when converting date and/or time from character string.");
    }
}

INSTANTIATE_TEST_SUITE_P(Invalid, BadDateLiteral,
                         ::testing::Values("31/02/2026", "abc", "15/13/2026", "32/01/2026",
                                           "29/02/2025", "2026-02-30", "15/03", "15/03/2026 25:00",
                                           "15/03/2026 10:60", "15/03/2026 10:00 x",
                                           "15/03/2026 10:00:00.1234", "1/1/1"));

TEST(DateLiteral, MeetingATextColumnIsLeftAlone) {
    EXPECT_EQ(firstParameter("UPDATE Movimientos SET Documento = '31/02/2026'"),
              SqlValue(std::string("31/02/2026")));
    EXPECT_EQ(firstParameter("SELECT Codigo FROM Conceptos WHERE Nombre = ' 15/03/2026 '"),
              SqlValue(std::string(" 15/03/2026 ")));
}

TEST(DateLiteral, MeetsDatesInEveryPosition) {
    const char* statements[] = {
        "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha) VALUES (1, 2, 3, "
        "'15/03/2026')",
        "SELECT Codigo FROM Asientos WHERE Fecha IN (1, '15/03/2026')",
        "SELECT Codigo FROM Asientos WHERE '15/03/2026' > Fecha",
        "SELECT COALESCE(FechaUltMod, FechaCreacion, '15/03/2026') FROM Asientos",
        "SELECT CASE WHEN Nulo = 1 THEN Fecha ELSE '15/03/2026' END FROM Asientos",
        "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha) SELECT 1, 2, 3, "
        "'15/03/2026'",
        "SELECT YEAR('15/03/2026')",
    };
    for (const char* tsql : statements) {
        Translation translation = translateOnce(tsql);
        bool found = false;
        for (const SqlValue& value : translation.parameters) {
            found = found || value == SqlValue(std::string("2026-03-15"));
        }
        EXPECT_TRUE(found) << tsql;
    }
}

struct MoneyCase {
    const char* literal;
    std::int64_t raw;
};

class MoneyLiteral : public ::testing::TestWithParam<MoneyCase> {};

TEST_P(MoneyLiteral, IsScaledToTenThousandthsExactly) {
    std::string tsql = std::string("UPDATE Movimientos SET Debe = ") + GetParam().literal;
    EXPECT_EQ(firstParameter(tsql), SqlValue(GetParam().raw));
}

INSTANTIATE_TEST_SUITE_P(
    Amounts, MoneyLiteral,
    ::testing::Values(MoneyCase{"12.5", 125000}, MoneyCase{"0.1", 1000}, MoneyCase{"100", 1000000},
                      MoneyCase{"-1234.5678", -12345678}, MoneyCase{"1.23456", 12346},
                      MoneyCase{"0.00005", 1}, MoneyCase{"0.00004", 0}, MoneyCase{"-0.00005", -1},
                      MoneyCase{"-(2.5)", -25000}, MoneyCase{".5", 5000},
                      MoneyCase{"'12.50'", 125000}, MoneyCase{"' -3 '", -30000},
                      MoneyCase{"922337203685477.5807", std::numeric_limits<std::int64_t>::max()},
                      MoneyCase{"-922337203685477.5808", std::numeric_limits<std::int64_t>::min()},
                      MoneyCase{"99999999999999.9999", 999999999999999999},
                      MoneyCase{"-99999999999999.99995", -1000000000000000000},
                      MoneyCase{"007.", 70000}, MoneyCase{"-0.0001", -1},
                      MoneyCase{"1E2", 1000000}));

TEST(MoneyLiteral, MeetsMoneyInComparisonsArithmeticAndFunctions) {
    struct Case {
        const char* tsql;
        std::int64_t raw;
    };
    const Case cases[] = {
        {"SELECT Apunte FROM Movimientos WHERE Debe > 99.99", 999900},
        {"SELECT Apunte FROM Movimientos WHERE Debe BETWEEN 0.5 AND 2", 5000},
        {"SELECT Apunte FROM Movimientos WHERE Haber IN (0.25, 7)", 2500},
        {"SELECT Debe + 1 FROM Movimientos", 10000},
        {"SELECT ISNULL(SUM(Debe), 0.75) FROM Movimientos", 7500},
        {"SELECT Debe * 0.21 FROM Movimientos", 2100},
        {"INSERT INTO Movimientos_Sec (Base) SELECT 3.5", 35000},
    };
    for (const Case& c : cases) EXPECT_EQ(firstParameter(c.tsql), SqlValue(c.raw)) << c.tsql;
    // A whole number multiplying or dividing money is a count, not an amount.
    EXPECT_EQ(firstParameter("SELECT Debe * 3 FROM Movimientos"), SqlValue(std::int64_t{3}));
}

struct AssignedCase {
    const char* tsql;
    SqlValue value;
};

class AssignedLiteral : public ::testing::TestWithParam<AssignedCase> {};

TEST_P(AssignedLiteral, TakesTheColumnsType) {
    EXPECT_EQ(firstParameter(GetParam().tsql), GetParam().value) << GetParam().tsql;
}

INSTANTIATE_TEST_SUITE_P(
    Columns, AssignedLiteral,
    ::testing::Values(
        AssignedCase{"UPDATE Conceptos SET Debe = 5", std::int64_t{1}},
        AssignedCase{"UPDATE Conceptos SET Debe = 0", std::int64_t{0}},
        AssignedCase{"UPDATE Conceptos SET Debe = 0.5", std::int64_t{1}},
        AssignedCase{"UPDATE Conceptos SET Debe = 'True'", std::int64_t{1}},
        AssignedCase{"UPDATE Conceptos SET Debe = 'FALSE'", std::int64_t{0}},
        AssignedCase{"UPDATE Conceptos SET Debe = '1'", std::int64_t{1}},
        AssignedCase{"UPDATE Movimientos SET Dpto = 32767", std::int64_t{32767}},
        AssignedCase{"UPDATE Movimientos SET Dpto = -32768", std::int64_t{-32768}},
        AssignedCase{"UPDATE Movimientos SET Dpto = ' 12 '", std::int64_t{12}},
        AssignedCase{"UPDATE Movimientos SET Dpto = 7.9", std::int64_t{7}},
        AssignedCase{"UPDATE Conceptos SET Impuestos = 255", std::int64_t{255}},
        AssignedCase{"UPDATE Movimientos SET Documento = 1234", std::string("1234")},
        AssignedCase{"UPDATE Movimientos SET Documento = -1.50", std::string("-1.50")},
        // Trailing blanks past the column's length are cut silently.
        AssignedCase{"UPDATE Movimientos SET Cuenta = '43000001                '",
                     std::string("43000001            ")},
        AssignedCase{"UPDATE Movimientos SET Cuenta = 'ÁÉÍÓÚáéíóúÑñ12345678'",
                     std::string("ÁÉÍÓÚáéíóúÑñ12345678")},
        AssignedCase{"SELECT Apunte FROM Movimientos WHERE Dpto = 100000", std::int64_t{100000}},
        AssignedCase{"SELECT Apunte FROM Movimientos WHERE Dpto = '7'", std::int64_t{7}},
        AssignedCase{"SELECT Apunte FROM Movimientos WHERE Dpto = 2.5", 2.5},
        AssignedCase{"SELECT Codigo FROM Conceptos WHERE Debe = 'true'", std::int64_t{1}}));

TEST(AssignedLiteral, NullIsWrittenAsNullNotAsAParameter) {
    Translation translation = translateOnce("UPDATE Movimientos SET Concepto = NULL, Dpto = 1");
    EXPECT_EQ(translation.sql(), "UPDATE \"Movimientos\" SET \"Concepto\" = NULL, \"Dpto\" = ?1");
    EXPECT_EQ(translation.parameters, std::vector<SqlValue>{std::int64_t{1}});
}

struct TypeCase {
    const char* tsql;
    std::vector<ResultColumn> columns;
};

// "name:type" per column, to compare and print.
std::vector<std::string> describe(const std::vector<ResultColumn>& columns) {
    std::vector<std::string> texts;
    for (const ResultColumn& column : columns) {
        texts.push_back(column.name + ":" + schema::tsqlTypeName(column.type));
    }
    return texts;
}

class ResultColumns : public ::testing::TestWithParam<TypeCase> {};

TEST_P(ResultColumns, CarryTheServersNamesAndTypes) {
    Translation translation = translateOnce(GetParam().tsql);
    EXPECT_EQ(describe(translation.columns()), describe(GetParam().columns)) << GetParam().tsql;
}

constexpr schema::ColumnType kInt{schema::SqlType::Int};
constexpr schema::ColumnType kSmallInt{schema::SqlType::SmallInt};
constexpr schema::ColumnType kMoney{schema::SqlType::Money};
constexpr schema::ColumnType kDateTime{schema::SqlType::DateTime};
constexpr schema::ColumnType kFloat{schema::SqlType::Float};
constexpr schema::ColumnType kBit{schema::SqlType::Bit};
constexpr schema::ColumnType kText{schema::SqlType::Text};

schema::ColumnType varchar(int length) { return {schema::SqlType::VarChar, length}; }

INSTANTIATE_TEST_SUITE_P(
    Expressions, ResultColumns,
    ::testing::Values(
        TypeCase{"SELECT ISNULL(SUM(a.Haber), 0) AS SumHaber, ISNULL(SUM(a.Debe), 0) AS SumDebe "
                 "FROM Movimientos a",
                 {{"SumHaber", kMoney}, {"SumDebe", kMoney}}},
        TypeCase{"SELECT COUNT(*) AS NumRegs FROM SGD_Usuarios_Grupos", {{"NumRegs", kInt}}},
        TypeCase{"SELECT ISNULL(a.FechaCreacion,'') AS FechaCreacion, ISNULL(b.Usuario, 0), "
                 "ISNULL(a.Observaciones, '') AS Observaciones FROM Asientos a LEFT JOIN "
                 "Asientos_Bloqueo b ON a.Codigo = b.Codigo",
                 {{"FechaCreacion", kDateTime}, {"", kSmallInt}, {"Observaciones", kText}}},
        TypeCase{"SELECT ISNULL(@@IDENTITY, 0) AS Id", {{"Id", kFloat}}},
        TypeCase{"select cuenta, DEBE as importe from movimientos",
                 {{"Cuenta", varchar(20)}, {"importe", kMoney}}},
        TypeCase{"SELECT 5, 2.5, 'abc', NULL, GETDATE() AS Ahora",
                 {{"", kInt}, {"", kFloat}, {"", varchar(3)}, {"", kInt}, {"Ahora", kDateTime}}},
        TypeCase{"SELECT SUM(Dpto), SUM(Debe), AVG(Haber), MAX(Fecha_Asiento), MIN(Cuenta), "
                 "COUNT(DISTINCT Cuenta) FROM Movimientos",
                 {{"", kInt},
                  {"", kMoney},
                  {"", kMoney},
                  {"", kDateTime},
                  {"", varchar(20)},
                  {"", kInt}}},
        TypeCase{"SELECT Debe + 1, Dpto + 1, Dpto * 1.5, Debe * 2, Debe / Haber, Dpto / 2, "
                 "-Debe FROM Movimientos",
                 {{"", kMoney},
                  {"", kInt},
                  {"", kFloat},
                  {"", kMoney},
                  {"", kMoney},
                  {"", kInt},
                  {"", kMoney}}},
        TypeCase{"SELECT Nombre + Nif AS Texto, LEN(Nombre), LEFT(Nif, 3), YEAR(FechaPassword) "
                 "FROM SGD_Usuarios",
                 {{"Texto", varchar(120)}, {"", kInt}, {"", varchar(20)}, {"", kInt}}},
        TypeCase{"SELECT Estado, CAST(Estado AS INT) AS E, CONVERT(VARCHAR(10), FechaInicio, "
                 "103) AS F FROM Empresas_Ejercicios",
                 {{"Estado", kBit}, {"E", kInt}, {"F", varchar(10)}}},
        TypeCase{"SELECT b.* FROM Asientos a JOIN Asientos_Bloqueo b ON a.Codigo = b.Codigo",
                 {{"Cod_Empresa", kSmallInt},
                  {"Cod_Ejercicio", kSmallInt},
                  {"Codigo", kInt},
                  {"Usuario", kSmallInt}}},
        TypeCase{"SELECT x.Total FROM (SELECT SUM(Debe) AS Total FROM Movimientos) x",
                 {{"Total", kMoney}}},
        TypeCase{"SELECT (SELECT MAX(Fecha) FROM Asientos) AS Ultima, CASE WHEN Debe > 0 THEN "
                 "Debe ELSE 0 END AS Importe FROM Movimientos",
                 {{"Ultima", kDateTime}, {"Importe", kMoney}}}));

// Values in a shape translated before are checked as new (see ShapeCache in
// translate_robustness_test.cpp), and read in the session's date order.
TEST(TranslationCache, AReusedShapeReadsDatesInTheSessionsOrder) {
    CompanyCatalog catalog;
    Translator translator(catalog, kSource);
    translator.translate(
        "UPDATE Movimientos SET Debe = 10.5, Fecha_Apunte = '15/03/2026' WHERE Apunte = 1", {});
    SessionState mdy;
    mdy.dayBeforeMonth = false;
    Translation reused = translator.translate(
        "UPDATE Movimientos SET Debe = 1, Fecha_Apunte = '4/1/2026' WHERE Apunte = 3", mdy);
    EXPECT_EQ(reused.parameters,
              (std::vector<SqlValue>{std::int64_t{10000}, std::string("2026-04-01"),
                                     std::int64_t{3}}));
}

// Counts catalog lookups: a translation served from the cache looks nothing up.
class CountingCatalog : public Catalog {
  public:
    const schema::Table* findTable(std::string_view name) const override {
        ++lookups;
        return schema::findTable(name);
    }
    mutable int lookups = 0;
};

TEST(TranslationCache, IsBoundedAndCanBeCleared) {
    CountingCatalog catalog;
    Translator translator(catalog, kSource);
    const char* tsql = "SELECT Codigo FROM Conceptos WHERE Codigo = 'A'";
    translator.translate(tsql, {});
    int afterFirst = catalog.lookups;
    translator.translate("SELECT Codigo FROM Conceptos WHERE Codigo = 'B'", {});
    EXPECT_EQ(catalog.lookups, afterFirst);

    translator.clearCache();
    translator.translate(tsql, {});
    EXPECT_EQ(catalog.lookups, afterFirst + 1);

    // 512 other shapes push the first one out.
    for (int i = 0; i < 511; ++i) {
        translator.translate("SELECT Codigo AS c" + std::to_string(i) + " FROM Conceptos", {});
    }
    int beforeReuse = catalog.lookups;
    translator.translate(tsql, {});
    EXPECT_EQ(catalog.lookups, beforeReuse);
    translator.translate("SELECT Codigo AS c511 FROM Conceptos", {});
    translator.translate("SELECT Codigo AS c512 FROM Conceptos", {});
    int beforeEvicted = catalog.lookups;
    translator.translate("SELECT Codigo AS c0 FROM Conceptos", {});
    EXPECT_EQ(catalog.lookups, beforeEvicted + 1);
}

}  // namespace
}  // namespace kvlnmov::db::sqlite::testing
