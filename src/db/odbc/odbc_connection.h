#pragma once

// The ODBC provider's connection: statements go to the driver unchanged (T-SQL for SQL
// Server), or through a dialect (db/odbc/odbc_dialect.h) when the database behind the driver
// is SQLite.

#include <memory>
#include <string>

#include "db/odbc/odbc_link.h"
#include "db/odbc/odbc_dialect.h"
#include "kvlnmov/db/connection.h"

namespace kvlnmov::db::odbc {

class OdbcConnection final : public Connection {
  public:
    /// `connectionString` is what the caller gave; `driverConnectionString` goes to the driver.
    OdbcConnection(std::string connectionString, const std::string& driverConnectionString,
                   Dialect dialect, const DialectSeam& seam);
    ~OdbcConnection() override;

    std::string providerName() const override;
    /// The SQLite DDL under the SQLite dialect, the T-SQL script (tables and procedures)
    /// otherwise.
    void createCompanySchema() override;

  protected:
    std::int32_t executeStatement(std::string_view text) override;
    std::unique_ptr<Cursor> openCursor(std::string_view text) override;
    void callProcedure(const std::string& name, ParameterList& parameters) override;
    void beginTransaction() override;
    void commitTransaction() override;
    void rollbackTransaction() override;
    /// Under the SQLite dialect an operation runs in one SQLite write transaction, as on the
    /// embedded provider. On SQL Server its statements commit one by one.
    bool openOperationTransaction() override;
    void commitOperationTransaction() override;
    Error strayQuoteError(std::string_view text, std::size_t quoteOffset) override;

  private:
    void requireTransaction() const;

    // Declared first so that it disconnects last.
    OdbcLink link_;
    /// Present under the SQLite dialect.
    std::unique_ptr<OdbcDialect> dialect_;
    std::function<Error(std::string_view, std::size_t, const std::string&)> strayQuote_;
    bool inTransaction_ = false;
};

}  // namespace kvlnmov::db::odbc
