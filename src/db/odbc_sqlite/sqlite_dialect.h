#pragma once

// The SQLite dialect layer of the ODBC provider: T-SQL statements translated by the embedded
// provider's translator against a catalog read through the driver, results typed by the
// translation, @@IDENTITY kept per connection, and the numbering procedures run with the
// embedded provider's own SQL. It lets every suite run the ODBC code path against SQLite's
// ODBC driver.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "db/odbc/odbc_dialect.h"
#include "db/odbc/odbc_link.h"
#include "db/sqlite/procedures.h"
#include "db/sqlite/translate/translator.h"
#include "kvlnmov/db/connection.h"

namespace kvlnmov::db::odbc {

/// `sql` with SQLite's numbered markers (?1, ?2, ...) written as plain "?" markers, and the
/// values to bind to them in order (a value used twice is bound twice). Quoted texts and
/// names are left alone.
std::pair<std::string, std::vector<sqlite::SqlValue>> positionalMarkers(
    const std::string& sql, const std::vector<sqlite::SqlValue>& values);

class SqliteDialect final : public OdbcDialect,
                            public sqlite::ProcedureHost,
                            public sqlite::Catalog {
  public:
    explicit SqliteDialect(const OdbcLink& link);
    ~SqliteDialect() override;

    std::int32_t execute(std::string_view text) override;
    std::unique_ptr<Cursor> open(std::string_view text) override;
    void callProcedure(const std::string& name, ParameterList& parameters) override;
    void createCompanySchema() override;
    /// Caller-held transactions as the embedded provider holds them: BEGIN IMMEDIATE takes
    /// the write lock at once.
    void beginTransaction() override;
    void commitTransaction() override;
    void rollbackTransaction() override;
    /// A library operation's write transaction: BEGIN IMMEDIATE, or a savepoint inside the
    /// caller's transaction; committed (undone and raised on failure) by `commitOperation`.
    void beginOperation() override;
    void commitOperation() override;
    /// The error translating `text` gives, else the server's syntax error at the stray quote.
    Error strayQuoteError(std::string_view text, std::size_t quoteOffset) override;

    std::int64_t executeNative(const std::string& sql,
                               const std::vector<sqlite::SqlValue>& parameters) override;
    std::optional<std::int64_t> queryInteger(
        const std::string& sql, const std::vector<sqlite::SqlValue>& parameters) override;
    std::string providerName() const override;

    const schema::Table* findTable(std::string_view name) const override;

  private:
    sqlite::Translation translate(std::string_view text);
    /// Reads the tables again when the schema version changed; true when it did.
    bool refreshCatalog();
    void reloadCatalog();
    std::int64_t schemaVersion();
    /// Runs a translated statement that returns no rows to the caller; returns the rows it
    /// changed (-1 for a SELECT) and keeps @@IDENTITY.
    std::int32_t run(const sqlite::Translation& translation);
    /// A statement run with `values` on its markers.
    std::unique_ptr<OdbcStatement> run(const std::string& sql,
                                       const std::vector<sqlite::SqlValue>& values,
                                       std::string_view operation = "INSERT");

    const OdbcLink& link_;
    sqlite::Translator translator_;
    sqlite::SessionState session_;
    std::map<std::string, schema::Table> tables_;
    std::int64_t version_ = -1;
    bool callerTransaction_ = false;
    bool operationSavepoint_ = false;
};

}  // namespace kvlnmov::db::odbc
