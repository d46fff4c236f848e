#include "kvlnmov/core/sql_text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <iterator>

#include "kvlnmov/frame/quoted_values.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/frame/text.h"

namespace kvlnmov::sql {

std::string text(std::string_view value) {
    quoted::note(value);
    return std::string(value);
}

std::string cut(std::string_view value, std::size_t length) {
    return text(text::firstCharacters(value, length));
}

std::string amount(Currency value) {
    std::string out = value.toText();
    std::replace(out.begin(), out.end(), ',', '.');
    return out;
}

std::string number(Currency value) { return funciones().NumeroSQL(value); }

std::string date(Date value) { return value.toText(); }

std::int32_t currentUser(cEmpresa& context) {
    Variant user = context.Valor("UsuarioActual");
    if (user.isNull() || user.isEmpty()) return 0;
    if (user.isNumeric()) return user.toLong();
    std::string text = user.toText();
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    std::int64_t number = 0;
    for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) {
        number = number * 10 + (text[i] - '0');
        if (number > INT32_MAX) throw overflow();
    }
    return static_cast<std::int32_t>(number);
}

std::string whereCompany(std::int16_t company) {
    return " WHERE Cod_Empresa =" + std::to_string(company);
}

std::string andExercise(std::int16_t exercise) {
    return " AND Cod_Ejercicio =" + std::to_string(exercise);
}

std::string whereCompanyExercise(cEmpresa& context) {
    // Built in one string: this filter starts nearly every statement of a posted line.
    char company[8];
    char exercise[8];
    const auto companyEnd = std::to_chars(std::begin(company), std::end(company), context.Cod_Empresa());
    const auto exerciseEnd =
        std::to_chars(std::begin(exercise), std::end(exercise), context.Cod_Ejercicio());
    constexpr std::string_view kWhere = " WHERE Cod_Empresa =";
    constexpr std::string_view kAnd = " AND Cod_Ejercicio =";
    std::string out;
    out.reserve(kWhere.size() + kAnd.size() + 12);
    out.append(kWhere).append(company, companyEnd.ptr);
    out.append(kAnd).append(exercise, exerciseEnd.ptr);
    return out;
}

std::string andAccount(std::string_view account) { return " AND Cuenta ='" + text(account) + "'"; }

std::string reconciliationFilter(std::int16_t intPunteo) {
    if (intPunteo == 1) return " AND Punteo <> 0";
    if (intPunteo == 2) return " AND Punteo = 0";
    return {};
}

Date normalizeDate(Date value) { return value.dateOnly(); }

}  // namespace kvlnmov::sql
