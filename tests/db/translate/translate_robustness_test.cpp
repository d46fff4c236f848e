// Statements no caller means to write: control bytes in names, nesting past the limits,
// literals that are part of a statement's shape. Each translates to exactly the SQLite text
// it means or raises the server's error; none crashes or changes meaning. Many of these
// inputs were found by the translator's fuzz target (fuzz/).

#include <gtest/gtest.h>

#include <string>

#include "db/sqlite/translate/literal_coercion.h"
#include "db/translate/translate_support.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "support/limit_texts.h"

namespace kvlnmov::db::sqlite::testing {
namespace {

using kvlnmov::testing::kExpressionLimit;
using kvlnmov::testing::kNested;

using namespace std::string_literals;

std::string repeated(const std::string& piece, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += piece;
    return text;
}

// ---------------------------------------------------------------------------------------
// Exact translations.

struct TranslationCase {
    std::string tsql;
    std::string sql;
    std::vector<SqlValue> parameters;
    std::vector<std::string> columnNames;
};

class RobustTranslation : public ::testing::TestWithParam<TranslationCase> {};

TEST_P(RobustTranslation, IsExactlyTheSqliteTextItMeans) {
    const TranslationCase& c = GetParam();
    const Translation translation = translateOnce(c.tsql);
    EXPECT_EQ(translation.sql(), c.sql);
    EXPECT_EQ(translation.parameters, c.parameters);
    std::vector<std::string> names;
    for (const ResultColumn& column : translation.columns()) names.push_back(column.name);
    EXPECT_EQ(names, c.columnNames);
    // And it prepares on SQLite with exactly its parameters.
    MemoryDatabase db;
    EXPECT_NO_THROW(db.run(translation));
}

INSTANTIATE_TEST_SUITE_P(
    ControlBytesInNames, RobustTranslation,
    ::testing::Values(
        // Once taken for the emitter's own parameter markers: a read past the text's end, an
        // uncaught std::stoi exception, clauses silently dropped.
        TranslationCase{"SELECT Cuenta AS [\x01"
                        "5] FROM Movimientos",
                        "SELECT \"Movimientos\".\"Cuenta\" AS \"\x01"
                        "5\" FROM \"Movimientos\"",
                        {},
                        {"\x01"
                         "5"}},
        TranslationCase{"SELECT 1 'a\x01"
                        "b'",
                        "SELECT ?1 AS \"a\x01"
                        "b\"",
                        {std::int64_t{1}},
                        {"a\x01"
                         "b"}},
        TranslationCase{"SELECT Cuenta AS [a\x01"
                        "0] FROM Movimientos WHERE Cuenta = '4300' ORDER BY 1",
                        "SELECT \"Movimientos\".\"Cuenta\" AS \"a\x01"
                        "0\" FROM \"Movimientos\" WHERE \"Movimientos\".\"Cuenta\" = ?1 ORDER BY 1",
                        {"4300"s},
                        {"a\x01"
                         "0"}},
        TranslationCase{"SELECT 2 AS [\x02\x01\x02], 3 AS [?1]",
                        "SELECT ?1 AS \"\x02\x01\x02\", ?2 AS \"?1\"",
                        {std::int64_t{2}, std::int64_t{3}},
                        {"\x02\x01\x02", "?1"}},
        TranslationCase{"SELECT x.[\x01] FROM (SELECT Cuenta AS [\x01] FROM Movimientos) AS x",
                        "SELECT \"x\".\"\x01\" FROM (SELECT \"Movimientos\".\"Cuenta\" AS "
                        "\"\x01\" FROM \"Movimientos\") AS \"x\"",
                        {},
                        {"\x01"}}));

INSTANTIATE_TEST_SUITE_P(Nesting, RobustTranslation,
                         ::testing::Values(
                             // Within the limits, nesting translates as written.
                             TranslationCase{
                                 "SELECT " + repeated("(", 40) + "1" + repeated(")", 40),
                                 "SELECT ?1",
                                 {std::int64_t{1}},
                                 {""}},
                             TranslationCase{"SELECT 1 WHERE NOT NOT NOT 1 = 1",
                                             "SELECT ?1 WHERE NOT (NOT (NOT ?2 = ?3))",
                                             {std::int64_t{1}, std::int64_t{1}, std::int64_t{1}},
                                             {""}}));

// ---------------------------------------------------------------------------------------
// Errors.

struct ErrorCase {
    std::string tsql;
    std::int32_t number;
    std::string description;
};

class RobustError : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(RobustError, IsTheServersError) {
    const ErrorCase& c = GetParam();
    try {
        const Translation translation = translateOnce(c.tsql);
        FAIL() << "translated to " << translation.sql();
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), c.number);
        EXPECT_EQ(error.description(), c.description);
        EXPECT_EQ(error.source(), kSource);
    }
}

constexpr std::int32_t kSyntax = errc::kSyntax;

INSTANTIATE_TEST_SUITE_P(
    Names, RobustError,
    ::testing::Values(
        // SQLite ends a name at a NUL byte: such a name cannot be written.
        ErrorCase{"SELECT 1 AS [a\0b]"s, kSyntax, "Incorrect syntax near 'a\0b'."s},
        ErrorCase{"SELECT \"\0\" FROM Movimientos"s, kSyntax, "Incorrect syntax near '\0'."s},
        ErrorCase{"SELECT 1 'a\0'"s, kSyntax, "Incorrect syntax near 'a\0'."s},
        // SQLite would rename the second column; the server refuses the pair.
        ErrorCase{"SELECT * FROM (SELECT 1 a, 2 A) t", kSyntax,
                  "The column 'A' was specified multiple times for 't'."},
        ErrorCase{"SELECT t.a FROM (SELECT Cuenta 'a', Concepto 'a' FROM Movimientos) t", kSyntax,
                  "The column 'a' was specified multiple times for 't'."}));

INSTANTIATE_TEST_SUITE_P(
    Limits, RobustError,
    ::testing::Values(
        ErrorCase{"SELECT " + repeated("(", 200) + "1" + repeated(")", 200), kSyntax, kNested},
        ErrorCase{"SELECT 1 WHERE " + repeated("NOT ", 300) + "1 = 1", kSyntax, kNested},
        ErrorCase{"SELECT " + repeated("- ", 300) + "Debe FROM Movimientos", kSyntax, kNested},
        ErrorCase{"SELECT 1" + repeated(" + 1", 300), kSyntax, kNested},
        ErrorCase{"SELECT 1 FROM Movimientos WHERE " + repeated("1 = 1 AND ", 300) + "1 = 1",
                  kSyntax, kNested},
        ErrorCase{"SELECT " + repeated("(SELECT ", 150) + "1" + repeated(")", 150), kSyntax,
                  kNested},
        ErrorCase{"SELECT 1 FROM " + repeated("(", 150) + "Movimientos" + repeated(")", 150),
                  kSyntax, kNested},
        ErrorCase{"SELECT 1 FROM Movimientos a" + repeated(" CROSS JOIN Movimientos", 300), kSyntax,
                  kNested},
        // Money division repeats its operands: nested, the text would grow without bound.
        ErrorCase{"SELECT Debe" + repeated(" / Debe", 40) + " FROM Movimientos", kSyntax,
                  kExpressionLimit}));

INSTANTIATE_TEST_SUITE_P(
    Meaning, RobustError,
    ::testing::Values(
        // An aggregate of the enclosing query's columns belongs to that query (SQLite could
        // not prepare this one: "misuse of aggregate").
        ErrorCase{"SELECT Codigo FROM SGD_Usuarios WHERE Codigo IN (SELECT ISNULL(MIN(Codigo), "
                  "0) x)",
                  kSyntax,
                  "An aggregate of outer references only is not supported by the SQLite "
                  "provider."},
        ErrorCase{"SELECT Cuenta, (SELECT MAX(m.Debe)) FROM Movimientos m", kSyntax,
                  "An aggregate of outer references only is not supported by the SQLite "
                  "provider."},
        // SQLite resolves a subquery's GROUP BY and ORDER BY against the subquery alone.
        ErrorCase{"SELECT * FROM SGD_Usuarios WHERE Codigo IN (SELECT TOP 1 Codigo x WHERE "
                  "Codigo > 9 ORDER BY Codigo ASC)",
                  kSyntax,
                  "An outer reference in the ORDER BY clause of a subquery is not supported by "
                  "the SQLite provider."},
        ErrorCase{"SELECT (SELECT TOP 1 Codigo FROM Asientos ORDER BY (SELECT m.Debe)) FROM "
                  "Movimientos m",
                  kSyntax,
                  "An outer reference in the ORDER BY clause of a subquery is not supported by "
                  "the SQLite provider."},
        ErrorCase{"SELECT (SELECT COUNT(*) FROM Asientos a GROUP BY a.Codigo + m.Apunte) FROM "
                  "Movimientos m",
                  kSyntax,
                  "An outer reference in the GROUP BY clause of a subquery is not supported by "
                  "the SQLite provider."},
        // A constant groups nothing (SQLite would make one group of every row).
        ErrorCase{"SELECT COUNT(*) FROM Movimientos GROUP BY 'a'", kSyntax,
                  "Each GROUP BY expression must contain at least one column that is not an "
                  "outer reference."},
        ErrorCase{"SELECT COUNT(*) FROM Movimientos GROUP BY 1 + 1", kSyntax,
                  "Each GROUP BY expression must contain at least one column that is not an "
                  "outer reference."},
        // Only a bare whole number names a select list item.
        ErrorCase{"SELECT Cuenta FROM Movimientos ORDER BY 'a'", kSyntax,
                  "A constant expression was encountered in the ORDER BY list, position 1."},
        ErrorCase{"SELECT Cuenta FROM Movimientos ORDER BY Cuenta, -1", kSyntax,
                  "A constant expression was encountered in the ORDER BY list, position 2."},
        ErrorCase{"SELECT CAST(Cuenta AS VARCHAR(0)) FROM Movimientos", kSyntax,
                  "A length or precision of 0 is invalid."},
        ErrorCase{"SELECT CAST(Cuenta AS VARCHAR(8001)) FROM Movimientos", kSyntax,
                  "The size (8001) given to the type 'varchar' exceeds the maximum allowed for "
                  "any data type (8000)."},
        ErrorCase{"SELECT CONVERT(NVARCHAR(4001), Cuenta) FROM Movimientos", kSyntax,
                  "The size (4001) given to the type 'nvarchar' exceeds the maximum allowed for "
                  "any data type (4000)."}));

// ---------------------------------------------------------------------------------------
// The shape cache: literals that are part of a statement's meaning.

struct ShapeCase {
    std::string first;
    std::string second;
};

class ShapeCache : public ::testing::TestWithParam<ShapeCase> {};

// Translating `second` after `first` (same shape, other literals) gives what a fresh
// translator gives for `second`: the same text, parameters and columns, or the same error.
TEST_P(ShapeCache, CachedTranslationIsTheFreshOne) {
    const ShapeCase& c = GetParam();
    CompanyCatalog catalog;
    Translator warm(catalog, kSource);
    const SessionState session;
    try {
        warm.translate(c.first, session);
    } catch (const Error&) {
    }
    Translation fresh;
    std::string freshError;
    try {
        fresh = translateOnce(c.second);
    } catch (const Error& error) {
        freshError = error.description();
    }
    try {
        const Translation cached = warm.translate(c.second, session);
        ASSERT_EQ(freshError, "") << "the cache accepted what a fresh translator refuses";
        EXPECT_EQ(cached.sql(), fresh.sql());
        EXPECT_EQ(cached.parameters, fresh.parameters);
        ASSERT_EQ(cached.columns().size(), fresh.columns().size());
        for (std::size_t i = 0; i < cached.columns().size(); ++i) {
            EXPECT_EQ(cached.columns()[i].name, fresh.columns()[i].name);
            EXPECT_EQ(cached.columns()[i].type, fresh.columns()[i].type);
        }
    } catch (const Error& error) {
        EXPECT_EQ(error.description(), freshError);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Literals, ShapeCache,
    ::testing::Values(
        // A text alias names the column.
        ShapeCase{"SELECT Cuenta 'first' FROM Movimientos",
                  "SELECT Cuenta 'second' FROM Movimientos"},
        ShapeCase{"SELECT Cuenta AS 'first' FROM Movimientos",
                  "SELECT Cuenta AS 'second' FROM Movimientos"},
        ShapeCase{"SELECT t.a FROM (SELECT Cuenta 'a' FROM Movimientos) t",
                  "SELECT t.a FROM (SELECT Cuenta 'b' FROM Movimientos) t"},
        // An ORDER BY name may be a text alias.
        ShapeCase{"SELECT Cuenta 'a', Concepto 'b' FROM Movimientos ORDER BY a",
                  "SELECT Cuenta 'b', Concepto 'a' FROM Movimientos ORDER BY a"},
        // ORDER BY positions.
        ShapeCase{"SELECT Cuenta, Concepto FROM Movimientos ORDER BY 1",
                  "SELECT Cuenta, Concepto FROM Movimientos ORDER BY 2"},
        ShapeCase{"SELECT Cuenta FROM Movimientos ORDER BY 1",
                  "SELECT Cuenta FROM Movimientos ORDER BY 2"},
        // A text literal's length types its result column.
        ShapeCase{"SELECT 'ab'", "SELECT 'abcdef'"},
        ShapeCase{"SELECT Cuenta + 'ab' FROM Movimientos",
                  "SELECT Cuenta + 'abcdef' FROM Movimientos"},
        ShapeCase{"SELECT x.c FROM (SELECT 'ab' AS c) x",
                  "SELECT x.c FROM (SELECT 'abcdef' AS c) x"},
        ShapeCase{"SELECT CASE WHEN Debe > 0 THEN 'D' ELSE 'H' END FROM Movimientos",
                  "SELECT CASE WHEN Debe > 0 THEN 'Debe' ELSE 'Haber' END FROM Movimientos"},
        // Items match GROUP BY items by the texts of their literals.
        ShapeCase{"SELECT Cuenta + 'x' FROM Movimientos GROUP BY Cuenta + 'x'",
                  "SELECT Cuenta + 'y' FROM Movimientos GROUP BY Cuenta + 'x'"},
        ShapeCase{"SELECT Cuenta + 'y' FROM Movimientos GROUP BY Cuenta + 'x'",
                  "SELECT Cuenta + 'x' FROM Movimientos GROUP BY Cuenta + 'x'"},
        ShapeCase{"SELECT LEFT(Cuenta, 2), COUNT(*) FROM Movimientos GROUP BY LEFT(Cuenta, 2)",
                  "SELECT LEFT(Cuenta, 3), COUNT(*) FROM Movimientos GROUP BY LEFT(Cuenta, 2)"},
        // ... and so do DISTINCT items and ORDER BY items.
        ShapeCase{"SELECT DISTINCT Cuenta + 'x' FROM Movimientos ORDER BY Cuenta + 'x'",
                  "SELECT DISTINCT Cuenta + 'x' FROM Movimientos ORDER BY Cuenta + 'y'"},
        // Type lengths and conversion styles are written into the text.
        ShapeCase{"SELECT CAST(Cuenta AS VARCHAR(2)) FROM Movimientos",
                  "SELECT CAST(Cuenta AS VARCHAR(5)) FROM Movimientos"},
        ShapeCase{"SELECT CONVERT(VARCHAR(10), Fecha_Asiento, 103) FROM Movimientos",
                  "SELECT CONVERT(VARCHAR(10), Fecha_Asiento, 112) FROM Movimientos"},
        // Values stay values: the same text with other parameters, each checked anew.
        ShapeCase{"UPDATE Movimientos SET Debe = 10.5, Fecha_Apunte = '15/03/2026' WHERE "
                  "Apunte = 1",
                  "update movimientos set debe = 0.25, fecha_apunte = '1/4/2026' where apunte = 2"},
        ShapeCase{"UPDATE Movimientos SET Debe = 10.5, Fecha_Apunte = '15/03/2026' WHERE "
                  "Apunte = 1",
                  "UPDATE Movimientos SET Debe = 1, Fecha_Apunte = '31/02/2026' WHERE Apunte = 3"},
        ShapeCase{"SELECT TOP 1 Cuenta FROM Movimientos WHERE Concepto LIKE 'a%'",
                  "SELECT TOP 5 Cuenta FROM Movimientos WHERE Concepto LIKE 'bcd%'"}));

// Statements the shape key must tell apart although their texts differ only in how names are
// written: a quoted name holding the key's own separator, names in another case, brackets or
// quotes, a word that is a keyword in one and a name in the other.
INSTANTIATE_TEST_SUITE_P(
    Names, ShapeCache,
    ::testing::Values(
        ShapeCase{std::string("SELECT Cuenta AS [a\x1fwb] FROM Movimientos"),
                  "SELECT Cuenta AS [a] b FROM Movimientos"},
        ShapeCase{std::string("SELECT Cuenta AS [a]]\x1fw] FROM Movimientos"),
                  "SELECT Cuenta AS [a]]] w FROM Movimientos"},
        ShapeCase{"SELECT Cuenta AS [x] FROM Movimientos",
                  "SELECT Cuenta AS \"x\" FROM Movimientos"},
        ShapeCase{"SELECT Cuenta FROM Movimientos", "select cuenta from movimientos"},
        ShapeCase{"SELECT [Cuenta] FROM Movimientos", "SELECT [Concepto] FROM Movimientos"},
        ShapeCase{"SELECT Cuenta FROM Movimientos WHERE Concepto = N'a'",
                  "SELECT Cuenta FROM Movimientos WHERE Concepto = 'a'"},
        ShapeCase{"SELECT [Select] FROM Movimientos", "SELECT Select FROM Movimientos"}));

// Two literal aliases of one shape, through the provider: two column names.
TEST(ShapeCacheThroughProvider, TextAliasesNameTheirColumns) {
    const ConnectionRef connection = openConnection("Provider=SQLite;Data Source=:memory:");
    connection->createCompanySchema();
    Recordset first;
    first.Open("SELECT Cuenta 'first' FROM Movimientos", connection);
    EXPECT_EQ(first.FieldInfo(0).name, "first");
    Recordset second;
    second.Open("SELECT Cuenta 'second' FROM Movimientos", connection);
    EXPECT_EQ(second.FieldInfo(0).name, "second");
}

}  // namespace
}  // namespace kvlnmov::db::sqlite::testing
