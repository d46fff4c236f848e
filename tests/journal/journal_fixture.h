#pragma once

// A fresh embedded company database with the library bound to it, for the journal tests.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/frame/regional.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "support/test_connection.h"

namespace kvlnmov::testing {

inline std::shared_ptr<SettableContext> exerciseContext(std::vector<std::int16_t> levels = {1, 2, 3,
                                                                                            4, 8}) {
    auto context = std::make_shared<SettableContext>();
    context->company = 1;
    context->exercise = 2026;
    context->firstDay = Date::ymd(2026, 1, 1);
    context->lastDay = Date::ymd(2026, 12, 31);
    context->levelLengths = std::move(levels);
    context->values["UsuarioActual"] = Variant("7");
    return context;
}

/// Creates the company schema, company 1 and its open exercise 2026 on `connection`.
inline void createCompany(db::Connection& connection, const SettableContext& context) {
    connection.createCompanySchema();
    connection.Execute("INSERT INTO Empresas (Codigo, Nombre) VALUES (1, 'Empresa de pruebas')");
    std::string levels;
    for (auto length : context.levelLengths) {
        levels += (levels.empty() ? "" : ",") + std::to_string(length);
    }
    connection.Execute(
        "INSERT INTO Empresas_Ejercicios (Cod_Empresa, Cod_Ejercicio, Estado, FechaInicio, "
        "FechaFin, LongitudesNivel) VALUES (1, 2026, 0, '01/01/2026', '31/12/2026', '" +
        levels + "')");
}

/// Posts an entry dated `date` through the library: its header, then one line per account
/// and amount (a positive amount is a debit, a negative one a credit). Returns its number.
inline std::int32_t postEntry(const db::ConnectionRef& connection, const cEmpresaRef& context,
                              Date date,
                              const std::vector<std::pair<std::string, Currency>>& lines) {
    auto header = std::make_shared<clsAsiento>();
    header->Conexion(connection);
    header->cEmpresa(context);
    header->Fecha(date);
    header->Insertar();
    for (const auto& [account, amount] : lines) {
        auto line = std::make_shared<clsMov>();
        line->cEmpresa(context);
        line->Asiento(header->Codigo());
        line->Fecha_Asiento(date);
        line->Fecha(date);
        line->Cuenta(account);
        if (amount.raw() >= 0) {
            line->Debe(amount);
        } else {
            line->Haber(-amount);
        }
        line->Insertar();
    }
    return header->Codigo();
}

/// Library state reset, a quiet user interface, and a connection to a fresh company database.
class JournalTest : public ::testing::Test {
  protected:
    void SetUp() override {
        resetLibrary();
        setRegional(Regional{});
        ui_ = std::make_shared<RecordingUserInterface>();
        setUserInterface(ui_);
        context_ = exerciseContext();
        connection_ = openFreshDatabase();
        createCompany(*connection_, *context_);
    }
    void TearDown() override { resetLibrary(); }

    template <class T>
    std::shared_ptr<T> bound() {
        auto object = std::make_shared<T>();
        object->Conexion(connection_);
        object->cEmpresa(context_);
        return object;
    }

    /// The single value of a one-row, one-column query.
    Variant scalar(const std::string& query) {
        db::Recordset rows;
        rows.Open(query, connection_);
        EXPECT_FALSE(rows.Eof()) << query;
        return rows.Eof() ? Variant() : rows.Fields(0);
    }

    std::shared_ptr<RecordingUserInterface> ui_;
    std::shared_ptr<SettableContext> context_;
    db::ConnectionRef connection_;
};

}  // namespace kvlnmov::testing
