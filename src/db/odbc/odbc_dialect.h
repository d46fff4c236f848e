#pragma once

// The one seam through which the ODBC provider uses another provider's code. A database
// behind the driver that is not SQL Server (SQLite's ODBC driver) needs its statements
// translated from T-SQL and its numbering procedures run in the provider; and a statement
// refused for a stray quote gets SQL Server's syntax error, which takes a T-SQL tokenizer to
// place. The provider declares what it needs here; whoever opens connections (kvlnmov/db/
// open.h) hands it an implementation, so the provider itself never includes a translator.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "kvlnmov/db/command.h"
#include "kvlnmov/db/connection.h"

namespace kvlnmov::db::odbc {

class OdbcLink;

/// A database dialect other than SQL Server's, spoken through the driver's link.
class OdbcDialect {
  public:
    virtual ~OdbcDialect() = default;

    virtual std::int32_t execute(std::string_view text) = 0;
    virtual std::unique_ptr<Cursor> open(std::string_view text) = 0;
    virtual void callProcedure(const std::string& name, ParameterList& parameters) = 0;
    virtual void createCompanySchema() = 0;
    /// Caller-held transactions.
    virtual void beginTransaction() = 0;
    virtual void commitTransaction() = 0;
    virtual void rollbackTransaction() = 0;
    /// A library operation's write transaction (see Connection::beginOperation).
    virtual void beginOperation() = 0;
    virtual void commitOperation() = 0;
    /// The error the statement `text` gives when the quote at `quoteOffset` ends a literal.
    virtual Error strayQuoteError(std::string_view text, std::size_t quoteOffset) = 0;
};

/// What the provider is handed when a connection opens.
struct DialectSeam {
    /// The SQLite dialect over `link`; empty when the build has none.
    std::function<std::unique_ptr<OdbcDialect>(const OdbcLink& link)> sqlite;
    /// SQL Server's syntax error for `text` when the quote at `quoteOffset` ends a literal
    /// early (source `source`).
    std::function<Error(std::string_view text, std::size_t quoteOffset, const std::string& source)>
        strayQuote;
};

}  // namespace kvlnmov::db::odbc
