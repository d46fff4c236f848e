#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/context.h"

namespace kvlnmov {

/// A context read from the company database: the company row of `Empresas` and the exercise
/// rows of `Empresas_Ejercicios` (dates, chart level lengths "1,2,3,4,8", numbering scheme,
/// tax kind). The values are read when the object is made and again on `refresh()`.
///
/// Periods are numbered from the exercise's first month: an exercise starting in July has
/// July as period 1 and June as period 12. `EjercicioFecha` answers the code of the
/// company's exercise whose dates hold the date, or the date's year when none does.
class EmpresaContext : public cEmpresa {
  public:
    /// Raises error 1000 (source "EmpresaContext") when the company or the exercise does not
    /// exist, and provider errors as they come.
    EmpresaContext(db::ConnectionRef connection, std::int16_t company, std::int16_t exercise);

    /// Reads the company and exercise rows again.
    void refresh();
    /// Sets a named value answered by `Valor` ("UsuarioActual", "ODBCNombre", ...).
    void setValor(std::string name, Variant value);

    std::int16_t Cod_Empresa() override { return company_; }
    std::int16_t Cod_Ejercicio() override { return exercise_; }
    Date FechaInicio() override { return firstDay_; }
    Date FechaFin() override { return lastDay_; }
    std::int16_t Niveles() override;
    std::int16_t LongitudNivel(std::int16_t level) override;
    std::int16_t LongitudCuenta() override;
    std::int16_t EjercicioFecha(Date date) override;
    std::int16_t PeriodoMes(std::int16_t month) override;
    Variant Valor(std::string_view name) override;
    std::int16_t TipoNumeracion() override { return numberingScheme_; }
    std::int16_t TipoImpuesto() override { return taxKind_; }

    /// The only company/exercise of a database, for tools that need not be told; raises
    /// error 1000 when there is not exactly one of each.
    static std::pair<std::int16_t, std::int16_t> singleCompanyExercise(
        const db::ConnectionRef& connection);

  private:
    struct Exercise {
        std::int16_t code = 0;
        Date first;
        Date last;
    };

    db::ConnectionRef connection_;
    std::int16_t company_;
    std::int16_t exercise_;
    Date firstDay_;
    Date lastDay_;
    std::vector<std::int16_t> levelLengths_;
    std::int16_t numberingScheme_ = 0;
    std::int16_t taxKind_ = 0;
    std::vector<Exercise> exercises_;
    std::map<std::string, Variant, std::less<>> values_;
};

}  // namespace kvlnmov
