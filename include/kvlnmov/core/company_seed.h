#pragma once

// A new company database: the schema, the company's row and one exercise. The tool's `init`,
// the scenario runner, the benchmarks and the test fixtures all start a company here.

#include <cstdint>
#include <string>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/frame/date.h"

namespace kvlnmov {

struct CompanySeed {
    std::int16_t company = 1;
    std::int16_t exercise = 2026;
    std::string name = "Empresa de pruebas";
    Date firstDay = Date::ymd(2026, 1, 1);
    Date lastDay = Date::ymd(2026, 12, 31);
    /// The lengths of the account levels, as the exercise row keeps them ("1,2,3,4,8").
    std::string levels = "1,2,3,4,8";
    std::int16_t numbering = 0;  ///< TipoNumeracion
    std::int16_t tax = 0;        ///< TipoImpuesto
    bool open = true;            ///< Estado 0 (open) or 1 (closed)
};

/// Creates the company schema on `connection` (an empty database) and writes the company row
/// (Empresas) and its exercise row (Empresas_Ejercicios). Dates are written in the regional
/// short form, as the library writes them, which every provider reads.
void seedCompany(db::Connection& connection, const CompanySeed& seed);

}  // namespace kvlnmov
