#include "kvlnmov/core/company_seed.h"

#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {

namespace {

// A text literal with its quotes doubled: the company's name is the caller's own text.
std::string literal(const std::string& text) {
    std::string result = "'";
    for (char c : text) {
        result += c;
        if (c == '\'') result += '\'';
    }
    return result + "'";
}

}  // namespace

void seedCompany(db::Connection& connection, const CompanySeed& seed) {
    connection.createCompanySchema();
    connection.Execute("INSERT INTO Empresas (Codigo, Nombre, OficinaCentral) VALUES (" +
                       std::to_string(seed.company) + ", " + literal(seed.name) + ", 0)");
    connection.Execute(
        "INSERT INTO Empresas_Ejercicios (Cod_Empresa, Cod_Ejercicio, Estado, FechaInicio, "
        "FechaFin, LongitudesNivel, TipoNumeracion, TipoImpuesto) VALUES (" +
        std::to_string(seed.company) + ", " + std::to_string(seed.exercise) + ", " +
        (seed.open ? "0" : "1") + ", '" + sql::date(seed.firstDay) + "', '" +
        sql::date(seed.lastDay) + "', " + literal(seed.levels) + ", " +
        std::to_string(seed.numbering) + ", " + std::to_string(seed.tax) + ")");
}

}  // namespace kvlnmov
