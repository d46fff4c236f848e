#include "db/odbc/odbc_connection.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <limits>

#include "db/odbc/odbc_provider.h"
#include "db/sqlite/stray_quote.h"
#include "kvlnmov/db/command.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/frame/regional.h"
#include "kvlnmov/frame/text.h"
#include "kvlnmov/schema/schema.h"

namespace kvlnmov::db::odbc {

namespace {

/// How a described column is read.
enum class Reading { Boolean, Byte, Integer, Long, Currency, Double, Date, Text };

struct DescribedColumn {
    ColumnInfo info;
    Reading reading = Reading::Text;
};

DescribedColumn describe(const OdbcStatement& statement, int index) {
    SQLCHAR name[256] = {};
    SQLSMALLINT nameLength = 0;
    SQLSMALLINT type = 0;
    SQLULEN size = 0;
    SQLSMALLINT digits = 0;
    SQLSMALLINT nullable = 0;
    statement.link().check(
        SQLDescribeCol(statement.handle(), static_cast<SQLUSMALLINT>(index), name, sizeof name,
                       &nameLength, &type, &size, &digits, &nullable),
        SQL_HANDLE_STMT, statement.handle());
    DescribedColumn column;
    column.info.name = reinterpret_cast<const char*>(name);
    switch (type) {
        case SQL_BIT:
            column.info.type = DataType::Boolean;
            column.reading = Reading::Boolean;
            break;
        case SQL_TINYINT:
            column.info.type = DataType::UnsignedTinyInt;
            column.reading = Reading::Byte;
            break;
        case SQL_SMALLINT:
            column.info.type = DataType::SmallInt;
            column.reading = Reading::Integer;
            break;
        case SQL_INTEGER:
            column.info.type = DataType::Integer;
            column.reading = Reading::Long;
            break;
        case SQL_DECIMAL:
        case SQL_NUMERIC:
            column.info.type = DataType::Currency;
            column.reading = Reading::Currency;
            break;
        case SQL_BIGINT:
            column.info.type = DataType::BigInt;
            column.reading = Reading::Double;
            break;
        case SQL_FLOAT:
        case SQL_DOUBLE:
        case SQL_REAL:
            column.info.type = DataType::Double;
            column.reading = Reading::Double;
            break;
        case SQL_TYPE_TIMESTAMP:
        case SQL_TYPE_DATE:
        case SQL_TIMESTAMP:
        case SQL_DATE:
            column.info.type = DataType::Date;
            column.reading = Reading::Date;
            break;
        default:
            column.info.type = DataType::VarChar;
            column.reading = Reading::Text;
            break;
    }
    return column;
}

Error conversion(const std::string& source, const std::string& text, const char* type) {
    return Error(
        errc::kConversion, source,
        "Conversion failed when converting the value '" + text + "' to data type " + type + ".");
}

// A whole number the driver gave for a column of a narrower type: one out of its range is
// refused as the server refuses it rather than cut.
template <class Integer>
Integer inRange(std::int64_t value, const std::string& source, const char* typeName) {
    if (value < std::numeric_limits<Integer>::min() ||
        value > std::numeric_limits<Integer>::max()) {
        throw Error(errc::kDataOverflow, source,
                    std::string("Arithmetic overflow error converting expression to data type ") +
                        typeName + ".");
    }
    return static_cast<Integer>(value);
}

/// A query's rows typed by the driver's description of its columns.
class DescribedCursor : public Cursor {
  public:
    explicit DescribedCursor(std::unique_ptr<OdbcStatement> statement)
        : statement_(std::move(statement)) {
        const int count = statement_->columnCount();
        for (int i = 1; i <= count; ++i) {
            DescribedColumn column = describe(*statement_, i);
            columns_.push_back(column.info);
            readings_.push_back(column.reading);
        }
    }

    const std::vector<ColumnInfo>& columns() const override { return columns_; }

    bool next(std::vector<Variant>& row) override {
        if (!fetchOrRelease(statement_)) return false;
        row.clear();
        row.reserve(readings_.size());
        for (std::size_t i = 0; i < readings_.size(); ++i)
            row.push_back(read(static_cast<int>(i) + 1, readings_[i]));
        return true;
    }

  private:
    Variant read(int column, Reading reading) {
        const SQLHSTMT handle = statement_->handle();
        const OdbcLink& link = statement_->link();
        SQLLEN indicator = 0;
        switch (reading) {
            case Reading::Boolean:
            case Reading::Byte:
            case Reading::Integer:
            case Reading::Long: {
                SQLBIGINT value = 0;
                link.check(SQLGetData(handle, static_cast<SQLUSMALLINT>(column), SQL_C_SBIGINT,
                                      &value, 0, &indicator),
                           SQL_HANDLE_STMT, handle);
                if (indicator == SQL_NULL_DATA) return Variant::null();
                if (reading == Reading::Boolean) return Variant(value != 0);
                if (reading == Reading::Byte)
                    return Variant(inRange<std::uint8_t>(value, link.source(), "tinyint"));
                if (reading == Reading::Integer)
                    return Variant(inRange<std::int16_t>(value, link.source(), "smallint"));
                return Variant(inRange<std::int32_t>(value, link.source(), "int"));
            }
            case Reading::Double: {
                double value = 0;
                link.check(SQLGetData(handle, static_cast<SQLUSMALLINT>(column), SQL_C_DOUBLE,
                                      &value, 0, &indicator),
                           SQL_HANDLE_STMT, handle);
                if (indicator == SQL_NULL_DATA) return Variant::null();
                return Variant(value);
            }
            case Reading::Currency: {
                // Read as text, never through a double, so every digit stays exact.
                const std::optional<std::string> text = statement_->text(column);
                if (!text) return Variant::null();
                return currencyFromText(*text, link.source());
            }
            case Reading::Date: {
                SQL_TIMESTAMP_STRUCT value{};
                link.check(SQLGetData(handle, static_cast<SQLUSMALLINT>(column),
                                      SQL_C_TYPE_TIMESTAMP, &value, sizeof value, &indicator),
                           SQL_HANDLE_STMT, handle);
                if (indicator == SQL_NULL_DATA) return Variant::null();
                const auto day = Date::fromYmd(value.year, value.month, value.day);
                if (!day) {
                    throw Error(errc::kConversion, link.source(),
                                "Conversion failed when converting date and/or time from "
                                "character string.");
                }
                return Variant(day->withTime(value.hour, value.minute, value.second,
                                             static_cast<int>(value.fraction / 1000000)));
            }
            case Reading::Text:
                break;
        }
        const std::optional<std::string> text = statement_->text(column);
        return text ? Variant(*text) : Variant::null();
    }

    std::unique_ptr<OdbcStatement> statement_;
    std::vector<ColumnInfo> columns_;
    std::vector<Reading> readings_;
};

/// The buffer of one bound procedure parameter.
struct BoundParameter {
    SQLSMALLINT valueType = SQL_C_CHAR;
    SQLSMALLINT parameterType = SQL_VARCHAR;
    SQLULEN columnSize = 0;
    SQLSMALLINT digits = 0;
    std::vector<char> buffer;
    SQLLEN indicator = 0;
};

SQLSMALLINT directionOf(ParameterDirection direction) {
    switch (direction) {
        case ParameterDirection::Output:
            return SQL_PARAM_OUTPUT;
        case ParameterDirection::InputOutput:
            return SQL_PARAM_INPUT_OUTPUT;
        case ParameterDirection::ReturnValue:
            return SQL_PARAM_OUTPUT;
        case ParameterDirection::Input:
            break;
    }
    return SQL_PARAM_INPUT;
}

template <class T>
void store(BoundParameter& bound, T value) {
    bound.buffer.resize(sizeof value);
    std::memcpy(bound.buffer.data(), &value, sizeof value);
    bound.indicator = 0;
}

template <class T>
T load(const BoundParameter& bound) {
    T value{};
    std::memcpy(&value, bound.buffer.data(), sizeof value);
    return value;
}

// The buffer for `parameter`, holding its value when the driver reads it.
BoundParameter bind(const Parameter& parameter) {
    BoundParameter bound;
    const bool sendsValue = parameter.direction == ParameterDirection::Input ||
                            parameter.direction == ParameterDirection::InputOutput;
    const bool hasValue = sendsValue && !parameter.value.isEmpty() && !parameter.value.isNull();
    switch (parameter.type) {
        case DataType::Boolean:
            bound.valueType = SQL_C_BIT;
            bound.parameterType = SQL_BIT;
            store<unsigned char>(bound, hasValue && parameter.value.toBoolean() ? 1 : 0);
            break;
        case DataType::TinyInt:
        case DataType::UnsignedTinyInt:
            bound.valueType = SQL_C_UTINYINT;
            bound.parameterType = SQL_TINYINT;
            store<unsigned char>(bound, hasValue ? parameter.value.toByte() : 0);
            break;
        case DataType::SmallInt:
            bound.valueType = SQL_C_SSHORT;
            bound.parameterType = SQL_SMALLINT;
            store<SQLSMALLINT>(bound, hasValue ? parameter.value.toInteger() : 0);
            break;
        case DataType::Integer:
            bound.valueType = SQL_C_SLONG;
            bound.parameterType = SQL_INTEGER;
            store<SQLINTEGER>(bound, hasValue ? parameter.value.toLong() : 0);
            break;
        case DataType::BigInt:
            bound.valueType = SQL_C_SBIGINT;
            bound.parameterType = SQL_BIGINT;
            store<SQLBIGINT>(bound,
                             hasValue ? static_cast<SQLBIGINT>(parameter.value.toDouble()) : 0);
            break;
        case DataType::Double:
            bound.valueType = SQL_C_DOUBLE;
            bound.parameterType = SQL_DOUBLE;
            store<double>(bound, hasValue ? parameter.value.toDouble() : 0.0);
            break;
        case DataType::Date: {
            bound.valueType = SQL_C_TYPE_TIMESTAMP;
            bound.parameterType = SQL_TYPE_TIMESTAMP;
            bound.columnSize = 23;
            bound.digits = 3;
            SQL_TIMESTAMP_STRUCT value{};
            if (hasValue) {
                const Date date = parameter.value.toDate();
                value.year = static_cast<SQLSMALLINT>(date.year());
                value.month = static_cast<SQLUSMALLINT>(date.month());
                value.day = static_cast<SQLUSMALLINT>(date.day());
                value.hour = static_cast<SQLUSMALLINT>(date.hour());
                value.minute = static_cast<SQLUSMALLINT>(date.minute());
                value.second = static_cast<SQLUSMALLINT>(date.second());
                value.fraction = static_cast<SQLUINTEGER>(date.millisecond()) * 1000000;
            }
            store(bound, value);
            break;
        }
        case DataType::Currency:
        case DataType::VarChar:
        case DataType::Empty: {
            // Amounts travel as exact text, as does everything else.
            const bool amount = parameter.type == DataType::Currency;
            bound.valueType = SQL_C_CHAR;
            bound.parameterType = amount ? SQL_DECIMAL : SQL_VARCHAR;
            bound.digits = amount ? 4 : 0;
            const std::string text = !hasValue ? std::string()
                                               : (amount ? parameter.value.toCurrency().toString()
                                                         : parameter.value.toText());
            const std::size_t capacity =
                std::max<std::size_t>({text.size(),
                                       static_cast<std::size_t>(std::max(parameter.size, 0)),
                                       amount ? std::size_t{32} : std::size_t{1}}) +
                1;
            bound.columnSize = amount ? 19 : capacity - 1;
            bound.buffer.assign(capacity, '\0');
            std::memcpy(bound.buffer.data(), text.data(), text.size());
            bound.indicator = static_cast<SQLLEN>(text.size());
            if (!sendsValue && !amount && parameter.size <= 0) {
                // An output text of unknown size gets room for a varchar(8000).
                bound.buffer.assign(8001, '\0');
                bound.columnSize = 8000;
            }
            break;
        }
    }
    if (sendsValue && !hasValue) bound.indicator = SQL_NULL_DATA;
    return bound;
}

// The value the driver left in an output buffer.
Variant outputValue(const Parameter& parameter, const BoundParameter& bound,
                    const std::string& source) {
    if (bound.indicator == SQL_NULL_DATA) return Variant::null();
    switch (parameter.type) {
        case DataType::Boolean:
            return Variant(load<unsigned char>(bound) != 0);
        case DataType::TinyInt:
        case DataType::UnsignedTinyInt:
            return Variant(static_cast<std::uint8_t>(load<unsigned char>(bound)));
        case DataType::SmallInt:
            return Variant(static_cast<std::int16_t>(load<SQLSMALLINT>(bound)));
        case DataType::Integer:
            return Variant(static_cast<std::int32_t>(load<SQLINTEGER>(bound)));
        case DataType::BigInt:
            return Variant(static_cast<double>(load<SQLBIGINT>(bound)));
        case DataType::Double:
            return Variant(load<double>(bound));
        case DataType::Date: {
            const auto value = load<SQL_TIMESTAMP_STRUCT>(bound);
            const auto day = Date::fromYmd(value.year, value.month, value.day);
            if (!day) return Variant::null();
            return Variant(day->withTime(value.hour, value.minute, value.second,
                                         static_cast<int>(value.fraction / 1000000)));
        }
        case DataType::Currency:
        case DataType::VarChar:
        case DataType::Empty:
            break;
    }
    const std::size_t length =
        bound.indicator == SQL_NO_TOTAL
            ? std::strlen(bound.buffer.data())
            : std::min(static_cast<std::size_t>(bound.indicator), bound.buffer.size() - 1);
    const std::string text(bound.buffer.data(), length);
    if (parameter.type == DataType::Currency) return currencyFromText(text, source);
    return Variant(text);
}

}  // namespace

Variant currencyFromText(std::string_view text, const std::string& source) {
    const auto amount = Currency::parse(text::trim(text), '.');
    if (!amount) throw conversion(source, std::string(text), "money");
    return Variant(*amount);
}

std::unique_ptr<Cursor> makeDescribedCursor(std::unique_ptr<OdbcStatement> statement) {
    return std::make_unique<DescribedCursor>(std::move(statement));
}

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

std::string procedureCall(std::string_view name, std::size_t parameterCount, bool returnsValue) {
    std::string text = returnsValue ? "{? = call " : "{call ";
    text += name;
    const std::size_t markers = returnsValue ? parameterCount - 1 : parameterCount;
    if (markers > 0) {
        text += '(';
        for (std::size_t i = 0; i < markers; ++i) text += i ? ",?" : "?";
        text += ')';
    }
    text += '}';
    return text;
}

OdbcConnection::OdbcConnection(std::string connectionString,
                               const std::string& driverConnectionString, Dialect dialect)
    : Connection(std::move(connectionString)),
      link_(driverConnectionString, dialect, kProviderName) {
    if (dialect == Dialect::Sqlite) {
        sqlite_ = std::make_unique<SqliteDialect>(link_);
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
    if (sqlite_) return sqlite_->execute(text);
    OdbcStatement statement(link_);
    if (!statement.execute(std::string(text))) return 0;  // SQL_NO_DATA: no row matched
    if (statement.columnCount() > 0) return -1;           // rows are dropped with the cursor
    const std::int64_t changed = statement.rowCount();
    if (changed < 0) return -1;
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(changed, std::numeric_limits<std::int32_t>::max()));
}

std::unique_ptr<Cursor> OdbcConnection::openCursor(std::string_view text) {
    if (sqlite_) return sqlite_->open(text);
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
    if (sqlite_) {
        sqlite_->callProcedure(name, parameters);
        return;
    }
    const std::size_t count = parameters.Count();
    const bool returnsValue =
        count > 0 && parameters[0].direction == ParameterDirection::ReturnValue;
    OdbcStatement statement(link_);
    const SQLHSTMT handle = statement.handle();
    std::vector<BoundParameter> bound;
    bound.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        bound.push_back(bind(parameters[i]));
        BoundParameter& buffer = bound.back();
        link_.check(SQLBindParameter(handle, static_cast<SQLUSMALLINT>(i + 1),
                                     directionOf(parameters[i].direction), buffer.valueType,
                                     buffer.parameterType, buffer.columnSize, buffer.digits,
                                     buffer.buffer.data(),
                                     static_cast<SQLLEN>(buffer.buffer.size()), &buffer.indicator),
                    SQL_HANDLE_STMT, handle);
    }
    std::string call = procedureCall(name, count, returnsValue);
    const SQLRETURN result = SQLExecDirect(handle, reinterpret_cast<SQLCHAR*>(call.data()),
                                           static_cast<SQLINTEGER>(call.size()));
    link_.check(result, SQL_HANDLE_STMT, handle);
    // Output parameters are filled in only once every result has been consumed.
    if (result != SQL_NO_DATA) {
        while (statement.moreResults()) {
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (parameters[i].direction != ParameterDirection::Input)
            parameters[i].value = outputValue(parameters[i], bound[i], link_.source());
    }
}

void OdbcConnection::requireTransaction() const {
    if (!inTransaction_) {
        throw Error(errc::kProviderGeneric, kProviderName,
                    "The COMMIT TRANSACTION request has no corresponding BEGIN TRANSACTION.");
    }
}

void OdbcConnection::beginTransaction() {
    if (sqlite_) {
        sqlite_->beginTransaction();
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
    if (sqlite_) {
        sqlite_->commitTransaction();
        return;
    }
    requireTransaction();
    link_.endTransaction(true);
    link_.setAutocommit(true);
    inTransaction_ = false;
}

void OdbcConnection::rollbackTransaction() {
    if (sqlite_) {
        sqlite_->rollbackTransaction();
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
    if (!sqlite_) return false;
    sqlite_->beginOperation();
    return true;
}

void OdbcConnection::commitOperationTransaction() {
    if (sqlite_) sqlite_->commitOperation();
}

Error OdbcConnection::strayQuoteError(std::string_view text, std::size_t quoteOffset) {
    if (sqlite_) return sqlite_->strayQuoteError(text, quoteOffset);
    return sqlite::strayQuoteError(text, quoteOffset, kProviderName);
}

void OdbcConnection::createCompanySchema() {
    if (sqlite_) {
        sqlite_->createCompanySchema();
        return;
    }
    for (const std::string& batch : schema::tsqlScript()) {
        OdbcStatement statement(link_);
        statement.execute(batch);
    }
}

ConnectionRef openOdbcConnection(std::string connectionString) {
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
    return std::make_shared<OdbcConnection>(std::move(connectionString), driverString, dialect);
}

}  // namespace kvlnmov::db::odbc
