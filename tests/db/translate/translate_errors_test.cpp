// The errors a statement raises, numbered and worded as the server reports them.

#include <gtest/gtest.h>

#include <string>

#include "db/translate/translate_support.h"

namespace kvlnmov::db::sqlite::testing {
namespace {

struct ErrorCase {
    std::string tsql;
    std::int32_t number;
    std::string description;
};

class TranslationError : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(TranslationError, IsRaisedWithTheServersNumberAndText) {
    const ErrorCase& c = GetParam();
    try {
        Translation translation = translateOnce(c.tsql);
        FAIL() << "translated to " << translation.sql();
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), c.number) << c.tsql;
        EXPECT_EQ(error.description(), c.description) << c.tsql;
        EXPECT_EQ(error.source(), kSource);
    }
}

constexpr std::int32_t kSyntax = errc::kSyntax;

INSTANTIATE_TEST_SUITE_P(
    Syntax, TranslationError,
    ::testing::Values(
        // An unescaped apostrophe breaks the statement at the word after it.
        ErrorCase{"INSERT INTO Conceptos (Codigo, Nombre, Debe) VALUES ('1', 'O'Brien', 0)",
                  kSyntax, "Incorrect syntax near 'Brien'."},
        ErrorCase{"UPDATE Conceptos SET Nombre ='O'Brien' WHERE Codigo ='C1'", kSyntax,
                  "Incorrect syntax near 'Brien'."},
        ErrorCase{"SELECT Codigo FROM Conceptos WHERE Nombre = 'abc", kSyntax,
                  "Unclosed quotation mark after the character string 'abc'."},
        ErrorCase{"SELECT Codigo FROM Conceptos WHERE Nombre = 'it''s", kSyntax,
                  "Unclosed quotation mark after the character string 'it''s'."},
        ErrorCase{"SELECT * FROM WHERE Codigo = 1", kSyntax,
                  "Incorrect syntax near the keyword 'WHERE'."},
        ErrorCase{"SELECT Codigo FROM", kSyntax, "Incorrect syntax near the keyword 'FROM'."},
        ErrorCase{"SELECT Codigo FROM Conceptos WHERE Codigo =", kSyntax,
                  "Incorrect syntax near '='."},
        ErrorCase{"SELECT Codigo FROM Conceptos WHERE Codigo = 1 1", kSyntax,
                  "Incorrect syntax near '1'."},
        ErrorCase{"SELECT Codigo FROM Conceptos /* open", kSyntax,
                  "Missing end comment mark '*/'."},
        ErrorCase{"EXEC CON_DevAsiento 1", kSyntax, "Incorrect syntax near the keyword 'EXEC'."},
        ErrorCase{"", kSyntax, "Incorrect syntax near ''."}));

INSTANTIATE_TEST_SUITE_P(
    Batches, TranslationError,
    ::testing::Values(
        ErrorCase{"SELECT * FROM Conceptos WHERE Codigo='x'; DELETE FROM Conceptos; --'", kSyntax,
                  "Incorrect syntax near the keyword 'DELETE'."},
        ErrorCase{"DELETE FROM Conceptos WHERE Codigo = '1' DELETE FROM Asientos", kSyntax,
                  "Incorrect syntax near the keyword 'DELETE'."},
        ErrorCase{"SELECT 1;;", kSyntax, "Incorrect syntax near ';'."}));

INSTANTIATE_TEST_SUITE_P(
    Names, TranslationError,
    ::testing::Values(
        ErrorCase{"SELECT * FROM Nada", errc::kInvalidObject, "Invalid object name 'Nada'."},
        ErrorCase{"UPDATE Nada SET x = 1", errc::kInvalidObject, "Invalid object name 'Nada'."},
        ErrorCase{"INSERT INTO Nada (x) VALUES (1)", errc::kInvalidObject,
                  "Invalid object name 'Nada'."},
        ErrorCase{"SELECT Nada FROM Conceptos", kSyntax, "Invalid column name 'Nada'."},
        ErrorCase{"UPDATE Conceptos SET Nada = 1", kSyntax, "Invalid column name 'Nada'."},
        ErrorCase{"INSERT INTO Conceptos (Codigo, Nada) VALUES ('1', 2)", kSyntax,
                  "Invalid column name 'Nada'."},
        ErrorCase{"SELECT Cod_Empresa FROM Movimientos a JOIN Asientos b ON a.Cod_Asiento = "
                  "b.Codigo",
                  kSyntax, "Ambiguous column name 'Cod_Empresa'."},
        ErrorCase{"SELECT CodMenu FROM SGD_Menus_Grupos, SGD_Usuarios_Grupos WHERE CodGrupo = 1",
                  kSyntax, "Ambiguous column name 'CodGrupo'."},
        ErrorCase{"SELECT Movimientos.Cuenta FROM Movimientos m", kSyntax,
                  "The multi-part identifier \"Movimientos.Cuenta\" could not be bound."},
        ErrorCase{"SELECT FOO(Codigo) FROM Conceptos", kSyntax,
                  "'FOO' is not a recognized built-in function name."},
        ErrorCase{"SELECT @x", kSyntax, "Must declare the scalar variable \"@x\"."},
        ErrorCase{"UPDATE Conceptos SET Nombre = @Nombre WHERE Codigo = '1'", kSyntax,
                  "Must declare the scalar variable \"@Nombre\"."},
        ErrorCase{"SELECT @@ROWCOUNT", kSyntax, "Must declare the scalar variable \"@@ROWCOUNT\"."},
        // The insert that writes field names instead of values is refused.
        ErrorCase{"INSERT INTO SGD_Usuarios (Codigo, Nombre, Alias, Password, Caja, Efectos, "
                  "Tarjeta, Direccion, Cp, Localidad, Provincia, Telefono, Pais, AccesoTPV, "
                  "AccesoCentral, eMail, Enviado, Nif, FechaPassword, FechaBloqueo, ForzarPass) "
                  "VALUES (3, 'Ana', 'ana', 'x', '', '', '', '', 38001, '', '', '', '', 1, 0, "
                  "'', 0,  Me.Nif,  Me.FechaPassword,  Me.FechaBloqueo )",
                  kSyntax,
                  "There are more columns in the INSERT statement than values specified in the "
                  "VALUES clause. The number of values in the VALUES clause must match the number "
                  "of columns specified in the INSERT statement."},
        ErrorCase{"INSERT INTO SGD_Usuarios_Grupos (CodUsuario, CodGrupo) VALUES (3, Me.Nif)",
                  kSyntax, "The multi-part identifier \"Me.Nif\" could not be bound."},
        ErrorCase{"INSERT INTO Previsiones_Pago (Apunte, Cod_Empresa) VALUES (1, 1)", kSyntax,
                  "Cannot insert explicit value for identity column in table "
                  "'Previsiones_Pago' when IDENTITY_INSERT is set to OFF."},
        ErrorCase{"INSERT INTO Conceptos (Codigo, Nombre) SELECT Codigo FROM Conceptos", kSyntax,
                  "The select list for the INSERT statement contains fewer items than the "
                  "insert list. The number of SELECT values must match the number of INSERT "
                  "columns."}));

INSTANTIATE_TEST_SUITE_P(
    Values, TranslationError,
    ::testing::Values(
        ErrorCase{"UPDATE Asientos SET Fecha = '01/01/1700'", errc::kConversion,
                  "The conversion of a varchar data type to a datetime data type resulted in an "
                  "out-of-range value."},
        ErrorCase{"UPDATE Movimientos SET Debe = 922337203685477.5808", errc::kDataOverflow,
                  "Arithmetic overflow error converting numeric to data type money."},
        ErrorCase{"INSERT INTO Movimientos (Concepto) VALUES ('" + std::string(61, 'x') + "')",
                  errc::kDataOverflow, "String or binary data would be truncated."},
        ErrorCase{"UPDATE Movimientos SET Dpto = 32768", errc::kDataOverflow,
                  "Arithmetic overflow error converting expression to data type smallint."},
        ErrorCase{"UPDATE Conceptos SET Impuestos = 256", errc::kDataOverflow,
                  "Arithmetic overflow error converting expression to data type tinyint."},
        ErrorCase{"UPDATE Movimientos SET Apunte = 2147483648", errc::kDataOverflow,
                  "Arithmetic overflow error converting expression to data type int."},
        ErrorCase{"UPDATE Conceptos SET Impuestos = -1", errc::kDataOverflow,
                  "Arithmetic overflow error converting expression to data type tinyint."},
        ErrorCase{"UPDATE Movimientos SET Dpto = 'x1'", errc::kConversion,
                  "Conversion failed when converting the varchar value 'x1' to data type "
                  "smallint."},
        ErrorCase{"SELECT Apunte FROM Movimientos WHERE Dpto = '99999'", errc::kDataOverflow,
                  "The conversion of the varchar value '99999' overflowed a smallint column."},
        ErrorCase{"UPDATE Conceptos SET Debe = 'yes'", errc::kConversion,
                  "Conversion failed when converting the varchar value 'yes' to data type bit."},
        ErrorCase{"UPDATE Movimientos SET Debe = 'abc'", errc::kConversion,
                  "Cannot convert a char value to money. The char value has incorrect syntax."}));

INSTANTIATE_TEST_SUITE_P(
    Semantics, TranslationError,
    ::testing::Values(
        ErrorCase{"SELECT Cuenta, SUM(Debe) FROM Movimientos", kSyntax,
                  "Column 'Movimientos.Cuenta' is invalid in the select list because it is not "
                  "contained in either an aggregate function or the GROUP BY clause."},
        ErrorCase{"SELECT a.Cuenta FROM Movimientos a GROUP BY a.Dpto", kSyntax,
                  "Column 'a.Cuenta' is invalid in the select list because it is not contained "
                  "in either an aggregate function or the GROUP BY clause."},
        ErrorCase{"SELECT Codigo FROM Conceptos WHERE COUNT(*) > 1", kSyntax,
                  "An aggregate may not appear in the WHERE clause unless it is in a subquery "
                  "contained in a HAVING clause or a select list, and the column being "
                  "aggregated is an outer reference."},
        ErrorCase{"SELECT SUM(MAX(Debe)) FROM Movimientos", kSyntax,
                  "Cannot perform an aggregate function on an expression containing an "
                  "aggregate or a subquery."},
        ErrorCase{"SELECT Codigo FROM Conceptos ORDER BY 3", kSyntax,
                  "The ORDER BY position number 3 is out of range of the number of items in the "
                  "select list."},
        ErrorCase{"SELECT Codigo FROM Conceptos WHERE Nombre", kSyntax,
                  "An expression of non-boolean type specified in a context where a condition "
                  "is expected, near 'Nombre'."},
        ErrorCase{"SELECT Codigo FROM Conceptos WHERE Codigo IN (SELECT Codigo, Nombre FROM "
                  "Conceptos)",
                  kSyntax,
                  "Only one expression can be specified in the select list when the subquery is "
                  "not introduced with EXISTS."},
        ErrorCase{"SELECT Codigo FROM Conceptos WHERE Codigo IN (SELECT Codigo FROM Conceptos "
                  "ORDER BY Codigo)",
                  kSyntax,
                  "The ORDER BY clause is invalid in views, inline functions, derived tables, "
                  "subqueries, and common table expressions, unless TOP, OFFSET or FOR XML is "
                  "also specified."},
        ErrorCase{"SELECT DISTINCT Cuenta FROM Movimientos ORDER BY Apunte", kSyntax,
                  "ORDER BY items must appear in the select list if SELECT DISTINCT is "
                  "specified."},
        ErrorCase{"SELECT SUM(Nombre) FROM Conceptos", kSyntax,
                  "Operand data type varchar is invalid for sum operator."},
        ErrorCase{"SELECT Codigo FROM Conceptos, Conceptos", kSyntax,
                  "The objects \"Conceptos\" and \"Conceptos\" in the FROM clause have the same "
                  "exposed names. Use correlation names to distinguish them."},
        ErrorCase{"UPDATE Conceptos SET Nombre = 'a', Nombre = 'b'", kSyntax,
                  "The column name 'Nombre' is specified more than once in the SET clause or "
                  "column list of an UPDATE. A column cannot be assigned more than one value in "
                  "the same clause."},
        ErrorCase{"SELECT *", kSyntax, "Must specify table to select from."},
        ErrorCase{"UPDATE SGD_Usuarios SET Nombre = 'x' FROM SGD_Usuarios a JOIN SGD_Usuarios "
                  "b ON a.Codigo = b.Codigo",
                  kSyntax, "The table 'SGD_Usuarios' is ambiguous."},
        ErrorCase{"SELECT ROUND(Debe, 2) FROM Movimientos", kSyntax,
                  "The function ROUND is not supported by the SQLite provider."},
        ErrorCase{"SELECT Debe % 3 FROM Movimientos", kSyntax,
                  "The modulo operator on money is not supported by the SQLite provider."}));

TEST(SingleStatement, AcceptsOneTrailingSemicolonAndComments) {
    Translation translation =
        translateOnce("-- the concept\nDELETE FROM Conceptos /* by code */ WHERE Codigo = '1';");
    EXPECT_EQ(translation.sql(), "DELETE FROM \"Conceptos\" WHERE \"Conceptos\".\"Codigo\" = ?1");
}

}  // namespace
}  // namespace kvlnmov::db::sqlite::testing
