#include "db/sqlite/translate/literal_coercion.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>

#include "db/sqlite/translate/text_util.h"
#include "kvlnmov/frame/currency.h"

namespace kvlnmov::db::sqlite::tsql {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool allDigits(std::string_view text) {
    if (text.empty()) return false;
    for (char c : text) {
        if (!isDigit(c)) return false;
    }
    return true;
}

std::string signedText(std::string_view text, bool negative) {
    return negative ? "-" + std::string(text) : std::string(text);
}

std::optional<std::int64_t> parseWhole(std::string_view text) {
    std::int64_t value = 0;
    const char* first = text.data();
    const char* last = text.data() + text.size();
    if (first != last && *first == '+') ++first;
    auto [end, error] = std::from_chars(first, last, value);
    if (error != std::errc() || end != last) return std::nullopt;
    return value;
}

std::optional<double> parseReal(std::string_view text) {
    double value = 0;
    const char* first = text.data();
    const char* last = text.data() + text.size();
    if (first != last && *first == '+') ++first;
    auto [end, error] = std::from_chars(first, last, value);
    if (error != std::errc() || end != last) return std::nullopt;
    return value;
}

// The value of a run of at most nine decimal digits, already checked to be digits.
int digitsValue(std::string_view digits) {
    int value = 0;
    for (char c : digits) value = value * 10 + (c - '0');
    return value;
}

bool hasNonZeroDigit(std::string_view text) {
    for (char c : text) {
        if (c == 'e' || c == 'E') break;
        if (c >= '1' && c <= '9') return true;
    }
    return false;
}

struct IntegerRange {
    std::int64_t min;
    std::int64_t max;
};

IntegerRange rangeOf(TypeKind kind) {
    switch (kind) {
        case TypeKind::Bit:
            return {0, 1};
        case TypeKind::TinyInt:
            return {0, 255};
        case TypeKind::SmallInt:
            return {-32768, 32767};
        case TypeKind::Int:
            return {std::numeric_limits<std::int32_t>::min(),
                    std::numeric_limits<std::int32_t>::max()};
        default:
            return {std::numeric_limits<std::int64_t>::min(),
                    std::numeric_limits<std::int64_t>::max()};
    }
}

std::string varcharName(std::string_view text) { return "'" + std::string(text) + "'"; }

SqlValue naturalValue(LiteralKind kind, std::string_view text, bool negative) {
    switch (kind) {
        case LiteralKind::String:
            return std::string(text);
        case LiteralKind::Integer:
            if (auto value = negative ? parseWhole(signedText(text, negative)) : parseWhole(text))
                return *value;
            [[fallthrough]];
        case LiteralKind::Decimal:
        case LiteralKind::Float: {
            auto value = parseReal(text).value_or(0.0);
            return negative ? -value : value;
        }
    }
    return std::monostate{};
}

SqlValue toInteger(const Coercion& coercion, LiteralKind kind, std::string_view text, bool negative,
                   const SqlErrors& errors) {
    IntegerRange range = rangeOf(coercion.target.kind);
    if (kind == LiteralKind::String) {
        std::string_view trimmed = trimBlanks(text);
        std::string_view digits = trimmed;
        if (!digits.empty() && (digits[0] == '-' || digits[0] == '+')) digits.remove_prefix(1);
        if (!allDigits(digits)) {
            throw errors.conversion("Conversion failed when converting the varchar value " +
                                    varcharName(text) + " to data type " + typeName(coercion.target) + ".");
        }
        auto value = parseWhole(trimmed);
        if (value && negative) *value = -*value;
        if (!value || *value < range.min || *value > range.max) {
            throw errors.textOverflow(text, typeName(coercion.target));
        }
        return *value;
    }
    std::int64_t value = 0;
    bool fits = true;
    if (kind == LiteralKind::Integer) {
        auto whole = negative ? parseWhole(signedText(text, negative)) : parseWhole(text);
        fits = whole.has_value();
        value = whole.value_or(0);
    } else {
        double real = std::trunc(parseReal(text).value_or(0.0));
        if (negative) real = -real;
        fits = std::fabs(real) < 9.2e18;
        value = fits ? static_cast<std::int64_t>(real) : 0;
    }
    if (coercion.assignment && (!fits || value < range.min || value > range.max)) {
        throw errors.overflow(typeName(coercion.target), kind != LiteralKind::Integer);
    }
    return value;
}

SqlValue toMoney(LiteralKind kind, std::string_view text, bool negative, const SqlErrors& errors) {
    std::optional<std::int64_t> raw;
    if (kind == LiteralKind::String) {
        std::string_view trimmed = trimBlanks(text);
        raw = scaleDecimalText(trimmed);
        if (!raw) {
            std::string_view digits = trimmed;
            if (!digits.empty() && (digits[0] == '-' || digits[0] == '+')) digits.remove_prefix(1);
            bool wellFormed = !digits.empty();
            for (char c : digits) wellFormed = wellFormed && (isDigit(c) || c == '.');
            if (!wellFormed) {
                throw errors.conversion(
                    "Cannot convert a char value to money. The char value has incorrect "
                    "syntax.");
            }
            throw errors.overflow("money", false);
        }
        if (negative) raw = -*raw;
        return *raw;
    }
    if (kind == LiteralKind::Float) {
        double scaled = parseReal(text).value_or(0.0) * Currency::kScale;
        if (negative) scaled = -scaled;
        if (!(std::fabs(scaled) < 9.2e18)) throw errors.overflow("money", true);
        return static_cast<std::int64_t>(std::llround(scaled));
    }
    // The magnitude is read without copying the text; only the most negative amount, whose
    // magnitude is one more than the largest, needs its sign read with it.
    raw = scaleDecimalText(text);
    if (raw && negative) raw = -*raw;
    if (!raw && negative) raw = scaleDecimalText(signedText(text, negative));
    if (!raw) throw errors.overflow("money", kind != LiteralKind::Integer);
    return *raw;
}

SqlValue toFloat(LiteralKind kind, std::string_view text, bool negative, const SqlErrors& errors) {
    std::optional<double> value = parseReal(kind == LiteralKind::String ? trimBlanks(text) : text);
    if (!value) throw errors.conversion("Error converting data type varchar to float.");
    return negative ? -*value : *value;
}

SqlValue toBit(LiteralKind kind, std::string_view text, const SqlErrors& errors) {
    if (kind != LiteralKind::String) return std::int64_t{hasNonZeroDigit(text) ? 1 : 0};
    std::string upper = upperAscii(trimBlanks(text));
    if (upper == "TRUE") return std::int64_t{1};
    if (upper == "FALSE") return std::int64_t{0};
    std::string_view digits = trimBlanks(text);
    if (!digits.empty() && (digits[0] == '-' || digits[0] == '+')) digits.remove_prefix(1);
    if (!allDigits(digits)) {
        throw errors.conversion("Conversion failed when converting the varchar value " +
                                varcharName(text) + " to data type bit.");
    }
    return std::int64_t{hasNonZeroDigit(digits) ? 1 : 0};
}

SqlValue toDateTime(LiteralKind kind, std::string_view text, bool negative,
                    const SessionState& session, const SqlErrors& errors) {
    if (kind == LiteralKind::String) {
        return parseDateTimeText(text, session.dayBeforeMonth, errors);
    }
    // A number is a count of days since 1 January 1900, the fraction a time of day.
    double days = parseReal(text).value_or(0.0);
    if (negative) days = -days;
    if (!(std::fabs(days) < 3.0e6)) throw errors.overflow("datetime", true);
    double whole = std::floor(days);
    auto millisecond = static_cast<std::int32_t>(std::llround((days - whole) * 86400000.0));
    if (millisecond >= 86400000) {
        whole += 1;
        millisecond = 0;
    }
    Date date = Date::fromSerial(static_cast<std::int32_t>(whole) + 2, millisecond);
    if (date.year() < 1753) throw errors.overflow("datetime", true);
    return canonicalDateTime(date);
}

SqlValue toText(const Coercion& coercion, LiteralKind kind, std::string_view text, bool negative,
                const SqlErrors& errors) {
    std::string value =
        kind == LiteralKind::String ? std::string(text) : signedText(text, negative);
    if (!coercion.assignment || coercion.target.kind != TypeKind::VarChar) return value;
    auto limit = static_cast<std::size_t>(coercion.target.length);
    if (characterCount(value) <= limit) return value;
    // The server cuts trailing blanks silently; any other character would be lost.
    std::size_t characters = 0;
    std::size_t cut = 0;
    while (cut < value.size()) {
        if ((static_cast<unsigned char>(value[cut]) & 0xC0) != 0x80) {
            if (characters == limit) break;
            ++characters;
        }
        ++cut;
    }
    if (value.find_first_not_of(' ', cut) != std::string::npos) throw errors.truncation();
    value.resize(cut);
    return value;
}

SqlValue toRowCount(LiteralKind kind, std::string_view text, bool negative,
                    const SqlErrors& errors) {
    if (kind != LiteralKind::Integer) {
        throw errors.syntax(
            "The number of rows provided for a TOP or FETCH clauses row count parameter must "
            "be an integer.");
    }
    auto value = parseWhole(signedText(text, negative));
    if (!value || *value < 0) {
        throw errors.syntax("A TOP N or FETCH rows count value may not be negative.");
    }
    return *value;
}

// Reads "H:MM", "H:MM:SS" or "H:MM:SS.fff" into milliseconds since midnight.
std::optional<std::int32_t> parseTime(std::string_view text) {
    std::int32_t fields[3] = {0, 0, 0};
    int count = 0;
    std::size_t pos = 0;
    while (count < 3) {
        std::size_t start = pos;
        while (pos < text.size() && isDigit(text[pos])) ++pos;
        std::size_t length = pos - start;
        if (length == 0 || length > 2) return std::nullopt;
        fields[count++] = digitsValue(text.substr(start, length));
        if (pos < text.size() && text[pos] == ':') {
            ++pos;
            continue;
        }
        break;
    }
    if (count < 2) return std::nullopt;
    std::int32_t millisecond = 0;
    if (pos < text.size() && text[pos] == '.' && count == 3) {
        ++pos;
        std::size_t start = pos;
        while (pos < text.size() && isDigit(text[pos])) ++pos;
        std::size_t length = pos - start;
        if (length == 0 || length > 3) return std::nullopt;
        std::string digits(text.substr(start, length));
        digits.append(3 - length, '0');
        millisecond = digitsValue(digits);
    }
    if (pos != text.size()) return std::nullopt;
    if (fields[0] > 23 || fields[1] > 59 || fields[2] > 59) return std::nullopt;
    return ((fields[0] * 60 + fields[1]) * 60 + fields[2]) * 1000 + millisecond;
}

struct DateFields {
    int year = 1900;
    int month = 1;
    int day = 1;
};

int expandYear(std::string_view digits) {
    int year = digitsValue(digits);
    if (digits.size() <= 2) year += year < 50 ? 2000 : 1900;
    return year;
}

// Reads the date part: "YYYYMMDD", "YYYY-MM-DD" (also with "/" or "."), or the regional
// day/month/year (month/day/year under mdy) with one- or two-digit day and month.
std::optional<DateFields> parseDatePart(std::string_view text, bool dayBeforeMonth) {
    if (text.size() == 8 && allDigits(text)) {
        return DateFields{digitsValue(text.substr(0, 4)),
                          digitsValue(text.substr(4, 2)),
                          digitsValue(text.substr(6, 2))};
    }
    std::size_t first = text.find_first_of("/-.");
    if (first == std::string_view::npos) return std::nullopt;
    char separator = text[first];
    std::size_t second = text.find(separator, first + 1);
    if (second == std::string_view::npos) return std::nullopt;
    std::string_view a = text.substr(0, first);
    std::string_view b = text.substr(first + 1, second - first - 1);
    std::string_view c = text.substr(second + 1);
    if (!allDigits(a) || !allDigits(b) || !allDigits(c)) return std::nullopt;
    if (b.size() > 2) return std::nullopt;
    if (a.size() == 4) {
        if (c.size() > 2) return std::nullopt;
        return DateFields{digitsValue(a), digitsValue(b),
                          digitsValue(c)};
    }
    if (a.size() > 2 || (c.size() != 2 && c.size() != 4)) return std::nullopt;
    int first_field = digitsValue(a);
    int second_field = digitsValue(b);
    DateFields fields;
    fields.year = expandYear(c);
    fields.day = dayBeforeMonth ? first_field : second_field;
    fields.month = dayBeforeMonth ? second_field : first_field;
    return fields;
}

}  // namespace

std::optional<std::int64_t> scaleDecimalText(std::string_view text) {
    const std::string_view asWritten = text;
    bool negative = false;
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
        negative = text[0] == '-';
        text.remove_prefix(1);
    }
    std::size_t dot = text.find('.');
    std::string_view whole = text.substr(0, dot);
    std::string_view fraction =
        dot == std::string_view::npos ? std::string_view() : text.substr(dot + 1);
    if (whole.empty() && fraction.empty()) return std::nullopt;
    if ((!whole.empty() && !allDigits(whole)) || (!fraction.empty() && !allDigits(fraction))) {
        return std::nullopt;
    }
    if (fraction.size() <= 4 && !whole.empty() && whole.size() <= 14) {
        // Nothing to round and no way to overflow (fourteen digits and four decimals stay far
        // below the largest amount): the ten-thousandths are counted here, digit by digit.
        std::int64_t raw = 0;
        for (char c : whole) raw = raw * 10 + (c - '0');
        std::size_t decimals = 0;
        for (; decimals < fraction.size(); ++decimals) raw = raw * 10 + (fraction[decimals] - '0');
        for (; decimals < 4; ++decimals) raw *= 10;
        return negative ? -raw : raw;
    }
    if (fraction.size() <= 4 && !whole.empty()) {
        // Nothing to round: the text is read as it stands.
        const std::optional<Currency> amount = Currency::parse(asWritten);
        if (!amount) return std::nullopt;
        return amount->raw();
    }
    bool roundUp = fraction.size() > 4 && fraction[4] >= '5';
    std::string exact = negative ? "-" : "";
    exact += whole.empty() ? "0" : std::string(whole);
    if (!fraction.empty()) exact += "." + std::string(fraction.substr(0, 4));
    std::optional<Currency> amount = Currency::parse(exact);
    if (!amount) return std::nullopt;
    std::int64_t raw = amount->raw();
    if (roundUp) {
        if (negative) {
            if (raw == std::numeric_limits<std::int64_t>::min()) return std::nullopt;
            --raw;
        } else {
            if (raw == std::numeric_limits<std::int64_t>::max()) return std::nullopt;
            ++raw;
        }
    }
    return raw;
}

std::string canonicalDateTime(const Date& date) {
    char buffer[32];
    const int year = date.year();
    if (year >= 0 && year <= 9999) {
        // Written digit by digit: this runs for every date a statement carries.
        auto put = [&](std::size_t at, int value, int width) {
            for (int i = width - 1; i >= 0; --i, value /= 10)
                buffer[at + static_cast<std::size_t>(i)] = static_cast<char>('0' + value % 10);
        };
        put(0, year, 4);
        buffer[4] = '-';
        put(5, date.month(), 2);
        buffer[7] = '-';
        put(8, date.day(), 2);
        if (date.millisecondOfDay() == 0) return std::string(buffer, 10);
        buffer[10] = ' ';
        put(11, date.hour(), 2);
        buffer[13] = ':';
        put(14, date.minute(), 2);
        buffer[16] = ':';
        put(17, date.second(), 2);
        buffer[19] = '.';
        put(20, date.millisecond(), 3);
        return std::string(buffer, 23);
    }
    if (date.millisecondOfDay() == 0) {
        std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", date.year(), date.month(),
                      date.day());
    } else {
        std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d.%03d", date.year(),
                      date.month(), date.day(), date.hour(), date.minute(), date.second(),
                      date.millisecond());
    }
    return buffer;
}

std::string parseDateTimeText(std::string_view text, bool dayBeforeMonth, const SqlErrors& errors) {
    std::string_view value = trimBlanks(text);
    if (value.empty()) return "1900-01-01";
    std::string_view datePart = value;
    std::string_view timePart;
    std::size_t split = value.find(' ');
    if (split == std::string_view::npos) {
        std::size_t t = value.find('T');
        if (t != std::string_view::npos && t == 10) split = t;
    }
    if (split != std::string_view::npos) {
        datePart = value.substr(0, split);
        timePart = trimBlanks(value.substr(split + 1));
        if (timePart.empty()) throw errors.dateConversion();
    }
    DateFields fields;
    if (datePart.find(':') != std::string_view::npos) {
        if (!timePart.empty()) throw errors.dateConversion();
        timePart = datePart;
    } else {
        auto parsed = parseDatePart(datePart, dayBeforeMonth);
        if (!parsed) throw errors.dateConversion();
        fields = *parsed;
    }
    std::int32_t millisecond = 0;
    if (!timePart.empty()) {
        auto time = parseTime(timePart);
        if (!time) throw errors.dateConversion();
        millisecond = *time;
    }
    if (fields.year < 1 || fields.year > 9999) throw errors.dateConversion();
    std::optional<Date> day = Date::fromYmd(fields.year, fields.month, fields.day);
    if (!day) throw errors.dateConversion();
    if (fields.year < 1753) throw errors.dateOutOfRange();
    return canonicalDateTime(Date::fromSerial(day->serial(), millisecond));
}

SqlValue coerceLiteral(const Coercion& coercion, LiteralKind kind, std::string_view text,
                       bool negative, const SessionState& session, const SqlErrors& errors) {
    switch (coercion.kind) {
        case CoercionKind::Natural:
            return naturalValue(kind, text, negative);
        case CoercionKind::Integer:
            return toInteger(coercion, kind, text, negative, errors);
        case CoercionKind::Money:
            return toMoney(kind, text, negative, errors);
        case CoercionKind::Float:
            return toFloat(kind, text, negative, errors);
        case CoercionKind::Bit:
            return toBit(kind, text, errors);
        case CoercionKind::DateTime:
            return toDateTime(kind, text, negative, session, errors);
        case CoercionKind::Text:
            return toText(coercion, kind, text, negative, errors);
        case CoercionKind::RowCount:
            return toRowCount(kind, text, negative, errors);
    }
    return std::monostate{};
}

}  // namespace kvlnmov::db::sqlite::tsql
