#include "kvlnmov/frame/date.h"

#include <chrono>
#include <cmath>
#include <ctime>
#include <vector>

#include "kvlnmov/frame/error.h"

namespace kvlnmov {

namespace {

namespace chrono = std::chrono;

constexpr std::int32_t kMillisecondsPerDay = 86400000;
/// Serial of 1 January 1970, the epoch of the system clock.
constexpr std::int32_t kUnixEpochSerial = 25569;
/// Serials of 1 January 100 and 31 December 9999, the ends of the date range.
constexpr std::int32_t kFirstSerial = -657434;
constexpr std::int32_t kLastSerial = 2958465;

Error invalidProcedureCall() {
    return Error(errc::kInvalidProcedureCall, kRuntimeSource, "Invalid procedure call or argument");
}

chrono::year_month_day civil(std::int32_t serial) {
    return chrono::year_month_day(chrono::sys_days(chrono::days(serial - kUnixEpochSerial)));
}

/// Two digits with a leading zero.
void appendTwoDigits(std::string& out, int value) {
    out += static_cast<char>('0' + value / 10 % 10);
    out += static_cast<char>('0' + value % 10);
}

void appendTime(std::string& out, const Date& date) {
    appendTwoDigits(out, date.hour());
    out += ':';
    appendTwoDigits(out, date.minute());
    out += ':';
    appendTwoDigits(out, date.second());
}

bool isBlank(char c) { return c == ' ' || c == '\t'; }

/// A cursor over text being read field by field.
class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {}

    bool atEnd() const { return position_ == text_.size(); }
    char peek() const { return atEnd() ? '\0' : text_[position_]; }

    bool accept(char c) {
        if (peek() != c) return false;
        ++position_;
        return true;
    }

    /// Reads a run of digits of an allowed length; returns the number of digits read (0 and
    /// nothing consumed when the run has another length).
    int number(int minDigits, int maxDigits, int& value) {
        std::size_t start = position_;
        int result = 0;
        while (!atEnd() && peek() >= '0' && peek() <= '9') {
            result = result * 10 + (peek() - '0');
            ++position_;
            if (static_cast<int>(position_ - start) > maxDigits) break;
        }
        int count = static_cast<int>(position_ - start);
        if (count < minDigits || count > maxDigits) {
            position_ = start;
            return 0;
        }
        value = result;
        return count;
    }

    bool skipBlanks() {
        std::size_t start = position_;
        while (!atEnd() && isBlank(peek())) ++position_;
        return position_ != start;
    }

  private:
    std::string_view text_;
    std::size_t position_ = 0;
};

/// Reads "H:mm", "H:mm:ss" or "H:mm:ss.fff" (the hour with one or two digits, one to three
/// fraction digits) as milliseconds since midnight.
std::optional<std::int32_t> readTime(Reader& reader, int minHourDigits) {
    int hour = 0, minute = 0, second = 0, fraction = 0;
    if (!reader.number(minHourDigits, 2, hour) || !reader.accept(':') ||
        !reader.number(2, 2, minute)) {
        return std::nullopt;
    }
    int millisecond = 0;
    if (reader.accept(':')) {
        if (!reader.number(2, 2, second)) return std::nullopt;
        if (reader.accept('.')) {
            int digits = reader.number(1, 3, fraction);
            if (digits == 0) return std::nullopt;
            millisecond = fraction * (digits == 1 ? 100 : digits == 2 ? 10 : 1);
        }
    }
    if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return ((hour * 60 + minute) * 60 + second) * 1000 + millisecond;
}

/// The fields of a short date pattern in their order ('d', 'm', 'y') and its separator.
struct DatePattern {
    std::vector<char> fields;
    char separator = '/';
};

DatePattern readPattern(const std::string& pattern) {
    DatePattern result;
    bool separatorSeen = false;
    for (char c : pattern) {
        char lower = static_cast<char>(c | 0x20);
        if (lower == 'd' || lower == 'm' || lower == 'y') {
            if (result.fields.empty() || result.fields.back() != lower) {
                result.fields.push_back(lower);
            }
        } else if (!separatorSeen) {
            result.separator = c;
            separatorSeen = true;
        }
    }
    if (result.fields.size() != 3) result.fields = {'d', 'm', 'y'};
    return result;
}

}  // namespace

std::optional<Date> Date::fromYmd(int year, int month, int day) {
    if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31) {
        return std::nullopt;
    }
    chrono::year_month_day date{chrono::year(year), chrono::month(static_cast<unsigned>(month)),
                                chrono::day(static_cast<unsigned>(day))};
    if (!date.ok()) return std::nullopt;
    auto days = chrono::sys_days(date).time_since_epoch().count();
    return fromSerial(static_cast<std::int32_t>(days) + kUnixEpochSerial);
}

Date Date::ymd(int year, int month, int day) {
    if (auto date = fromYmd(year, month, day)) return *date;
    throw invalidProcedureCall();
}

Date Date::fromSerial(std::int32_t serial, std::int32_t millisecondOfDay) {
    std::int64_t days = std::int64_t{serial} + millisecondOfDay / kMillisecondsPerDay;
    std::int32_t millisecond = millisecondOfDay % kMillisecondsPerDay;
    if (millisecond < 0) {
        millisecond += kMillisecondsPerDay;
        --days;
    }
    if (days < kFirstSerial || days > kLastSerial) throw overflow();
    Date date;
    date.serial_ = static_cast<std::int32_t>(days);
    date.millisecond_ = millisecond;
    return date;
}

Date Date::now() {
    auto point = chrono::system_clock::now();
    std::time_t seconds = chrono::system_clock::to_time_t(point);
    std::tm local{};
    localtime_r(&seconds, &local);
    auto sinceEpoch = chrono::duration_cast<chrono::milliseconds>(point.time_since_epoch());
    int millisecond = static_cast<int>((sinceEpoch.count() % 1000 + 1000) % 1000);
    return ymd(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday)
        .withTime(local.tm_hour, local.tm_min, local.tm_sec > 59 ? 59 : local.tm_sec, millisecond);
}

Date Date::today() { return now().dateOnly(); }

std::optional<Date> Date::parseIso(std::string_view text) {
    Reader reader(text);
    int year = 0, month = 0, day = 0;
    if (!reader.number(4, 4, year) || !reader.accept('-') || !reader.number(2, 2, month) ||
        !reader.accept('-') || !reader.number(2, 2, day)) {
        return std::nullopt;
    }
    auto date = fromYmd(year, month, day);
    if (!date) return std::nullopt;
    if (reader.atEnd()) return date;
    if (!reader.accept('T') && !reader.accept(' ')) return std::nullopt;
    auto time = readTime(reader, 2);
    if (!time || !reader.atEnd()) return std::nullopt;
    return fromSerial(date->serial_, *time);
}

std::optional<Date> Date::parseRegional(std::string_view text, const Regional& settings) {
    DatePattern pattern = readPattern(settings.shortDate);
    Reader reader(text);
    reader.skipBlanks();
    int day = 0, month = 0, year = 0;
    for (std::size_t i = 0; i < pattern.fields.size(); ++i) {
        if (i > 0 && !reader.accept(pattern.separator)) return std::nullopt;
        switch (pattern.fields[i]) {
            case 'd':
                if (!reader.number(1, 2, day)) return std::nullopt;
                break;
            case 'm':
                if (!reader.number(1, 2, month)) return std::nullopt;
                break;
            default: {
                int digits = reader.number(2, 4, year);
                if (digits == 3 || digits == 0) return std::nullopt;
                // A two-digit year falls in 1930..2029.
                if (digits == 2) year += year < 30 ? 2000 : 1900;
                break;
            }
        }
    }
    auto date = fromYmd(year, month, day);
    if (!date) return std::nullopt;
    bool blank = reader.skipBlanks();
    if (reader.atEnd()) return date;
    if (!blank) return std::nullopt;
    auto time = readTime(reader, 1);
    if (!time) return std::nullopt;
    reader.skipBlanks();
    if (!reader.atEnd()) return std::nullopt;
    return fromSerial(date->serial_, *time);
}

Date Date::withTime(int hour, int minute, int second, int millisecond) const {
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59 ||
        millisecond < 0 || millisecond > 999) {
        throw invalidProcedureCall();
    }
    return fromSerial(serial_, ((hour * 60 + minute) * 60 + second) * 1000 + millisecond);
}

int Date::year() const { return static_cast<int>(civil(serial_).year()); }

int Date::month() const { return static_cast<int>(static_cast<unsigned>(civil(serial_).month())); }

int Date::day() const { return static_cast<int>(static_cast<unsigned>(civil(serial_).day())); }

double Date::toDouble() const {
    // Before the zero date the whole part counts days backwards while the fraction is still
    // the time of day, so the fraction moves away from zero: -1.25 is 29 December, 06:00.
    double fraction = static_cast<double>(millisecond_) / kMillisecondsPerDay;
    return serial_ < 0 ? serial_ - fraction : serial_ + fraction;
}

Date Date::fromDouble(double value) {
    if (!(value > kFirstSerial - 1.0 && value < kLastSerial + 1.0)) throw overflow();
    double whole = std::trunc(value);
    auto millisecond =
        static_cast<std::int32_t>(std::llround(std::fabs(value - whole) * kMillisecondsPerDay));
    auto serial = static_cast<std::int32_t>(whole);
    if (millisecond == kMillisecondsPerDay) {
        // The time rounds up to the next midnight, which lies away from the zero date.
        millisecond = 0;
        serial += value < 0 ? -1 : 1;
    }
    return fromSerial(serial, millisecond);
}

std::string Date::toIso() const {
    auto date = civil(serial_);
    std::string text;
    int year = static_cast<int>(date.year());
    appendTwoDigits(text, year / 100);
    appendTwoDigits(text, year);
    text += '-';
    appendTwoDigits(text, static_cast<int>(static_cast<unsigned>(date.month())));
    text += '-';
    appendTwoDigits(text, static_cast<int>(static_cast<unsigned>(date.day())));
    if (hasTime()) {
        text += ' ';
        appendTime(text, *this);
        if (millisecond() != 0) {
            text += '.';
            text += static_cast<char>('0' + millisecond() / 100);
            appendTwoDigits(text, millisecond());
        }
    }
    return text;
}

std::string Date::toShortDate(const Regional& settings) const {
    auto date = civil(serial_);
    int year = static_cast<int>(date.year());
    int month = static_cast<int>(static_cast<unsigned>(date.month()));
    int day = static_cast<int>(static_cast<unsigned>(date.day()));
    const std::string& pattern = settings.shortDate;
    std::string text;
    for (std::size_t i = 0; i < pattern.size();) {
        char lower = static_cast<char>(pattern[i] | 0x20);
        if (lower != 'd' && lower != 'm' && lower != 'y') {
            text += pattern[i++];
            continue;
        }
        std::size_t run = 1;
        while (i + run < pattern.size() && static_cast<char>(pattern[i + run] | 0x20) == lower) {
            ++run;
        }
        i += run;
        if (lower == 'y') {
            if (run > 2) appendTwoDigits(text, year / 100);
            appendTwoDigits(text, year);
        } else {
            int value = lower == 'd' ? day : month;
            if (run == 1 && value < 10) {
                text += static_cast<char>('0' + value);
            } else {
                appendTwoDigits(text, value);
            }
        }
    }
    return text;
}

std::string Date::toText(const Regional& settings) const {
    std::string text = toShortDate(settings);
    if (hasTime()) {
        text += ' ';
        appendTime(text, *this);
    }
    return text;
}

std::string Date::toText() const { return toText(regional()); }

}  // namespace kvlnmov
