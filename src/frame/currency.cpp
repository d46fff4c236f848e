#include "kvlnmov/frame/currency.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "kvlnmov/frame/error.h"

namespace kvlnmov {

namespace {

using Wide = __int128;

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

/// 10^exponent for 0 <= exponent <= 38.
Wide powerOfTen(int exponent) {
    Wide result = 1;
    for (int i = 0; i < exponent; ++i) result *= 10;
    return result;
}

/// `value / divisor` rounded to the nearest integer, halves to even (divisor > 0).
Wide divideHalfEven(Wide value, Wide divisor) {
    Wide quotient = value / divisor;
    Wide remainder = value % divisor;
    if (remainder < 0) remainder = -remainder;
    Wide twice = remainder * 2;
    if (twice > divisor || (twice == divisor && quotient % 2 != 0)) {
        quotient += value < 0 ? -1 : 1;
    }
    return quotient;
}

Currency checked(Wide raw) {
    if (raw < kMin || raw > kMax) throw overflow();
    return Currency::fromRaw(static_cast<std::int64_t>(raw));
}

}  // namespace

Currency Currency::fromUnits(std::int64_t units) { return checked(Wide(units) * kScale); }

Currency Currency::fromDouble(double value) {
    if (!std::isfinite(value)) throw overflow();
    // The amount is taken from the shortest decimal text that reads back as `value` (what
    // the caller wrote: 0.1 is 0.1, 0.00015 is 0.00015), so ties are decided on the decimal
    // digits rather than on the binary approximation.
    char buffer[64];
    auto [end, ec] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific);
    if (ec != std::errc()) throw overflow();
    const char* p = buffer;
    bool negative = *p == '-';
    if (negative) ++p;
    Wide digits = 0;
    int digitCount = 0;
    for (; p != end && *p != 'e'; ++p) {
        if (*p == '.') continue;
        digits = digits * 10 + (*p - '0');
        ++digitCount;
    }
    int exponent = 0;
    if (p != end) std::from_chars(p + 1 + (p[1] == '+' ? 1 : 0), end, exponent);
    // value = digits * 10^(exponent - digitCount + 1); raw = value * 10^4.
    int shift = exponent - digitCount + 1 + 4;
    Wide raw;
    if (shift >= 0) {
        if (shift > 19) throw overflow();  // digits >= 1 makes it at least 10^20
        raw = digits * powerOfTen(shift);
    } else if (-shift > 20) {
        raw = 0;  // digits < 10^17, far below half a ten-thousandth
    } else {
        raw = divideHalfEven(digits, powerOfTen(-shift));
    }
    return checked(negative ? -raw : raw);
}

std::optional<Currency> Currency::parse(std::string_view text, char decimalSeparator) {
    std::size_t i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    constexpr Wide kLimit = Wide(kMax) + 1;  // magnitude of the most negative amount
    Wide units = 0;
    bool anyDigit = false;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        units = units * 10 + (text[i] - '0');
        if (units > kLimit) return std::nullopt;
        anyDigit = true;
    }
    Wide fraction = 0;  // the first four decimals, as ten-thousandths
    int kept = 0;
    int roundDigit = -1;        // the fifth decimal, -1 when there is none
    bool stickyDigits = false;  // any non-zero decimal after the fifth
    if (i < text.size() && text[i] == decimalSeparator) {
        ++i;
        for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
            int digit = text[i] - '0';
            if (kept < 4) {
                fraction = fraction * 10 + digit;
                ++kept;
            } else if (roundDigit < 0) {
                roundDigit = digit;
            } else if (digit != 0) {
                stickyDigits = true;
            }
            anyDigit = true;
        }
    }
    if (!anyDigit || i != text.size()) return std::nullopt;
    for (; kept < 4; ++kept) fraction *= 10;
    Wide magnitude = units * kScale + fraction;
    if (roundDigit > 5 || (roundDigit == 5 && (stickyDigits || magnitude % 2 != 0))) {
        ++magnitude;
    }
    Wide raw = negative ? -magnitude : magnitude;
    if (raw < kMin || raw > kMax) return std::nullopt;
    return fromRaw(static_cast<std::int64_t>(raw));
}

double Currency::toDouble() const {
    // Below 2^53 both operands are exact, so the quotient is the double nearest the amount.
    constexpr std::int64_t kExact = std::int64_t{1} << 53;
    if (raw_ > -kExact && raw_ < kExact) return static_cast<double>(raw_) / kScale;
    std::string text = toString();
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

std::string Currency::toString() const {
    std::uint64_t magnitude = raw_ < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(raw_) : raw_;
    std::string text = raw_ < 0 ? "-" : "";
    text += std::to_string(magnitude / kScale);
    std::uint64_t fraction = magnitude % kScale;
    if (fraction != 0) {
        std::string decimals = std::to_string(fraction + kScale).substr(1);
        decimals.erase(decimals.find_last_not_of('0') + 1);
        text += '.';
        text += decimals;
    }
    return text;
}

std::string Currency::toText(const Regional& settings) const {
    std::string text = toString();
    if (auto dot = text.find('.'); dot != std::string::npos) text[dot] = settings.decimalSeparator;
    return text;
}

std::string Currency::toText() const { return toText(regional()); }

Currency Currency::operator-() const { return checked(-Wide(raw_)); }

Currency Currency::operator+(Currency other) const { return checked(Wide(raw_) + other.raw_); }

Currency Currency::operator-(Currency other) const { return checked(Wide(raw_) - other.raw_); }

Currency& Currency::operator+=(Currency other) { return *this = *this + other; }

Currency& Currency::operator-=(Currency other) { return *this = *this - other; }

Currency Currency::operator*(std::int64_t factor) const { return checked(Wide(raw_) * factor); }

Currency Currency::abs() const { return raw_ < 0 ? -*this : *this; }

}  // namespace kvlnmov
