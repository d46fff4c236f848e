#include "kvlnmov/core/context.h"

#include <algorithm>
#include <cctype>

#include "kvlnmov/frame/error.h"
#include "kvlnmov/frame/text.h"

namespace kvlnmov {

std::int16_t SettableContext::Niveles() { return static_cast<std::int16_t>(levelLengths.size()); }

std::int16_t SettableContext::LongitudNivel(std::int16_t level) {
    if (level < 0 || static_cast<std::size_t>(level) >= levelLengths.size()) return 0;
    return levelLengths[static_cast<std::size_t>(level)];
}

std::int16_t SettableContext::LongitudCuenta() {
    return levelLengths.empty() ? 0 : levelLengths.back();
}

std::int16_t SettableContext::EjercicioFecha(Date date) {
    Date day = date.dateOnly();
    for (const auto& range : exercises) {
        if (range.first <= day && day <= range.last) return range.code;
    }
    if (firstDay <= day && day <= lastDay) return exercise;
    return static_cast<std::int16_t>(day.year());
}

bool outsideExercise(cEmpresa& context, Date date) {
    return date < context.FechaInicio() || date > context.FechaFin();
}

void checkDateInExercise(cEmpresa& context, const std::string& source, Date date) {
    if (outsideExercise(context, date))
        throw Error(errc::kCheck, source, "Fecha fuera de ejercicio contable");
}

void checkDatesInExercise(cEmpresa& context, const std::string& source, Date first, Date last) {
    if (outsideExercise(context, first))
        throw Error(errc::kCheck, source, "Fecha inicial fuera de ejercicio contable");
    if (outsideExercise(context, last))
        throw Error(errc::kCheck, source, "Fecha final fuera de ejercicio contable");
}

std::int16_t SettableContext::PeriodoMes(std::int16_t month) {
    if (periodOfMonth.empty()) return month;
    if (month < 1 || static_cast<std::size_t>(month) > periodOfMonth.size()) return month;
    return periodOfMonth[static_cast<std::size_t>(month - 1)];
}

Variant SettableContext::Valor(std::string_view name) {
    for (const auto& [key, value] : values) {
        if (text::equalsIgnoringCase(key, name)) return value;
    }
    return {};
}

}  // namespace kvlnmov
