#include "db/odbc/odbc_procedure.h"

#include <algorithm>
#include <cstring>

#include "db/odbc/odbc_cursor.h"
#include "db/odbc/odbc_provider.h"

namespace kvlnmov::db::odbc {

namespace {

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

void callOdbcProcedure(const OdbcLink& link, const std::string& name, ParameterList& parameters) {
    const std::size_t count = parameters.Count();
    const bool returnsValue =
        count > 0 && parameters[0].direction == ParameterDirection::ReturnValue;
    OdbcStatement statement(link);
    const SQLHSTMT handle = statement.handle();
    std::vector<BoundParameter> bound;
    bound.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        bound.push_back(bind(parameters[i]));
        BoundParameter& buffer = bound.back();
        link.check(SQLBindParameter(handle, static_cast<SQLUSMALLINT>(i + 1),
                                     directionOf(parameters[i].direction), buffer.valueType,
                                     buffer.parameterType, buffer.columnSize, buffer.digits,
                                     buffer.buffer.data(),
                                     static_cast<SQLLEN>(buffer.buffer.size()), &buffer.indicator),
                    SQL_HANDLE_STMT, handle);
    }
    std::string call = procedureCall(name, count, returnsValue);
    const SQLRETURN result = SQLExecDirect(handle, reinterpret_cast<SQLCHAR*>(call.data()),
                                           static_cast<SQLINTEGER>(call.size()));
    link.check(result, SQL_HANDLE_STMT, handle);
    // Output parameters are filled in only once every result has been consumed.
    if (result != SQL_NO_DATA) {
        while (statement.moreResults()) {
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (parameters[i].direction != ParameterDirection::Input)
            parameters[i].value = outputValue(parameters[i], bound[i], link.source());
    }
}

}  // namespace kvlnmov::db::odbc
