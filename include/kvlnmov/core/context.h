#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kvlnmov/frame/date.h"
#include "kvlnmov/frame/object.h"
#include "kvlnmov/frame/variant.h"

namespace kvlnmov {

/// The company/exercise context every business object is bound to: what the library asks of
/// the application about the current company, its working exercise and its chart of
/// accounts. The library calls the members afresh each time it needs a value.
class cEmpresa : public Object {
  public:
    std::string className() const override { return "cEmpresa"; }

    /// Code of the current company.
    virtual std::int16_t Cod_Empresa() = 0;
    /// Code of the current (working) exercise.
    virtual std::int16_t Cod_Ejercicio() = 0;
    /// First and last day of the working exercise.
    virtual Date FechaInicio() = 0;
    virtual Date FechaFin() = 0;
    /// Number of levels of the chart of accounts; the full account is level `Niveles`.
    virtual std::int16_t Niveles() = 0;
    /// Number of leading characters of an account that form its summary account at level
    /// index `level` (0-based); 0 for an index past the last level.
    virtual std::int16_t LongitudNivel(std::int16_t level) = 0;
    /// Length of a full (posting) account.
    virtual std::int16_t LongitudCuenta() = 0;
    /// Code of the exercise that contains `date`.
    virtual std::int16_t EjercicioFecha(Date date) = 0;
    /// Accounting period of the working exercise in which calendar month `month` (1..12)
    /// falls; used as the suffix of the period columns (D1..D12, H1..H12).
    virtual std::int16_t PeriodoMes(std::int16_t month) = 0;
    /// A named context value: "UsuarioActual" (the current user's code) and the report
    /// logon values "ODBCNombre", "ODBCBaseDatos", "ODBCUsuario", "ODBCPassword". Unknown
    /// names give Empty.
    virtual Variant Valor(std::string_view name) = 0;
    /// The company's entry-numbering scheme: 0, 1 or 2.
    virtual std::int16_t TipoNumeracion() = 0;
    /// The company's indirect-tax kind; 1 means the company keeps the IGIC book.
    virtual std::int16_t TipoImpuesto() = 0;
};

using cEmpresaRef = std::shared_ptr<cEmpresa>;

/// True when `date` lies before the first or after the last day of the working exercise.
bool outsideExercise(cEmpresa& context, Date date);

/// Refuses a date outside the working exercise: error 1000 from `source`, "Fecha fuera de
/// ejercicio contable".
void checkDateInExercise(cEmpresa& context, const std::string& source, Date date);

/// Refuses a date range that does not lie in the working exercise: error 1000 from `source`,
/// "Fecha inicial fuera de ejercicio contable" for `first`, then "Fecha final fuera de
/// ejercicio contable" for `last`.
void checkDatesInExercise(cEmpresa& context, const std::string& source, Date first, Date last);

/// A context whose every value is set by its owner: for tests, scenarios and applications
/// that keep the company data elsewhere.
class SettableContext : public cEmpresa {
  public:
    /// Exercise date ranges looked up by `EjercicioFecha` before the working exercise.
    struct ExerciseRange {
        std::int16_t code = 0;
        Date first;
        Date last;
    };

    std::int16_t company = 1;
    std::int16_t exercise = 0;
    Date firstDay;
    Date lastDay;
    /// Lengths of the chart levels, from the first summary level to the full account.
    std::vector<std::int16_t> levelLengths{1, 2, 3, 4, 8};
    std::int16_t numberingScheme = 0;
    std::int16_t taxKind = 0;
    /// Period of each calendar month (element m-1 for month m); empty means the month itself.
    std::vector<std::int16_t> periodOfMonth;
    std::vector<ExerciseRange> exercises;
    /// Named values for `Valor`; "UsuarioActual" is among them.
    std::map<std::string, Variant, std::less<>> values;

    std::int16_t Cod_Empresa() override { return company; }
    std::int16_t Cod_Ejercicio() override { return exercise; }
    Date FechaInicio() override { return firstDay; }
    Date FechaFin() override { return lastDay; }
    std::int16_t Niveles() override;
    std::int16_t LongitudNivel(std::int16_t level) override;
    std::int16_t LongitudCuenta() override;
    /// The code of the listed range holding `date`; otherwise the working exercise when
    /// `date` lies in it, else the date's year.
    std::int16_t EjercicioFecha(Date date) override;
    std::int16_t PeriodoMes(std::int16_t month) override;
    Variant Valor(std::string_view name) override;
    std::int16_t TipoNumeracion() override { return numberingScheme; }
    std::int16_t TipoImpuesto() override { return taxKind; }
};

}  // namespace kvlnmov
