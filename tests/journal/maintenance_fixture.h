#pragma once

// A fresh company database (company 1, open exercise 2026, chart levels 2 and 8, numbering
// per exercise) in a temporary folder, with the library reset, a recording user interface,
// a settable context whose current user is 7, and helpers to post entries through the
// journal classes and to read rows back as text.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
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

/// Rows as text: each value's default text, "NULL" for Null.
using TextRows = std::vector<std::vector<std::string>>;

/// One line to post: account, debit, credit.
struct LineToPost {
    std::string cuenta;
    long debe = 0;
    long haber = 0;
};

class MaintenanceTest : public ::testing::Test {
  protected:
    void SetUp() override {
        resetLibrary();
        setRegional(Regional{});
        ui = std::make_shared<RecordingUserInterface>();
        setUserInterface(ui);

        database_ = std::make_unique<TestDatabase>();
        path_ = database_->file();
        db = database_->connect();
        db->createCompanySchema();
        db->Execute("INSERT INTO Empresas (Codigo, Nombre) VALUES (1, 'Empresa')");
        db->Execute(
            "INSERT INTO Empresas_Ejercicios (Cod_Empresa, Cod_Ejercicio, Estado, FechaInicio, "
            "FechaFin, LongitudesNivel) VALUES (1, 2026, 0, '01/01/2026', '31/12/2026', '2,8')");

        context = std::make_shared<SettableContext>();
        context->company = 1;
        context->exercise = 2026;
        context->firstDay = Date::ymd(2026, 1, 1);
        context->lastDay = Date::ymd(2026, 12, 31);
        context->levelLengths = {2, 8};
        context->values["UsuarioActual"] = Variant(std::string("7"));
    }

    void TearDown() override {
        resetLibrary();
        db.reset();
        database_.reset();
    }

    /// A new object of class T bound to the test's connection and context.
    template <class T>
    std::shared_ptr<T> bound() {
        auto object = std::make_shared<T>();
        object->Conexion(db);
        object->cEmpresa(context);
        return object;
    }

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

    /// Every row of `sql`, as text.
    TextRows rows(std::string_view sql) {
        db::Recordset recordset;
        recordset.Open(sql, db);
        TextRows result;
        for (; !recordset.Eof(); recordset.MoveNext()) {
            std::vector<std::string> row;
            for (int i = 0; i < recordset.FieldCount(); ++i) {
                const Variant& value = recordset.Fields(i);
                row.push_back(value.isNull() ? "NULL" : value.toText());
            }
            result.push_back(std::move(row));
        }
        recordset.Close();
        return result;
    }

    /// The single number `sql` returns.
    std::int64_t number(std::string_view sql) {
        db::Recordset recordset;
        recordset.Open(sql, db);
        std::int64_t value = recordset.Fields(0).toLong();
        recordset.Close();
        return value;
    }

    const std::string& path() const { return path_; }
    /// The connection string of the test's database, for another connection to it.
    std::string connectionString(int busyTimeoutMs = 5000) const {
        return database_->connectionString(busyTimeoutMs);
    }

    db::ConnectionRef db;
    std::shared_ptr<SettableContext> context;
    std::shared_ptr<RecordingUserInterface> ui;

  private:
    std::unique_ptr<TestDatabase> database_;
    std::string path_;
};

}  // namespace kvlnmov::testing
