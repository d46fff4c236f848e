#pragma once

// How values are written into SQL text. Statements are built by concatenation: texts go
// between quotes exactly as held (a quote inside breaks the statement; that is how the
// library behaves and callers rely on the provider's error), numbers as digits, flags as 0 or
// 1, amounts with "." as decimal separator, dates in the regional short form.

#include <cstdint>
#include <string>
#include <string_view>

#include "kvlnmov/core/context.h"
#include "kvlnmov/frame/currency.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov::sql {

/// A text as held, not escaped (the caller puts the quotes around it). Every text the
/// library writes between quotes goes through this writer (or `cut`, `andAccount`): a text
/// holding a quote is noted, and the connection refuses a statement that contains it with
/// the syntax error of a stray quote, so no text can change what a statement does.
std::string text(std::string_view value);
/// The first `length` characters (not bytes) of a UTF-8 text, written as `text` writes it:
/// columns the library cuts, such as concepts.
std::string cut(std::string_view value, std::size_t length);
/// A whole number in decimal digits.
inline std::string integer(std::int64_t value) { return std::to_string(value); }
/// A flag as the absolute value of the language's Boolean: "0" or "1".
inline std::string flag(bool value) { return value ? "1" : "0"; }
/// An amount, first form: its default text form with every "," replaced by "."
/// (1234,5 is written 1234.5).
std::string amount(Currency value);
/// An amount, second form: `Funciones.NumeroSQL` of the amount. The amount is written
/// exactly (the text a double would give for every amount a double holds exactly, and the
/// exact amount beyond), so running balances never drift by a rounding.
std::string number(Currency value);
/// A date as the default date-to-text conversion writes it: the regional short date, with
/// the time of day when it has one.
std::string date(Date value);
/// The time stamp of a change, written literally.
inline constexpr std::string_view kGetDate = "GETDATE()";

/// The current user's code: the number formed by the leading digits of
/// `Valor("UsuarioActual")` (blanks before them skipped), 0 when there are none.
std::int32_t currentUser(cEmpresa& context);

/// " WHERE Cod_Empresa =" code.
std::string whereCompany(std::int16_t company);
/// " AND Cod_Ejercicio =" code.
std::string andExercise(std::int16_t exercise);
/// " WHERE Cod_Empresa =" company " AND Cod_Ejercicio =" exercise, from the context.
std::string whereCompanyExercise(cEmpresa& context);
/// " AND Cuenta ='" account "'".
std::string andAccount(std::string_view account);

/// The reconciliation filter of the account reassignments: " AND Punteo <> 0" for reconciled
/// lines (1), " AND Punteo = 0" for unreconciled ones (2), nothing for any other value.
std::string reconciliationFilter(std::int16_t intPunteo);

/// A date property's value as the library keeps it: formatted as "dd/mm/yyyy" and read
/// back, so any time of day is dropped.
Date normalizeDate(Date value);

}  // namespace kvlnmov::sql
