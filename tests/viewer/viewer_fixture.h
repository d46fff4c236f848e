#pragma once

// A company database with entries written by plain SQL, for the entry viewer's tests.

#include <optional>
#include <string>

#include "support/company_fixture.h"

namespace kvlnmov::testing {

/// One journal line as the tests write it; amounts as SQL numbers ("1234.5").
struct Line {
    std::int32_t apunte = 0;
    std::string cuenta = "43000001";
    std::string concepto{};
    std::string documento{};
    std::optional<int> diario = 1;
    std::optional<int> dpto = 0;
    std::string debe = "0";
    std::string haber = "0";
    int punteo = 0;
};

class ViewerTest : public CompanyTest {
  protected:
    /// An entry header of company 1, exercise 2026 dated 15/03/2026; `usuario` empty writes
    /// Null.
    void addEntry(std::int32_t codigo, std::optional<int> usuario) {
        db->Execute(
            "INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo, Fecha, Cierre, Usuario) "
            "VALUES (1, 2026, " +
            std::to_string(codigo) + ", '15/03/2026', 0, " +
            (usuario ? std::to_string(*usuario) : "NULL") + ")");
    }

    void addLine(std::int32_t entry, const Line& line) {
        auto orNull = [](const std::optional<int>& value) {
            return value ? std::to_string(*value) : std::string("NULL");
        };
        db->Execute(
            "INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte, "
            "Fecha_Asiento, Cuenta, Fecha_Apunte, Concepto, Documento, Diario, Dpto, Debe, Haber, "
            "Punteo) VALUES (1, 2026, " +
            std::to_string(entry) + ", " + std::to_string(line.apunte) + ", '15/03/2026', '" +
            line.cuenta + "', '15/03/2026', '" + line.concepto + "', '" + line.documento + "', " +
            orNull(line.diario) + ", " + orNull(line.dpto) + ", " + line.debe + ", " + line.haber +
            ", " + std::to_string(line.punteo) + ")");
    }

    void addAccount(const std::string& cuenta, const std::string& nombre) {
        db->Execute(
            "INSERT INTO Cuentas (Cod_Empresa, Cod_Ejercicio, Cuenta, Nombre) VALUES (1, "
            "2026, '" +
            cuenta + "', '" + nombre + "')");
    }

    /// An entry of `count` lines numbered 1..count (written in reverse order), line n with the
    /// concept "Linea n", odd lines 10.00 on the debit side and even ones on the credit side.
    void addLongEntry(std::int32_t entry, int count) {
        addEntry(entry, 0);
        db->BeginTrans();
        for (int n = count; n >= 1; --n) {
            Line line;
            line.apunte = n;
            line.concepto = "Linea " + std::to_string(n);
            (n % 2 ? line.debe : line.haber) = "10";
            addLine(entry, line);
        }
        db->CommitTrans();
    }
};

}  // namespace kvlnmov::testing
