#pragma once

// A fresh company database, opened through the provider the test run chose
// (support/test_connection.h), and helpers to read rows and to check raised errors.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "kvlnmov/db/command.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "support/rows.h"
#include "support/test_connection.h"

namespace kvlnmov::db::testing {

/// The source of the errors of the provider under test.
inline const std::string kProvider = kvlnmov::testing::testProviderName();

using kvlnmov::testing::errorOf;
using kvlnmov::testing::Rows;

/// Every row of `query` on `connection`.
inline Rows query(const ConnectionRef& connection, std::string_view sql) {
    return kvlnmov::testing::queryRows(connection, sql);
}

/// The single value of a one-row, one-column query.
inline Variant scalar(const ConnectionRef& connection, std::string_view sql) {
    const Rows rows = query(connection, sql);
    if (rows.size() != 1 || rows[0].size() != 1) {
        ADD_FAILURE() << sql << ": " << rows.size() << " rows";
        return {};
    }
    return rows[0][0];
}

inline std::int16_t i16(int value) { return static_cast<std::int16_t>(value); }
inline std::uint8_t u8(int value) { return static_cast<std::uint8_t>(value); }

/// CON_DevAsiento as the entry header calls it.
inline std::int32_t nextEntryNumber(const ConnectionRef& connection, int company, int exercise,
                                    int month, int day, int scheme) {
    Command command;
    command.CommandType(CommandType::StoredProc);
    command.CommandText("CON_DevAsiento");
    auto& parameters = command.Parameters();
    for (const auto& [name, type, value] : std::vector<std::tuple<const char*, DataType, Variant>>{
             {"Cod_Empresa", DataType::SmallInt, i16(company)},
             {"Cod_Ejercicio", DataType::SmallInt, i16(exercise)},
             {"Mes", DataType::TinyInt, u8(month)},
             {"Dia", DataType::TinyInt, u8(day)},
             {"TipoNum", DataType::TinyInt, u8(scheme)}})
        parameters.Append(
            Command::CreateParameter(name, type, ParameterDirection::Input, 0, value));
    parameters.Append(
        Command::CreateParameter("Asiento", DataType::Integer, ParameterDirection::Output));
    command.ActiveConnection(connection);
    command.Execute();
    command.ActiveConnection(nullptr);
    return parameters("Asiento").value.toLong();
}

/// CON_DevMovApunte as the journal line calls it.
inline std::int32_t nextLineNumber(const ConnectionRef& connection, int company, int exercise) {
    Command command;
    command.CommandType(CommandType::StoredProc);
    command.CommandText("CON_DevMovApunte");
    auto& parameters = command.Parameters();
    parameters.Append(Command::CreateParameter("Cod_Empresa", DataType::SmallInt,
                                               ParameterDirection::Input, 0, i16(company)));
    parameters.Append(Command::CreateParameter("Cod_Ejercicio", DataType::SmallInt,
                                               ParameterDirection::Input, 0, i16(exercise)));
    parameters.Append(
        Command::CreateParameter("Apunte", DataType::Integer, ParameterDirection::Output));
    command.ActiveConnection(connection);
    command.Execute();
    return parameters("Apunte").value.toLong();
}

class ProviderTest : public ::testing::Test {
  protected:
    void SetUp() override {
        database_ = std::make_unique<kvlnmov::testing::TestDatabase>();
        db = database_->connect();
        db->createCompanySchema();
    }

    void TearDown() override {
        db.reset();
        database_.reset();
    }

    /// Another connection to the same database.
    ConnectionRef another(int busyTimeoutMs = 5000) const {
        return database_->connect(busyTimeoutMs);
    }

    /// The connection string of the test's database.
    std::string connectionString() const { return database_->connectionString(); }
    /// A private folder for the test's other files.
    std::string folder() const { return database_->folder().string(); }

    ConnectionRef db;

  private:
    std::unique_ptr<kvlnmov::testing::TestDatabase> database_;
};

}  // namespace kvlnmov::db::testing
