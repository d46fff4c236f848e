// Reading SQLite result rows as the Variants an ADO client gets from SQL Server: each value is
// converted by the SQL Server type of its result column, whatever SQLite stored.

#include <charconv>
#include <cmath>
#include <limits>

#include "db/sqlite/sqlite_connection.h"
#include "db/sqlite/sqlite_error.h"
#include "db/sqlite/sqlite_provider.h"

namespace kvlnmov::db::sqlite {

namespace {

using schema::SqlType;

Error overflowTo(const char* typeName) {
    return Error(errc::kDataOverflow, kProviderName,
                 std::string("Arithmetic overflow error converting expression to data type ") +
                     typeName + ".");
}

Error conversionTo(const char* typeName) {
    return Error(
        errc::kConversion, kProviderName,
        std::string("Conversion failed when converting the value to data type ") + typeName + ".");
}

std::string_view textOf(sqlite3_stmt* statement, int index) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
    return text ? std::string_view(text,
                                   static_cast<std::size_t>(sqlite3_column_bytes(statement, index)))
                : std::string_view();
}

// A whole number of the column: integers as stored, reals truncated toward zero as SQL Server
// converts them, texts only when they hold a whole number.
std::int64_t wholeNumber(sqlite3_stmt* statement, int index, const char* typeName) {
    switch (sqlite3_column_type(statement, index)) {
        case SQLITE_INTEGER:
            return sqlite3_column_int64(statement, index);
        case SQLITE_FLOAT: {
            const double value = std::trunc(sqlite3_column_double(statement, index));
            if (!(value >= -9.2e18 && value <= 9.2e18)) throw overflowTo(typeName);
            return static_cast<std::int64_t>(value);
        }
        default: {
            const std::string_view text = textOf(statement, index);
            std::int64_t value = 0;
            auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
            if (error != std::errc() || end != text.data() + text.size())
                throw conversionTo(typeName);
            return value;
        }
    }
}

template <class Integer>
Integer inRange(std::int64_t value, const char* typeName) {
    if (value < std::numeric_limits<Integer>::min() || value > std::numeric_limits<Integer>::max())
        throw overflowTo(typeName);
    return static_cast<Integer>(value);
}

Variant valueOf(sqlite3_stmt* statement, int index, schema::ColumnType type) {
    const int storage = sqlite3_column_type(statement, index);
    if (storage == SQLITE_NULL) return Variant::null();
    switch (type.type) {
        case SqlType::Bit:
            return Variant(wholeNumber(statement, index, "bit") != 0);
        case SqlType::TinyInt:
            return Variant(
                inRange<std::uint8_t>(wholeNumber(statement, index, "tinyint"), "tinyint"));
        case SqlType::SmallInt:
            return Variant(
                inRange<std::int16_t>(wholeNumber(statement, index, "smallint"), "smallint"));
        case SqlType::Int:
            return Variant(inRange<std::int32_t>(wholeNumber(statement, index, "int"), "int"));
        case SqlType::Money:
            // Stored as whole ten-thousandths; an average comes back as a real, rounded.
            if (storage == SQLITE_FLOAT) {
                const double raw = std::round(sqlite3_column_double(statement, index));
                if (!(raw >= -9.2e18 && raw <= 9.2e18)) throw overflowTo("money");
                return Variant(Currency::fromRaw(static_cast<std::int64_t>(raw)));
            }
            return Variant(Currency::fromRaw(wholeNumber(statement, index, "money")));
        case SqlType::Float:
            if (storage == SQLITE_TEXT) throw conversionTo("float");
            return Variant(sqlite3_column_double(statement, index));
        case SqlType::DateTime: {
            if (storage != SQLITE_TEXT) throw conversionTo("datetime");
            const auto date = Date::parseIso(textOf(statement, index));
            if (!date) {
                throw Error(errc::kConversion, kProviderName,
                            "Conversion failed when converting date and/or time from character "
                            "string.");
            }
            return Variant(*date);
        }
        case SqlType::VarChar:
        case SqlType::Text:
            break;
    }
    return Variant(std::string(textOf(statement, index)));
}

class SqliteCursor : public Cursor {
  public:
    SqliteCursor(sqlite3* db, StatementCache::Lease statement,
                 const std::vector<ResultColumn>& columns)
        : db_(db), statement_(std::move(statement)) {
        for (const ResultColumn& column : columns) {
            columns_.push_back(ColumnInfo{column.name, adoType(column.type)});
            types_.push_back(column.type);
        }
        if (sqlite3_column_count(statement_.get()) != static_cast<int>(columns.size())) {
            throw Error(errc::kProviderGeneric, kProviderName,
                        "The translated query returns another number of columns than typed.");
        }
        step();
    }

    const std::vector<ColumnInfo>& columns() const override { return columns_; }

    bool next(std::vector<Variant>& row) override {
        if (!statement_) return false;
        if (!rowReady_) step();
        if (!rowReady_) return false;
        row.clear();
        row.reserve(types_.size());
        for (std::size_t i = 0; i < types_.size(); ++i)
            row.push_back(valueOf(statement_.get(), static_cast<int>(i), types_[i]));
        rowReady_ = false;
        return true;
    }

  private:
    void step() {
        const int resultCode = sqlite3_step(statement_.get());
        if (resultCode == SQLITE_ROW) {
            rowReady_ = true;
            return;
        }
        rowReady_ = false;
        if (resultCode == SQLITE_DONE) {
            // The end: give the statement back so it holds no read transaction.
            statement_.release();
            return;
        }
        Error error = sqliteError(db_, resultCode, "SELECT");
        statement_.release();
        throw error;
    }

    sqlite3* db_;
    StatementCache::Lease statement_;
    std::vector<ColumnInfo> columns_;
    std::vector<schema::ColumnType> types_;
    bool rowReady_ = false;
};

}  // namespace

DataType adoType(schema::ColumnType type) {
    switch (type.type) {
        case SqlType::Bit:
            return DataType::Boolean;
        case SqlType::TinyInt:
            return DataType::UnsignedTinyInt;
        case SqlType::SmallInt:
            return DataType::SmallInt;
        case SqlType::Int:
            return DataType::Integer;
        case SqlType::Money:
            return DataType::Currency;
        case SqlType::Float:
            return DataType::Double;
        case SqlType::DateTime:
            return DataType::Date;
        case SqlType::VarChar:
        case SqlType::Text:
            break;
    }
    return DataType::VarChar;
}

std::unique_ptr<Cursor> makeCursor(sqlite3* db, StatementCache::Lease statement,
                                   const std::vector<ResultColumn>& columns) {
    return std::make_unique<SqliteCursor>(db, std::move(statement), columns);
}

}  // namespace kvlnmov::db::sqlite
