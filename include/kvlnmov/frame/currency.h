#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kvlnmov/frame/regional.h"

namespace kvlnmov {

/// A fixed-point amount with four decimal places, held exactly as a 64-bit count of
/// ten-thousandths (the range of the language's Currency type). It never converts
/// implicitly from or to floating point; `fromDouble` and `toDouble` are explicit.
/// Arithmetic that leaves the range raises error 6 "Overflow".
class Currency {
  public:
    static constexpr std::int64_t kScale = 10000;

    constexpr Currency() = default;

    /// An amount from its raw count of ten-thousandths (12345 is 1.2345).
    static constexpr Currency fromRaw(std::int64_t tenThousandths) {
        Currency c;
        c.raw_ = tenThousandths;
        return c;
    }
    /// A whole amount (raises Overflow when out of range).
    static Currency fromUnits(std::int64_t units);
    /// The amount nearest to `value`, halves rounded to even (raises Overflow when out of
    /// range, and for NaN or infinities). The decimal digits rounded are those of the shortest
    /// text that reads back as `value`, so 0.1 is exactly 1000 ten-thousandths and 0.00015
    /// (a tie in its decimal form) becomes 0.0002.
    static Currency fromDouble(double value);
    /// Reads "-1234.5", "1234,56", "+0.0001", ".5" exactly, with `decimalSeparator` as the only
    /// separator accepted; more than four decimals are rounded half to even. Returns nothing
    /// for anything else (blanks, exponents, thousands separators, empty text, out of range).
    static std::optional<Currency> parse(std::string_view text, char decimalSeparator = '.');

    constexpr std::int64_t raw() const { return raw_; }
    double toDouble() const;
    bool isZero() const { return raw_ == 0; }

    /// The shortest exact text with "." as separator: "100", "-1234.5", "0.0001".
    std::string toString() const;
    /// The language's default text form in the given regional settings: like `toString`
    /// but with the regional decimal separator ("1234,5"), no thousands separator.
    std::string toText(const Regional& settings) const;
    /// `toText` with the library-wide regional settings.
    std::string toText() const;

    Currency operator-() const;
    Currency operator+(Currency other) const;
    Currency operator-(Currency other) const;
    Currency& operator+=(Currency other);
    Currency& operator-=(Currency other);
    /// Multiplication by a whole number (raises Overflow when out of range).
    Currency operator*(std::int64_t factor) const;
    Currency abs() const;

    constexpr auto operator<=>(const Currency&) const = default;

  private:
    std::int64_t raw_ = 0;
};

}  // namespace kvlnmov
