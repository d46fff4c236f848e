#include "kvlnmov/core/empresa_context.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/frame/text.h"

namespace kvlnmov {

namespace {

constexpr const char* kSource = "EmpresaContext";

std::vector<std::int16_t> parseLevels(const std::string& text) {
    std::vector<std::int16_t> levels;
    std::stringstream input(text);
    std::string item;
    while (std::getline(input, item, ',')) {
        auto begin = item.find_first_not_of(' ');
        if (begin == std::string::npos) continue;
        int value = std::stoi(item.substr(begin));
        if (value <= 0 || value > 30 || (!levels.empty() && value <= levels.back())) {
            throw Error(errc::kCheck, kSource,
                        "Longitudes de nivel no válidas en Empresas_Ejercicios: " + text);
        }
        levels.push_back(static_cast<std::int16_t>(value));
    }
    if (levels.empty()) {
        throw Error(errc::kCheck, kSource, "Empresas_Ejercicios no define longitudes de nivel");
    }
    return levels;
}

}  // namespace

EmpresaContext::EmpresaContext(db::ConnectionRef connection, std::int16_t company,
                               std::int16_t exercise)
    : connection_(std::move(connection)), company_(company), exercise_(exercise) {
    refresh();
}

void EmpresaContext::refresh() {
    db::Recordset companyRow;
    companyRow.Open("SELECT Codigo FROM Empresas WHERE Codigo =" + std::to_string(company_),
                    connection_);
    bool companyFound = !companyRow.Eof();
    companyRow.Close();
    if (!companyFound) {
        throw Error(errc::kCheck, kSource, "No existe la empresa " + std::to_string(company_));
    }

    db::Recordset rows;
    rows.Open(
        "SELECT Cod_Ejercicio, FechaInicio, FechaFin, LongitudesNivel, TipoNumeracion, "
        "TipoImpuesto FROM Empresas_Ejercicios WHERE Cod_Empresa =" +
            std::to_string(company_) + " ORDER BY FechaInicio",
        connection_);
    exercises_.clear();
    bool found = false;
    for (; !rows.Eof(); rows.MoveNext()) {
        Exercise item{rows.Fields("Cod_Ejercicio").toInteger(), rows.Fields("FechaInicio").toDate(),
                      rows.Fields("FechaFin").toDate()};
        exercises_.push_back(item);
        if (item.code != exercise_) continue;
        found = true;
        firstDay_ = item.first;
        lastDay_ = item.last;
        levelLengths_ = parseLevels(rows.Fields("LongitudesNivel").toText());
        numberingScheme_ = rows.Fields("TipoNumeracion").toInteger();
        taxKind_ = rows.Fields("TipoImpuesto").toInteger();
    }
    rows.Close();
    if (!found) {
        throw Error(errc::kCheck, kSource,
                    "Empresa: " + std::to_string(company_) + " No existe el ejercicio " +
                        std::to_string(exercise_));
    }
}

void EmpresaContext::setValor(std::string name, Variant value) {
    values_[std::move(name)] = std::move(value);
}

std::int16_t EmpresaContext::Niveles() { return static_cast<std::int16_t>(levelLengths_.size()); }

std::int16_t EmpresaContext::LongitudNivel(std::int16_t level) {
    if (level < 0 || static_cast<std::size_t>(level) >= levelLengths_.size()) return 0;
    return levelLengths_[static_cast<std::size_t>(level)];
}

std::int16_t EmpresaContext::LongitudCuenta() {
    return levelLengths_.empty() ? 0 : levelLengths_.back();
}

std::int16_t EmpresaContext::EjercicioFecha(Date date) {
    Date day = date.dateOnly();
    for (const auto& item : exercises_) {
        if (item.first <= day && day <= item.last) return item.code;
    }
    return static_cast<std::int16_t>(day.year());
}

std::int16_t EmpresaContext::PeriodoMes(std::int16_t month) {
    int first = firstDay_.month();
    return static_cast<std::int16_t>((month - first + 12) % 12 + 1);
}

Variant EmpresaContext::Valor(std::string_view name) {
    for (const auto& [key, value] : values_) {
        if (text::equalsIgnoringCase(key, name)) return value;
    }
    return {};
}

std::pair<std::int16_t, std::int16_t> EmpresaContext::singleCompanyExercise(
    const db::ConnectionRef& connection) {
    db::Recordset rows;
    rows.Open("SELECT Cod_Empresa, Cod_Ejercicio FROM Empresas_Ejercicios", connection);
    std::vector<std::pair<std::int16_t, std::int16_t>> found;
    for (; !rows.Eof(); rows.MoveNext()) {
        found.emplace_back(rows.Fields("Cod_Empresa").toInteger(),
                           rows.Fields("Cod_Ejercicio").toInteger());
    }
    rows.Close();
    if (found.size() != 1) {
        throw Error(errc::kCheck, kSource,
                    "La base de datos tiene " + std::to_string(found.size()) +
                        " ejercicios; indique empresa y ejercicio");
    }
    return found.front();
}

}  // namespace kvlnmov
