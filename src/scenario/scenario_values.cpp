#include "scenario/scenario_values.h"

#include <cmath>
#include <stdexcept>

namespace kvlnmov::scenario {

using registration::ValueKind;

namespace {

/// A JSON number or decimal string as an exact amount.
std::optional<Currency> exactAmount(const Json& value) {
    if (value.is_number_integer()) {
        return Currency::parse(value.dump());
    }
    if (value.is_number_float()) {
        return Currency::parse(value.dump());
    }
    if (value.is_string()) return Currency::parse(value.get<std::string>());
    return std::nullopt;
}

std::optional<Date> isoDate(const Json& value) {
    if (!value.is_string()) return std::nullopt;
    return Date::parseIso(value.get<std::string>());
}

std::optional<double> number(const Json& value) {
    if (value.is_number()) return value.get<double>();
    if (value.is_string()) {
        auto amount = Currency::parse(value.get<std::string>());
        if (amount) return amount->toDouble();
        try {
            std::size_t used = 0;
            double parsed = std::stod(value.get<std::string>(), &used);
            if (used == value.get<std::string>().size()) return parsed;
        } catch (const std::exception&) {
        }
    }
    return std::nullopt;
}

[[noreturn]] void badValue(const Json& value, const char* expected) {
    throw std::invalid_argument("value " + value.dump() + " is not " + expected);
}

std::string mismatch(const Variant& actual, const Json& expected) {
    return "expected " + expected.dump() + ", got " + describe(actual);
}

}  // namespace

std::string isoForScenario(const Date& value) {
    std::string iso = value.toIso();
    if (iso.size() > 10) iso[10] = 'T';
    return iso;
}

Variant toVariant(const Json& value, ValueKind kind) {
    if (value.is_null()) return Variant::null();
    switch (kind) {
        case ValueKind::Boolean:
            if (value.is_boolean()) return Variant(value.get<bool>());
            if (value.is_number()) return Variant(value.get<double>() != 0);
            badValue(value, "a Boolean");
        case ValueKind::Byte:
        case ValueKind::Integer:
        case ValueKind::Long: {
            if (value.is_boolean()) return Variant(value.get<bool>());
            auto n = number(value);
            if (!n) badValue(value, "a number");
            if (kind == ValueKind::Byte) return Variant(Variant(*n).toByte());
            if (kind == ValueKind::Integer) return Variant(Variant(*n).toInteger());
            return Variant(Variant(*n).toLong());
        }
        case ValueKind::Currency: {
            auto amount = exactAmount(value);
            if (!amount) badValue(value, "an amount");
            return Variant(*amount);
        }
        case ValueKind::Double: {
            auto n = number(value);
            if (!n) badValue(value, "a number");
            return Variant(*n);
        }
        case ValueKind::Date: {
            auto date = isoDate(value);
            if (!date) badValue(value, "an ISO date");
            return Variant(*date);
        }
        case ValueKind::String:
            if (value.is_string()) return Variant(value.get<std::string>());
            if (value.is_number() || value.is_boolean()) return Variant(value.dump());
            badValue(value, "a text");
        case ValueKind::Object:
            badValue(value, "an object reference");
        case ValueKind::Variant:
        case ValueKind::Void:
            break;
    }
    if (value.is_boolean()) return Variant(value.get<bool>());
    if (value.is_number_integer()) {
        auto n = value.get<std::int64_t>();
        if (n >= INT32_MIN && n <= INT32_MAX) return Variant(static_cast<std::int32_t>(n));
        return Variant(static_cast<double>(n));
    }
    if (value.is_number()) return Variant(value.get<double>());
    if (value.is_string()) return Variant(value.get<std::string>());
    badValue(value, "a plain value");
}

std::optional<std::string> compare(const Variant& actual, const Json& expected) {
    switch (actual.type()) {
        case VariantType::Empty:
            if (expected.is_null() || (expected.is_string() && expected.get<std::string>().empty()))
                return std::nullopt;
            return mismatch(actual, expected);
        case VariantType::Null:
            if (expected.is_null()) return std::nullopt;
            return mismatch(actual, expected);
        case VariantType::Boolean:
            if (expected.is_boolean() && expected.get<bool>() == actual.toBoolean())
                return std::nullopt;
            return mismatch(actual, expected);
        case VariantType::Currency: {
            auto amount = exactAmount(expected);
            if (amount && *amount == actual.toCurrency()) return std::nullopt;
            return mismatch(actual, expected);
        }
        case VariantType::Byte:
        case VariantType::Integer:
        case VariantType::Long: {
            auto amount = exactAmount(expected);
            if (amount && *amount == Currency::fromUnits(actual.toLong())) return std::nullopt;
            return mismatch(actual, expected);
        }
        case VariantType::Double: {
            auto n = number(expected);
            if (n && *n == actual.toDouble()) return std::nullopt;
            return mismatch(actual, expected);
        }
        case VariantType::Date: {
            auto date = isoDate(expected);
            if (date && *date == actual.toDate()) return std::nullopt;
            return mismatch(actual, expected);
        }
        case VariantType::String:
            if (expected.is_string() && expected.get<std::string>() == actual.toText())
                return std::nullopt;
            return mismatch(actual, expected);
        case VariantType::Object:
            return "expected " + expected.dump() + ", got an object";
    }
    return mismatch(actual, expected);
}

std::string describe(const Variant& value) {
    switch (value.type()) {
        case VariantType::Empty:
            return "Empty";
        case VariantType::Null:
            return "null";
        case VariantType::Boolean:
            return value.toBoolean() ? "true" : "false";
        case VariantType::Currency:
            return value.toCurrency().toString() + " (Currency)";
        case VariantType::Date:
            return "\"" + isoForScenario(value.toDate()) + "\" (Date)";
        case VariantType::String:
            return Json(value.toText()).dump();
        case VariantType::Object:
            return "an object";
        case VariantType::Double: {
            Json n = value.toDouble();
            return n.dump() + " (Double)";
        }
        default:
            return std::to_string(value.toLong()) + " (" + typeName(value.type()) + ")";
    }
}

}  // namespace kvlnmov::scenario
