#pragma once

// The company every library test starts from: a fresh database of the chosen provider with
// the company schema, company 1 and its open exercise 2026, seeded as the tool's `init`
// seeds one. Over the library fixture it adds a settable context whose current user is 7, logs the statements the connection receives,
// and reads rows back.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kvlnmov/core/company_seed.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "support/library_fixture.h"
#include "support/rows.h"
#include "support/test_connection.h"

namespace kvlnmov::testing {

/// Rows as text: each value's default text, "NULL" for Null.
using TextRows = std::vector<std::vector<std::string>>;

/// Keeps every text the connection receives.
class StatementLog : public db::StatementObserver {
  public:
    void statementSent(std::string_view text) override { texts.emplace_back(text); }
    std::vector<std::string> texts;
};

/// The context of the seeded exercise: company 1, exercise 2026, the account levels
/// `levels`, current user 7.
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

/// Seeds the company and exercise `context` names on `connection`, an empty database.
inline void createCompany(db::Connection& connection, const SettableContext& context) {
    CompanySeed seed;
    seed.company = context.company;
    seed.exercise = context.exercise;
    seed.firstDay = context.firstDay;
    seed.lastDay = context.lastDay;
    seed.levels.clear();
    for (auto length : context.levelLengths) {
        seed.levels += (seed.levels.empty() ? "" : ",") + std::to_string(length);
    }
    seedCompany(connection, seed);
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

class CompanyTest : public LibraryTest {
  protected:
    /// The account levels of the seeded exercise; a suite overrides it for another chart.
    virtual std::vector<std::int16_t> levels() const { return {1, 2, 3, 4, 8}; }

    void SetUp() override {
        LibraryTest::SetUp();
        context = exerciseContext(levels());
        database_ = std::make_unique<TestDatabase>();
        db = database_->connect();
        createCompany(*db, *context);
        log = std::make_shared<StatementLog>();
        db->addObserver(log);
    }

    void TearDown() override {
        LibraryTest::TearDown();
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

    /// Every row of `sql`, each value as the recordset types it.
    Rows query(std::string_view sql) { return queryRows(db, sql); }

    /// Every row of `sql`, as text.
    TextRows rows(std::string_view sql) {
        TextRows result;
        for (const auto& row : query(sql)) {
            std::vector<std::string> texts;
            for (const Variant& value : row) {
                texts.push_back(value.isNull() ? "NULL" : value.toText());
            }
            result.push_back(std::move(texts));
        }
        return result;
    }

    /// The single value of a one-row, one-column query.
    Variant scalar(std::string_view sql) {
        Rows found = query(sql);
        EXPECT_FALSE(found.empty()) << sql;
        return found.empty() ? Variant() : found[0][0];
    }

    /// The single number `sql` returns.
    std::int64_t number(std::string_view sql) { return scalar(sql).toLong(); }

    /// The texts sent since the last call, which forgets them.
    std::vector<std::string> takeSent() {
        std::vector<std::string> sent = std::move(log->texts);
        log->texts.clear();
        return sent;
    }

    /// The SQLite file behind the connection, for tools that open it themselves.
    std::string path() const { return database_->file(); }
    /// The connection string of the test's database, for another connection to it.
    std::string connectionString(int busyTimeoutMs = 5000) const {
        return database_->connectionString(busyTimeoutMs);
    }
    /// A second connection to the test's database.
    db::ConnectionRef connectAgain(int busyTimeoutMs = 5000) const {
        return database_->connect(busyTimeoutMs);
    }

    db::ConnectionRef db;
    std::shared_ptr<SettableContext> context;
    std::shared_ptr<StatementLog> log;

  private:
    std::unique_ptr<TestDatabase> database_;
};

}  // namespace kvlnmov::testing
