#include "kvlnmov/frame/variant.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>

#include "kvlnmov/frame/error.h"

namespace kvlnmov {

namespace {

std::string_view trimBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if ((a[i] | 0x20) != (b[i] | 0x20)) return false;
    }
    return true;
}

/// A number read from text: either a hexadecimal whole number ("&H1F") or a decimal number
/// rewritten in the neutral form "[-]digits[.digits][e[-]digits]".
struct NumberText {
    bool hexadecimal = false;
    std::int32_t hexValue = 0;
    std::string neutral;
    bool hasExponent = false;
};

bool isDigit(char c) { return c >= '0' && c <= '9'; }

int hexDigit(char c) {
    if (isDigit(c)) return c - '0';
    char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f') return lower - 'a' + 10;
    return -1;
}

/// Reads a number in the regional form: surrounding blanks, a sign, digits with thousands
/// separators (ignored), the regional decimal separator, an exponent; or "&H" and up to eight
/// hexadecimal digits (a 32-bit pattern, so "&HFFFFFFFF" is -1). Nothing when it is not a
/// number; raises Overflow for a hexadecimal number wider than 32 bits.
std::optional<NumberText> readNumber(std::string_view text, const Regional& settings) {
    text = trimBlanks(text);
    NumberText result;
    if (text.size() > 2 && text[0] == '&' && (text[1] | 0x20) == 'h') {
        std::uint64_t value = 0;
        for (char c : text.substr(2)) {
            int digit = hexDigit(c);
            if (digit < 0) return std::nullopt;
            value = value * 16 + static_cast<std::uint64_t>(digit);
            if (value > 0xFFFFFFFFu) throw overflow();
        }
        result.hexadecimal = true;
        result.hexValue = static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
        return result;
    }
    std::size_t i = 0;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        if (text[i] == '-') result.neutral += '-';
        ++i;
    }
    bool anyDigit = false;
    bool ignoreThousands = settings.thousandsSeparator != settings.decimalSeparator;
    for (; i < text.size(); ++i) {
        if (isDigit(text[i])) {
            result.neutral += text[i];
            anyDigit = true;
        } else if (!(ignoreThousands && text[i] == settings.thousandsSeparator)) {
            break;
        }
    }
    if (i < text.size() && text[i] == settings.decimalSeparator) {
        result.neutral += '.';
        for (++i; i < text.size() && isDigit(text[i]); ++i) {
            result.neutral += text[i];
            anyDigit = true;
        }
    }
    if (!anyDigit) return std::nullopt;
    if (i < text.size() && (text[i] | 0x20) == 'e') {
        result.neutral += 'e';
        result.hasExponent = true;
        ++i;
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
            if (text[i] == '-') result.neutral += '-';
            ++i;
        }
        if (i == text.size() || !isDigit(text[i])) return std::nullopt;
        for (; i < text.size() && isDigit(text[i]); ++i) result.neutral += text[i];
    }
    if (i != text.size()) return std::nullopt;
    return result;
}

/// The double a number text stands for; raises Overflow beyond the double range and gives 0
/// for numbers too small to represent.
double toDoubleValue(const NumberText& number) {
    if (number.hexadecimal) return number.hexValue;
    double value = 0;
    const char* begin = number.neutral.data();
    const char* end = begin + number.neutral.size();
    auto [next, ec] = std::from_chars(begin, end, value);
    if (ec == std::errc::result_out_of_range) {
        // Tell overflow from underflow by the decimal magnitude: the position of the first
        // significant digit plus the exponent.
        std::string_view text = number.neutral;
        std::size_t exponentAt = text.find('e');
        long exponent = 0;
        std::from_chars(text.data() + exponentAt + 1, text.data() + text.size(), exponent);
        std::string_view mantissa = text.substr(0, exponentAt);
        std::size_t point = mantissa.find('.');
        if (point == std::string_view::npos) point = mantissa.size();
        std::size_t firstSignificant = mantissa.find_first_of("123456789");
        long magnitude = static_cast<long>(point) - static_cast<long>(firstSignificant) + exponent;
        if (magnitude > 0) throw overflow();
        return 0.0;
    }
    if (ec != std::errc() || next != end) throw typeMismatch();
    return value;
}

double parseDouble(std::string_view text) {
    auto number = readNumber(text, regional());
    if (!number) throw typeMismatch();
    return toDoubleValue(*number);
}

/// Rounds to the nearest whole number, halves to even, independent of the floating point
/// environment.
double roundHalfEven(double value) {
    double floor = std::floor(value);
    double difference = value - floor;
    if (difference > 0.5) return floor + 1;
    if (difference < 0.5) return floor;
    return std::fmod(floor, 2.0) == 0 ? floor : floor + 1;
}

/// The currency amount rounded to whole units, halves to even.
std::int64_t roundCurrency(Currency amount) {
    std::int64_t quotient = amount.raw() / Currency::kScale;
    std::int64_t remainder = amount.raw() % Currency::kScale;
    constexpr std::int64_t kHalf = Currency::kScale / 2;
    if (remainder > kHalf || (remainder == kHalf && quotient % 2 != 0)) ++quotient;
    if (remainder < -kHalf || (remainder == -kHalf && quotient % 2 != 0)) --quotient;
    return quotient;
}

/// The Variant as a whole number in [minimum, maximum]: the common path of CByte, CInt and
/// CLng.
std::int64_t toWhole(const Variant& variant, std::int64_t minimum, std::int64_t maximum) {
    auto inRange = [&](std::int64_t value) {
        if (value < minimum || value > maximum) throw overflow();
        return value;
    };
    auto fromDouble = [&](double value) {
        double rounded = roundHalfEven(value);
        if (!(rounded >= static_cast<double>(minimum) && rounded <= static_cast<double>(maximum))) {
            throw overflow();
        }
        return static_cast<std::int64_t>(rounded);
    };
    return std::visit(
        [&](const auto& value) -> std::int64_t {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return 0;
            } else if constexpr (std::is_same_v<T, Variant::NullTag>) {
                throw invalidUseOfNull();
            } else if constexpr (std::is_same_v<T, bool>) {
                return inRange(value ? -1 : 0);
            } else if constexpr (std::is_integral_v<T>) {
                return inRange(value);
            } else if constexpr (std::is_same_v<T, Currency>) {
                return inRange(roundCurrency(value));
            } else if constexpr (std::is_same_v<T, double>) {
                return fromDouble(value);
            } else if constexpr (std::is_same_v<T, Date>) {
                return fromDouble(value.toDouble());
            } else if constexpr (std::is_same_v<T, std::string>) {
                auto number = readNumber(value, regional());
                if (!number) throw typeMismatch();
                if (number->hexadecimal) return inRange(number->hexValue);
                return fromDouble(toDoubleValue(*number));
            } else {
                throw typeMismatch();
            }
        },
        variant.raw());
}

/// The double in the language's default text form: up to 15 significant digits, no
/// trailing zeros, the exponent form ("1E+20", "1E-05") only where the plain form would need
/// more than 15 digits before the point or more than four zeros after it.
std::string doubleText(double value, char decimalSeparator) {
    if (value == 0) return "0";  // also for -0
    char buffer[64];
    auto [end, ec] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 15);
    std::string text(buffer, ec == std::errc() ? end : buffer);
    for (char& c : text) {
        if (c == '.') c = decimalSeparator;
        if (c == 'e') c = 'E';
    }
    return text;
}

}  // namespace

VariantType Variant::type() const {
    switch (value_.index()) {
        case 0:
            return VariantType::Empty;
        case 1:
            return VariantType::Null;
        case 2:
            return VariantType::Boolean;
        case 3:
            return VariantType::Byte;
        case 4:
            return VariantType::Integer;
        case 5:
            return VariantType::Long;
        case 6:
            return VariantType::Currency;
        case 7:
            return VariantType::Double;
        case 8:
            return VariantType::Date;
        case 9:
            return VariantType::String;
        default:
            return VariantType::Object;
    }
}

bool Variant::isNumeric() const {
    switch (type()) {
        case VariantType::Boolean:
        case VariantType::Byte:
        case VariantType::Integer:
        case VariantType::Long:
        case VariantType::Currency:
        case VariantType::Double:
            return true;
        default:
            return false;
    }
}

bool Variant::toBoolean() const {
    return std::visit(
        [](const auto& value) -> bool {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return false;
            } else if constexpr (std::is_same_v<T, NullTag>) {
                throw invalidUseOfNull();
            } else if constexpr (std::is_same_v<T, bool>) {
                return value;
            } else if constexpr (std::is_arithmetic_v<T>) {
                return value != 0;
            } else if constexpr (std::is_same_v<T, Currency>) {
                return !value.isZero();
            } else if constexpr (std::is_same_v<T, Date>) {
                return value.serial() != 0 || value.hasTime();
            } else if constexpr (std::is_same_v<T, std::string>) {
                std::string_view text = trimBlanks(value);
                if (equalsIgnoringCase(text, "True")) return true;
                if (equalsIgnoringCase(text, "False")) return false;
                return parseDouble(text) != 0;
            } else {
                throw typeMismatch();
            }
        },
        value_);
}

std::uint8_t Variant::toByte() const { return static_cast<std::uint8_t>(toWhole(*this, 0, 255)); }

std::int16_t Variant::toInteger() const {
    return static_cast<std::int16_t>(toWhole(*this, std::numeric_limits<std::int16_t>::min(),
                                             std::numeric_limits<std::int16_t>::max()));
}

std::int32_t Variant::toLong() const {
    return static_cast<std::int32_t>(toWhole(*this, std::numeric_limits<std::int32_t>::min(),
                                             std::numeric_limits<std::int32_t>::max()));
}

Currency Variant::toCurrency() const {
    return std::visit(
        [](const auto& value) -> Currency {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return Currency();
            } else if constexpr (std::is_same_v<T, NullTag>) {
                throw invalidUseOfNull();
            } else if constexpr (std::is_same_v<T, bool>) {
                return Currency::fromUnits(value ? -1 : 0);
            } else if constexpr (std::is_integral_v<T>) {
                return Currency::fromUnits(value);
            } else if constexpr (std::is_same_v<T, Currency>) {
                return value;
            } else if constexpr (std::is_same_v<T, double>) {
                return Currency::fromDouble(value);
            } else if constexpr (std::is_same_v<T, Date>) {
                return Currency::fromDouble(value.toDouble());
            } else if constexpr (std::is_same_v<T, std::string>) {
                auto number = readNumber(value, regional());
                if (!number) throw typeMismatch();
                if (number->hexadecimal) return Currency::fromUnits(number->hexValue);
                if (number->hasExponent) return Currency::fromDouble(toDoubleValue(*number));
                // Exact decimal digits: the text is well formed, so failing here means the
                // amount is out of range.
                auto amount = Currency::parse(number->neutral, '.');
                if (!amount) throw overflow();
                return *amount;
            } else {
                throw typeMismatch();
            }
        },
        value_);
}

double Variant::toDouble() const {
    return std::visit(
        [](const auto& value) -> double {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return 0.0;
            } else if constexpr (std::is_same_v<T, NullTag>) {
                throw invalidUseOfNull();
            } else if constexpr (std::is_same_v<T, bool>) {
                return value ? -1.0 : 0.0;
            } else if constexpr (std::is_arithmetic_v<T>) {
                return static_cast<double>(value);
            } else if constexpr (std::is_same_v<T, Currency> || std::is_same_v<T, Date>) {
                return value.toDouble();
            } else if constexpr (std::is_same_v<T, std::string>) {
                return parseDouble(value);
            } else {
                throw typeMismatch();
            }
        },
        value_);
}

Date Variant::toDate() const {
    return std::visit(
        [](const auto& value) -> Date {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return Date();
            } else if constexpr (std::is_same_v<T, NullTag>) {
                throw invalidUseOfNull();
            } else if constexpr (std::is_same_v<T, bool>) {
                return Date::fromDouble(value ? -1.0 : 0.0);
            } else if constexpr (std::is_arithmetic_v<T>) {
                return Date::fromDouble(static_cast<double>(value));
            } else if constexpr (std::is_same_v<T, Currency>) {
                return Date::fromDouble(value.toDouble());
            } else if constexpr (std::is_same_v<T, Date>) {
                return value;
            } else if constexpr (std::is_same_v<T, std::string>) {
                std::string_view text = trimBlanks(value);
                if (auto date = Date::parseRegional(text, regional())) return *date;
                if (auto date = Date::parseIso(text)) return *date;
                throw typeMismatch();
            } else {
                throw typeMismatch();
            }
        },
        value_);
}

std::string Variant::toText() const {
    return std::visit(
        [](const auto& value) -> std::string {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return std::string();
            } else if constexpr (std::is_same_v<T, NullTag>) {
                throw invalidUseOfNull();
            } else if constexpr (std::is_same_v<T, bool>) {
                return value ? "True" : "False";
            } else if constexpr (std::is_same_v<T, double>) {
                return doubleText(value, regional().decimalSeparator);
            } else if constexpr (std::is_arithmetic_v<T>) {
                return std::to_string(value);
            } else if constexpr (std::is_same_v<T, Currency> || std::is_same_v<T, Date>) {
                return value.toText(regional());
            } else if constexpr (std::is_same_v<T, std::string>) {
                return value;
            } else {
                throw typeMismatch();
            }
        },
        value_);
}

ObjectRef Variant::toObject() const {
    if (auto object = std::get_if<ObjectRef>(&value_)) return *object;
    throw typeMismatch();
}

std::string typeName(VariantType type) {
    switch (type) {
        case VariantType::Empty:
            return "Empty";
        case VariantType::Null:
            return "Null";
        case VariantType::Boolean:
            return "Boolean";
        case VariantType::Byte:
            return "Byte";
        case VariantType::Integer:
            return "Integer";
        case VariantType::Long:
            return "Long";
        case VariantType::Currency:
            return "Currency";
        case VariantType::Double:
            return "Double";
        case VariantType::Date:
            return "Date";
        case VariantType::String:
            return "String";
        case VariantType::Object:
            return "Object";
    }
    return "Unknown";
}

}  // namespace kvlnmov
