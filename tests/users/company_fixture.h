#pragma once

// A fresh company database (company 1, open exercise 2026) in a temporary folder, with the
// library reset, a recording user interface installed, a settable context and a log of the
// statements the connection receives.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/frame/regional.h"
#include "support/rows.h"
#include "support/test_connection.h"

namespace kvlnmov::testing {

/// Keeps every text the connection receives.
class StatementLog : public db::StatementObserver {
  public:
    void statementSent(std::string_view text) override { texts.emplace_back(text); }
    std::vector<std::string> texts;
};

class CompanyTest : public ::testing::Test {
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
        db->Execute(
            "INSERT INTO Empresas (Codigo, Nombre, OficinaCentral) VALUES (1, 'Empresa', 0)");
        db->Execute(
            "INSERT INTO Empresas_Ejercicios (Cod_Empresa, Cod_Ejercicio, Estado, FechaInicio, "
            "FechaFin) VALUES (1, 2026, 0, '01/01/2026', '31/12/2026')");

        context = std::make_shared<SettableContext>();
        context->company = 1;
        context->exercise = 2026;
        context->firstDay = Date::ymd(2026, 1, 1);
        context->lastDay = Date::ymd(2026, 12, 31);

        log = std::make_shared<StatementLog>();
        db->addObserver(log);
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

    /// Every row of `sql`.
    Rows query(std::string_view sql) { return queryRows(db, sql); }

    /// The texts sent since the last call, which forgets them.
    std::vector<std::string> takeSent() {
        std::vector<std::string> sent = std::move(log->texts);
        log->texts.clear();
        return sent;
    }

    const std::string& path() const { return path_; }

    db::ConnectionRef db;
    std::shared_ptr<SettableContext> context;
    std::shared_ptr<RecordingUserInterface> ui;
    std::shared_ptr<StatementLog> log;

  private:
    std::unique_ptr<TestDatabase> database_;
    std::string path_;
};

}  // namespace kvlnmov::testing
