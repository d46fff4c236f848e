#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kvlnmov/frame/regional.h"

namespace kvlnmov {

/// A calendar day with a time of day (milliseconds since midnight, 0 for a plain date), in
/// the range 1 January 100 to 31 December 9999. Days are counted as the language counts
/// them: serial 0 is 30 December 1899, 1 January 1900 is serial 2.
class Date {
  public:
    /// 30 December 1899, midnight (the zero date).
    constexpr Date() = default;

    /// A plain date; returns nothing for an invalid day (31 February, month 13, year 0).
    static std::optional<Date> fromYmd(int year, int month, int day);
    /// Like `fromYmd` but raises error 5 "Invalid procedure call or argument" when invalid.
    static Date ymd(int year, int month, int day);
    /// The day `serial` at the given time; milliseconds beyond one day (or negative) carry into
    /// the following (or previous) days. Raises Overflow outside the date range.
    static Date fromSerial(std::int32_t serial, std::int32_t millisecondOfDay = 0);
    /// The local date and time now, with milliseconds.
    static Date now();
    /// Today's local date without time.
    static Date today();

    /// Reads "2026-03-15", "2026-03-15T17:30:00", "2026-03-15 17:30:00" and
    /// "2026-03-15 17:30:00.123" (seconds optional). Returns nothing for anything else.
    static std::optional<Date> parseIso(std::string_view text);
    /// Reads a date in the regional short date form ("15/03/2026", with one- or two-digit
    /// day and month and a four- or two-digit year), optionally followed by a blank and a
    /// time "17:30", "17:30:00" or "17:30:00.123". Returns nothing for anything else.
    /// Fields must come in the pattern's order and be separated by the pattern's separator;
    /// blanks around the text are allowed; a two-digit year 00-29 is 20xx and 30-99 is 19xx.
    static std::optional<Date> parseRegional(std::string_view text, const Regional& settings);

    /// The same day at the given time of day; raises error 5 for a field out of range.
    Date withTime(int hour, int minute, int second, int millisecond = 0) const;
    /// The same day at midnight.
    Date dateOnly() const { return fromSerial(serial_); }

    std::int32_t serial() const { return serial_; }
    std::int32_t millisecondOfDay() const { return millisecond_; }
    bool hasTime() const { return millisecond_ != 0; }
    int year() const;
    int month() const;
    int day() const;
    int hour() const { return millisecond_ / 3600000; }
    int minute() const { return millisecond_ / 60000 % 60; }
    int second() const { return millisecond_ / 1000 % 60; }
    int millisecond() const { return millisecond_ % 1000; }
    /// The language's numeric value of the date: days since the zero date plus the fraction
    /// of the day.
    double toDouble() const;
    /// The date a numeric value stands for: the whole part is the day, the fraction the time
    /// of day (rounded to the millisecond) whatever the sign, so -1.25 is 29 December 1899,
    /// 06:00. Raises Overflow outside the date range and for NaN.
    static Date fromDouble(double value);

    /// "2026-03-15" for a plain date, "2026-03-15 17:30:00" with a time, and
    /// "2026-03-15 17:30:00.123" when it has milliseconds.
    std::string toIso() const;
    /// The regional short date ("15/03/2026"), without time.
    std::string toShortDate(const Regional& settings) const;
    /// The language's default text form: the short date, then " 17:30:00" when there is a
    /// time of day.
    std::string toText(const Regional& settings) const;
    /// `toText` with the library-wide regional settings.
    std::string toText() const;

    constexpr auto operator<=>(const Date&) const = default;

  private:
    std::int32_t serial_ = 0;
    std::int32_t millisecond_ = 0;
};

}  // namespace kvlnmov
