#pragma once

// The company of the maintenance tests (chart levels 2 and 8) with helpers to post and annul
// entries through the journal classes.

#include <cstdint>
#include <string>
#include <vector>

#include "support/company_fixture.h"

namespace kvlnmov::testing {

/// One line to post: account, debit, credit.
struct LineToPost {
    std::string cuenta;
    long debe = 0;
    long haber = 0;
};

class MaintenanceTest : public CompanyTest {
  protected:
    std::vector<std::int16_t> levels() const override { return {2, 8}; }

    /// Posts an ordinary entry dated `date` with `lines` (department 1); returns its number
    /// and appends the new line numbers to `apuntes` when given.
    std::int32_t post(Date date, const std::vector<LineToPost>& lines,
                      std::vector<std::int32_t>* apuntes = nullptr) {
        auto entry = bound<clsAsiento>();
        entry->Fecha(date);
        entry->Usuario(3);
        entry->Insertar();
        auto line = bound<clsMov>();
        for (const LineToPost& posted : lines) {
            line->Asiento(entry->Codigo());
            line->Fecha(date);
            line->Fecha_Asiento(date);
            line->Cuenta(posted.cuenta);
            line->Concepto("Linea " + posted.cuenta);
            line->DocumentoSTR("D-" + std::to_string(entry->Codigo()));
            line->Dpto(1);
            line->Debe(Currency::fromUnits(posted.debe));
            line->Haber(Currency::fromUnits(posted.haber));
            line->Insertar();
            if (apuntes) apuntes->push_back(line->Apunte());
        }
        return entry->Codigo();
    }

    /// Annuls entry `number` dated `date` as user 9.
    void annul(std::int32_t number, Date date) {
        auto entry = bound<clsAsiento>();
        entry->Codigo(number);
        entry->Fecha(date);
        entry->Usuario(9);
        entry->Eliminar();
    }
};

}  // namespace kvlnmov::testing
