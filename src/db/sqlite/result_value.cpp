#include "db/sqlite/result_value.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "kvlnmov/frame/date.h"
#include "kvlnmov/frame/error.h"

namespace kvlnmov::db::sqlite {

namespace {

using schema::SqlType;

Error overflowTo(const std::string& source, const char* typeName) {
    return Error(errc::kDataOverflow, source,
                 std::string("Arithmetic overflow error converting expression to data type ") +
                     typeName + ".");
}

Error conversionTo(const std::string& source, const char* typeName) {
    return Error(
        errc::kConversion, source,
        std::string("Conversion failed when converting the value to data type ") + typeName + ".");
}

// A whole number of the column: integers as stored, reals truncated toward zero as SQL Server
// converts them, texts only when they hold a whole number.
std::int64_t wholeNumber(const StoredValue& value, const std::string& source,
                         const char* typeName) {
    if (const auto* integer = std::get_if<std::int64_t>(&value)) return *integer;
    if (const auto* real = std::get_if<double>(&value)) {
        const double truncated = std::trunc(*real);
        if (!(truncated >= -9.2e18 && truncated <= 9.2e18)) throw overflowTo(source, typeName);
        return static_cast<std::int64_t>(truncated);
    }
    const std::string_view text = std::get<std::string_view>(value);
    std::int64_t number = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        throw conversionTo(source, typeName);
    return number;
}

template <class Integer>
Integer inRange(std::int64_t value, const std::string& source, const char* typeName) {
    if (value < std::numeric_limits<Integer>::min() || value > std::numeric_limits<Integer>::max())
        throw overflowTo(source, typeName);
    return static_cast<Integer>(value);
}

}  // namespace

Variant convertStoredValue(const StoredValue& value, schema::ColumnType type,
                           const std::string& source) {
    if (std::holds_alternative<std::monostate>(value)) return Variant::null();
    switch (type.type) {
        case SqlType::Bit:
            return Variant(wholeNumber(value, source, "bit") != 0);
        case SqlType::TinyInt:
            return Variant(
                inRange<std::uint8_t>(wholeNumber(value, source, "tinyint"), source, "tinyint"));
        case SqlType::SmallInt:
            return Variant(
                inRange<std::int16_t>(wholeNumber(value, source, "smallint"), source, "smallint"));
        case SqlType::Int:
            return Variant(inRange<std::int32_t>(wholeNumber(value, source, "int"), source, "int"));
        case SqlType::Money:
            // Stored as whole ten-thousandths; an average comes back as a real, rounded.
            if (const auto* real = std::get_if<double>(&value)) {
                const double raw = std::round(*real);
                if (!(raw >= -9.2e18 && raw <= 9.2e18)) throw overflowTo(source, "money");
                return Variant(Currency::fromRaw(static_cast<std::int64_t>(raw)));
            }
            return Variant(Currency::fromRaw(wholeNumber(value, source, "money")));
        case SqlType::Float:
            if (const auto* real = std::get_if<double>(&value)) return Variant(*real);
            if (const auto* integer = std::get_if<std::int64_t>(&value))
                return Variant(static_cast<double>(*integer));
            throw conversionTo(source, "float");
        case SqlType::DateTime: {
            const auto* text = std::get_if<std::string_view>(&value);
            if (!text) throw conversionTo(source, "datetime");
            const auto date = Date::parseIso(*text);
            if (!date) {
                throw Error(errc::kConversion, source,
                            "Conversion failed when converting date and/or time from character "
                            "string.");
            }
            return Variant(*date);
        }
        case SqlType::VarChar:
        case SqlType::Text:
            break;
    }
    if (const auto* text = std::get_if<std::string_view>(&value)) return Variant(*text);
    if (const auto* integer = std::get_if<std::int64_t>(&value))
        return Variant(std::to_string(*integer));
    // A real read as text takes SQLite's own text form of it.
    char buffer[32];
    const auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, std::get<double>(value));
    return Variant(std::string(buffer, error == std::errc() ? end : buffer));
}

StoredValue storedValueFromText(std::string_view text) {
    const char* first = text.data();
    const char* last = text.data() + text.size();
    std::int64_t integer = 0;
    auto [integerEnd, integerError] = std::from_chars(first, last, integer);
    if (integerError == std::errc() && integerEnd == last && !text.empty()) return integer;
    double real = 0;
    auto [realEnd, realError] = std::from_chars(first, last, real);
    if (realError == std::errc() && realEnd == last && !text.empty()) return real;
    return text;
}

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

}  // namespace kvlnmov::db::sqlite
