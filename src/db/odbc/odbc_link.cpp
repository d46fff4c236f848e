#include "db/odbc/odbc_link.h"

#include <limits>

namespace kvlnmov::db::odbc {

std::vector<Diagnostic> readDiagnostics(SQLSMALLINT handleType, SQLHANDLE handle) {
    std::vector<Diagnostic> diagnostics;
    if (handle == SQL_NULL_HANDLE) return diagnostics;
    for (SQLSMALLINT record = 1;; ++record) {
        SQLCHAR state[6] = {};
        SQLINTEGER nativeError = 0;
        SQLSMALLINT length = 0;
        std::vector<SQLCHAR> message(1024);
        SQLRETURN result =
            SQLGetDiagRec(handleType, handle, record, state, &nativeError, message.data(),
                          static_cast<SQLSMALLINT>(message.size()), &length);
        if (result == SQL_SUCCESS_WITH_INFO && length >= static_cast<SQLSMALLINT>(message.size())) {
            message.resize(static_cast<std::size_t>(length) + 1);
            result = SQLGetDiagRec(handleType, handle, record, state, &nativeError, message.data(),
                                   static_cast<SQLSMALLINT>(message.size()), &length);
        }
        if (result != SQL_SUCCESS && result != SQL_SUCCESS_WITH_INFO) break;
        const std::size_t used = std::min(
            static_cast<std::size_t>(std::max<SQLSMALLINT>(length, 0)), message.size() - 1);
        diagnostics.push_back(
            Diagnostic{reinterpret_cast<const char*>(state), static_cast<std::int32_t>(nativeError),
                       std::string(reinterpret_cast<const char*>(message.data()), used)});
    }
    return diagnostics;
}

OdbcLink::OdbcLink(const std::string& driverConnectionString, Dialect dialect, std::string source)
    : dialect_(dialect), source_(std::move(source)) {
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_))) {
        throw Error(errc::kProviderGeneric, source_,
                    "The ODBC driver manager could not allocate an environment.");
    }
    try {
        check(SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION,
                            reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0),
              SQL_HANDLE_ENV, environment_);
        check(SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_), SQL_HANDLE_ENV,
              environment_);
        std::string text = driverConnectionString;
        const SQLRETURN result = SQLDriverConnect(
            connection_, nullptr, reinterpret_cast<SQLCHAR*>(text.data()),
            static_cast<SQLSMALLINT>(text.size()), nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
        check(result, SQL_HANDLE_DBC, connection_);
        connected_ = true;
    } catch (...) {
        if (connection_ != SQL_NULL_HDBC) SQLFreeHandle(SQL_HANDLE_DBC, connection_);
        SQLFreeHandle(SQL_HANDLE_ENV, environment_);
        throw;
    }
}

OdbcLink::~OdbcLink() {
    if (connected_) SQLDisconnect(connection_);
    SQLFreeHandle(SQL_HANDLE_DBC, connection_);
    SQLFreeHandle(SQL_HANDLE_ENV, environment_);
}

std::string OdbcLink::dbmsName() const {
    SQLCHAR name[256] = {};
    SQLSMALLINT length = 0;
    check(SQLGetInfo(connection_, SQL_DBMS_NAME, name, sizeof name, &length), SQL_HANDLE_DBC,
          connection_);
    return reinterpret_cast<const char*>(name);
}

void OdbcLink::check(SQLRETURN result, SQLSMALLINT handleType, SQLHANDLE handle,
                     std::string_view operation) const {
    if (SQL_SUCCEEDED(result) || result == SQL_NO_DATA) return;
    fail(handleType, handle, operation);
}

void OdbcLink::fail(SQLSMALLINT handleType, SQLHANDLE handle, std::string_view operation) const {
    throw odbcError(readDiagnostics(handleType, handle), dialect_, source_, operation);
}

void OdbcLink::setAutocommit(bool on) {
    const auto value = on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF;
    check(SQLSetConnectAttr(connection_, SQL_ATTR_AUTOCOMMIT,
                            reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(value)), 0),
          SQL_HANDLE_DBC, connection_);
}

void OdbcLink::endTransaction(bool commit) {
    check(SQLEndTran(SQL_HANDLE_DBC, connection_, commit ? SQL_COMMIT : SQL_ROLLBACK),
          SQL_HANDLE_DBC, connection_);
}

OdbcStatement::OdbcStatement(const OdbcLink& link) : link_(link) {
    link_.check(SQLAllocHandle(SQL_HANDLE_STMT, link_.connection(), &statement_), SQL_HANDLE_DBC,
                link_.connection());
}

OdbcStatement::~OdbcStatement() { SQLFreeHandle(SQL_HANDLE_STMT, statement_); }

bool OdbcStatement::execute(const std::string& sql, const std::vector<SqlValue>& values,
                            std::string_view operation) {
    SQLFreeStmt(statement_, SQL_CLOSE);
    SQLFreeStmt(statement_, SQL_RESET_PARAMS);
    bound_ = values;
    indicators_.assign(bound_.size(), 0);
    for (std::size_t i = 0; i < bound_.size(); ++i) {
        const auto number = static_cast<SQLUSMALLINT>(i + 1);
        SqlValue& value = bound_[i];
        SQLLEN& indicator = indicators_[i];
        SQLRETURN result;
        if (auto* integer = std::get_if<std::int64_t>(&value)) {
            result = SQLBindParameter(statement_, number, SQL_PARAM_INPUT, SQL_C_SBIGINT,
                                      SQL_BIGINT, 0, 0, integer, 0, &indicator);
        } else if (auto* real = std::get_if<double>(&value)) {
            result = SQLBindParameter(statement_, number, SQL_PARAM_INPUT, SQL_C_DOUBLE, SQL_DOUBLE,
                                      0, 0, real, 0, &indicator);
        } else if (auto* text = std::get_if<std::string>(&value)) {
            indicator = static_cast<SQLLEN>(text->size());
            result = SQLBindParameter(statement_, number, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR,
                                      std::max<SQLULEN>(text->size(), 1), 0, text->data(),
                                      static_cast<SQLLEN>(text->size()), &indicator);
        } else {
            indicator = SQL_NULL_DATA;
            result = SQLBindParameter(statement_, number, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR,
                                      1, 0, nullptr, 0, &indicator);
        }
        link_.check(result, SQL_HANDLE_STMT, statement_, operation);
    }
    std::string text = sql;
    const SQLRETURN result = SQLExecDirect(statement_, reinterpret_cast<SQLCHAR*>(text.data()),
                                           static_cast<SQLINTEGER>(text.size()));
    link_.check(result, SQL_HANDLE_STMT, statement_, operation);
    return result != SQL_NO_DATA;
}

int OdbcStatement::columnCount() {
    SQLSMALLINT count = 0;
    link_.check(SQLNumResultCols(statement_, &count), SQL_HANDLE_STMT, statement_);
    return count;
}

std::int64_t OdbcStatement::rowCount() {
    SQLLEN count = -1;
    link_.check(SQLRowCount(statement_, &count), SQL_HANDLE_STMT, statement_);
    return count;
}

bool OdbcStatement::fetch() {
    const SQLRETURN result = SQLFetch(statement_);
    if (result == SQL_NO_DATA) return false;
    link_.check(result, SQL_HANDLE_STMT, statement_);
    return true;
}

bool fetchOrRelease(std::unique_ptr<OdbcStatement>& statement) {
    if (!statement) return false;
    bool fetched = false;
    try {
        fetched = statement->fetch();
    } catch (...) {
        statement.reset();
        throw;
    }
    if (!fetched) statement.reset();
    return fetched;
}

bool OdbcStatement::moreResults() {
    const SQLRETURN result = SQLMoreResults(statement_);
    if (result == SQL_NO_DATA) return false;
    link_.check(result, SQL_HANDLE_STMT, statement_);
    return true;
}

std::optional<std::string> OdbcStatement::text(int column) {
    std::string value;
    char buffer[512];
    for (;;) {
        SQLLEN indicator = 0;
        const SQLRETURN result = SQLGetData(statement_, static_cast<SQLUSMALLINT>(column),
                                            SQL_C_CHAR, buffer, sizeof buffer, &indicator);
        if (result == SQL_NO_DATA) break;  // every part already read
        link_.check(result, SQL_HANDLE_STMT, statement_);
        if (indicator == SQL_NULL_DATA) return std::nullopt;
        // A part that did not fit fills the buffer but for its terminating zero.
        const bool partial =
            result == SQL_SUCCESS_WITH_INFO &&
            (indicator == SQL_NO_TOTAL || indicator >= static_cast<SQLLEN>(sizeof buffer));
        if (partial) {
            value.append(buffer, sizeof buffer - 1);
            continue;
        }
        value.append(buffer, static_cast<std::size_t>(indicator));
        break;
    }
    return value;
}

void OdbcStatement::closeCursor() { SQLFreeStmt(statement_, SQL_CLOSE); }

}  // namespace kvlnmov::db::odbc
