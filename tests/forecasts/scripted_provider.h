#pragma once

// A provider whose answers the test decides: every statement reports `affectedRows` changed
// rows, and every query answers the rows of `queryRows` in one Integer column "Id". It stands
// for a database that gives back no new identity or reports more changed rows than the
// embedded one can be made to in a test.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/core/library.h"

namespace kvlnmov::testing {

class ScriptedProvider : public db::Connection {
  public:
    ScriptedProvider() : db::Connection("Provider=Scripted") {}
    std::string providerName() const override { return "scripted provider"; }
    void createCompanySchema() override {}

    std::int32_t affectedRows = 1;
    std::vector<std::int32_t> queryRows;
    /// Texts that reached the provider, in order.
    std::vector<std::string> received;

  protected:
    std::int32_t executeStatement(std::string_view text) override {
        received.emplace_back(text);
        return affectedRows;
    }
    std::unique_ptr<db::Cursor> openCursor(std::string_view text) override {
        received.emplace_back(text);
        return std::make_unique<IdCursor>(queryRows);
    }
    void callProcedure(const std::string&, db::ParameterList&) override {}
    void beginTransaction() override {}
    void commitTransaction() override {}
    void rollbackTransaction() override {}

  private:
    class IdCursor : public db::Cursor {
      public:
        explicit IdCursor(std::vector<std::int32_t> rows) : rows_(std::move(rows)) {}
        const std::vector<db::ColumnInfo>& columns() const override { return columns_; }
        bool next(std::vector<Variant>& row) override {
            if (next_ >= rows_.size()) return false;
            row = {Variant(rows_[next_++])};
            return true;
        }

      private:
        std::vector<std::int32_t> rows_;
        std::size_t next_ = 0;
        std::vector<db::ColumnInfo> columns_{{"Id", db::DataType::Integer}};
    };
};

/// The error `action` raises; fails the test when it raises none.
template <class Action>
Error raisedBy(Action&& action) {
    try {
        action();
    } catch (const Error& error) {
        return error;
    }
    ADD_FAILURE() << "no error was raised";
    return Error(0, "", "");
}

/// Binds the library to a fresh scripted provider and a context of company 1, exercise 2026.
class ScriptedProviderTest : public ::testing::Test {
  protected:
    void SetUp() override {
        resetLibrary();
        provider_ = std::make_shared<ScriptedProvider>();
        context_ = std::make_shared<SettableContext>();
        context_->company = 1;
        context_->exercise = 2026;
        context_->firstDay = Date::ymd(2026, 1, 1);
        context_->lastDay = Date::ymd(2026, 12, 31);
    }
    void TearDown() override { resetLibrary(); }

  public:
    /// A new object bound to the provider and the context.
    template <class T>
    std::shared_ptr<T> bound() {
        auto object = std::make_shared<T>();
        object->Conexion(provider_);
        object->cEmpresa(context_);
        return object;
    }

    std::shared_ptr<ScriptedProvider> provider_;
    std::shared_ptr<SettableContext> context_;
};

}  // namespace kvlnmov::testing
