#pragma once

// The ODBC handles of one connection and the statements run on it. Private to the provider:
// this is the only header that includes the ODBC headers.

#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "db/odbc/odbc_error.h"
#include "db/sql_value.h"

namespace kvlnmov::db::odbc {

/// The diagnostic records of `handle`.
std::vector<Diagnostic> readDiagnostics(SQLSMALLINT handleType, SQLHANDLE handle);

/// An environment and a connection handle, connected to a driver.
class OdbcLink {
  public:
    /// Connects with `driverConnectionString` (no prompt). Raises the mapped driver error with
    /// `source` as source.
    OdbcLink(const std::string& driverConnectionString, Dialect dialect, std::string source);
    ~OdbcLink();
    OdbcLink(const OdbcLink&) = delete;
    OdbcLink& operator=(const OdbcLink&) = delete;

    SQLHDBC connection() const { return connection_; }
    Dialect dialect() const { return dialect_; }
    const std::string& source() const { return source_; }
    /// The DBMS name the driver reports ("Microsoft SQL Server", "SQLite").
    std::string dbmsName() const;

    /// Raises the mapped error of `handle` unless `result` is a success (or SQL_NO_DATA).
    void check(SQLRETURN result, SQLSMALLINT handleType, SQLHANDLE handle,
               std::string_view operation = "INSERT") const;
    [[noreturn]] void fail(SQLSMALLINT handleType, SQLHANDLE handle,
                           std::string_view operation = "INSERT") const;

    /// Autocommit on (each statement commits by itself) or off (a transaction is open).
    void setAutocommit(bool on);
    void endTransaction(bool commit);

  private:
    SQLHENV environment_ = SQL_NULL_HENV;
    SQLHDBC connection_ = SQL_NULL_HDBC;
    bool connected_ = false;
    Dialect dialect_;
    std::string source_;
};

/// One statement handle on a link. Values bound to its markers live as long as it does.
class OdbcStatement {
  public:
    explicit OdbcStatement(const OdbcLink& link);
    ~OdbcStatement();
    OdbcStatement(const OdbcStatement&) = delete;
    OdbcStatement& operator=(const OdbcStatement&) = delete;

    SQLHSTMT handle() const { return statement_; }
    const OdbcLink& link() const { return link_; }

    /// Runs `sql` with `values` bound to its "?" markers in order. Returns false when the
    /// driver answered SQL_NO_DATA (a change that matched no row).
    bool execute(const std::string& sql, const std::vector<SqlValue>& values = {},
                 std::string_view operation = "INSERT");
    /// Columns of the current result (0 for a statement that returns none).
    int columnCount();
    /// Rows changed by the statement as the driver counts them (-1 when it does not know).
    std::int64_t rowCount();
    /// Moves to the next row; false at the end of the result.
    bool fetch();
    /// Moves to the next result; false when there is none.
    bool moreResults();
    /// Column `column` (1-based) of the current row as text, or nothing for Null.
    std::optional<std::string> text(int column);
    /// Releases the current result's rows.
    void closeCursor();

  private:
    const OdbcLink& link_;
    SQLHSTMT statement_ = SQL_NULL_HSTMT;
    /// Bound values: SQL_C_SBIGINT, SQL_C_DOUBLE and SQL_C_CHAR buffers with their indicators.
    std::vector<SqlValue> bound_;
    std::vector<SQLLEN> indicators_;
};

/// Moves a query's statement to its next row. At the end, or when the fetch fails, the
/// statement is let go (so that it holds nothing in the database) and stays empty; an empty
/// statement has no more rows.
bool fetchOrRelease(std::unique_ptr<OdbcStatement>& statement);

}  // namespace kvlnmov::db::odbc
