#include "db/odbc/odbc_connection.h"

#include <algorithm>
#include <limits>

#include "db/odbc/odbc_cursor.h"
#include "db/odbc/odbc_procedure.h"
#include "db/odbc/odbc_provider.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/frame/regional.h"
#include "kvlnmov/frame/text.h"
#include "kvlnmov/schema/schema.h"

namespace kvlnmov::db::odbc {

std::string withoutKeys(std::string_view connectionString, const std::vector<std::string>& keys) {
    std::string result;
    std::size_t start = 0;
    while (start < connectionString.size()) {
        std::size_t end = connectionString.find(';', start);
        if (end == std::string_view::npos) end = connectionString.size();
        const std::string_view pair = connectionString.substr(start, end - start);
        const std::size_t equals = pair.find('=');
        const std::string_view key = text::trim(pair.substr(0, equals));
        const bool dropped =
            equals != std::string_view::npos &&
            std::any_of(keys.begin(), keys.end(), [&](const std::string& candidate) {
                return text::equalsIgnoringCase(key, candidate);
            });
        if (!dropped && !text::trim(pair).empty()) {
            if (!result.empty()) result += ';';
            result += pair;
        }
        start = end + 1;
    }
    return result;
}

std::vector<std::string> sessionSetup(std::string_view dbmsName) {
    if (dbmsName.find("SQL Server") == std::string_view::npos) return {};
    return {regional().dayBeforeMonth() ? "SET DATEFORMAT dmy" : "SET DATEFORMAT mdy"};
}

OdbcConnection::OdbcConnection(std::string connectionString,
                               const std::string& driverConnectionString, Dialect dialect,
                               const DialectSeam& seam)
    : Connection(std::move(connectionString)),
      link_(driverConnectionString, dialect, kProviderName),
      strayQuote_(seam.strayQuote) {
    if (dialect == Dialect::Sqlite) {
        if (!seam.sqlite) {
            throw Error(errc::kProviderGeneric, "ADODB.Connection",
                        "The SQLite dialect is not available in this build.");
        }
        dialect_ = seam.sqlite(link_);
        return;
    }
    for (const std::string& statement : sessionSetup(link_.dbmsName())) {
        OdbcStatement setup(link_);
        setup.execute(statement);
    }
}

OdbcConnection::~OdbcConnection() {
    if (inTransaction_) {
        // An open transaction ends with the connection: undone, as the server would.
        SQLEndTran(SQL_HANDLE_DBC, link_.connection(), SQL_ROLLBACK);
    }
}

std::string OdbcConnection::providerName() const { return kProviderName; }

std::int32_t OdbcConnection::executeStatement(std::string_view text) {
    if (dialect_) return dialect_->execute(text);
    OdbcStatement statement(link_);
    if (!statement.execute(std::string(text))) return 0;  // SQL_NO_DATA: no row matched
    if (statement.columnCount() > 0) return -1;           // rows are dropped with the cursor
    const std::int64_t changed = statement.rowCount();
    if (changed < 0) return -1;
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(changed, std::numeric_limits<std::int32_t>::max()));
}

std::unique_ptr<Cursor> OdbcConnection::openCursor(std::string_view text) {
    if (dialect_) return dialect_->open(text);
    auto statement = std::make_unique<OdbcStatement>(link_);
    if (!statement->execute(std::string(text), {}, "SELECT")) return makeEmptyCursor();
    // Row counts of statements before the query come first: skip to the first result with
    // columns.
    while (statement->columnCount() == 0) {
        if (!statement->moreResults()) return makeEmptyCursor();
    }
    return makeDescribedCursor(std::move(statement));
}

void OdbcConnection::callProcedure(const std::string& name, ParameterList& parameters) {
    if (dialect_) {
        dialect_->callProcedure(name, parameters);
        return;
    }
    callOdbcProcedure(link_, name, parameters);
}

void OdbcConnection::requireTransaction() const {
    if (!inTransaction_) {
        throw Error(errc::kProviderGeneric, kProviderName,
                    "The COMMIT TRANSACTION request has no corresponding BEGIN TRANSACTION.");
    }
}

void OdbcConnection::beginTransaction() {
    if (dialect_) {
        dialect_->beginTransaction();
        return;
    }
    if (inTransaction_) {
        throw Error(errc::kProviderGeneric, kProviderName,
                    "A transaction is already open on this connection.");
    }
    link_.setAutocommit(false);
    inTransaction_ = true;
}

void OdbcConnection::commitTransaction() {
    if (dialect_) {
        dialect_->commitTransaction();
        return;
    }
    requireTransaction();
    link_.endTransaction(true);
    link_.setAutocommit(true);
    inTransaction_ = false;
}

void OdbcConnection::rollbackTransaction() {
    if (dialect_) {
        dialect_->rollbackTransaction();
        return;
    }
    if (!inTransaction_) {
        throw Error(errc::kProviderGeneric, kProviderName,
                    "The ROLLBACK TRANSACTION request has no corresponding BEGIN TRANSACTION.");
    }
    link_.endTransaction(false);
    link_.setAutocommit(true);
    inTransaction_ = false;
}

bool OdbcConnection::openOperationTransaction() {
    if (!dialect_) return false;
    dialect_->beginOperation();
    return true;
}

void OdbcConnection::commitOperationTransaction() {
    if (dialect_) dialect_->commitOperation();
}

Error OdbcConnection::strayQuoteError(std::string_view text, std::size_t quoteOffset) {
    if (dialect_) return dialect_->strayQuoteError(text, quoteOffset);
    return strayQuote_(text, quoteOffset, kProviderName);
}

void OdbcConnection::createCompanySchema() {
    if (dialect_) {
        dialect_->createCompanySchema();
        return;
    }
    for (const std::string& batch : schema::tsqlScript()) {
        OdbcStatement statement(link_);
        statement.execute(batch);
    }
}

ConnectionRef openOdbcConnection(std::string connectionString, const DialectSeam& seam) {
    const std::string dialectName = connectionStringValue(connectionString, "Dialect");
    Dialect dialect = Dialect::Tsql;
    if (text::equalsIgnoringCase(dialectName, "SQLite")) {
        dialect = Dialect::Sqlite;
    } else if (!dialectName.empty() && !text::equalsIgnoringCase(dialectName, "TSQL") &&
               !text::equalsIgnoringCase(dialectName, "T-SQL")) {
        throw Error(errc::kProviderGeneric, "ADODB.Connection",
                    "Unknown Dialect '" + dialectName + "': known dialects are SQLite and TSQL.");
    }
    const std::string driverString = withoutKeys(connectionString, {"Dialect", "Provider"});
    return std::make_shared<OdbcConnection>(std::move(connectionString), driverString, dialect,
                                            seam);
}

}  // namespace kvlnmov::db::odbc
