#include "db/odbc/odbc_cursor.h"

#include <cstring>
#include <limits>

#include "kvlnmov/frame/text.h"

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

}  // namespace

Variant currencyFromText(std::string_view text, const std::string& source) {
    const auto amount = Currency::parse(text::trim(text), '.');
    if (!amount) throw conversion(source, std::string(text), "money");
    return Variant(*amount);
}

std::unique_ptr<Cursor> makeDescribedCursor(std::unique_ptr<OdbcStatement> statement) {
    return std::make_unique<DescribedCursor>(std::move(statement));
}

}  // namespace kvlnmov::db::odbc
