#include "kvlnmov/core/funciones.h"

#include <charconv>
#include <cmath>
#include <string>

#include "kvlnmov/frame/date.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/frame/regional.h"

namespace kvlnmov {

namespace {

/// The shortest round-trip decimal text of a finite double, without exponent.
std::string shortestFixed(double value) {
    if (value == 0) return "0";
    char buffer[512];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return std::string(buffer, result.ptr);
}

/// Rounds the unsigned decimal text "digits[.fraction]" to `decimals` places, halves away
/// from zero, and returns the integer and fraction parts.
std::pair<std::string, std::string> roundDecimal(const std::string& text, int decimals) {
    auto point = text.find('.');
    std::string whole = point == std::string::npos ? text : text.substr(0, point);
    std::string fraction = point == std::string::npos ? "" : text.substr(point + 1);
    bool roundUp = fraction.size() > static_cast<std::size_t>(decimals) &&
                   fraction[static_cast<std::size_t>(decimals)] >= '5';
    fraction.resize(static_cast<std::size_t>(decimals), '0');
    if (roundUp) {
        std::string digits = whole + fraction;
        int i = static_cast<int>(digits.size()) - 1;
        while (i >= 0 && digits[static_cast<std::size_t>(i)] == '9') {
            digits[static_cast<std::size_t>(i)] = '0';
            --i;
        }
        if (i < 0) {
            digits.insert(digits.begin(), '1');
        } else {
            ++digits[static_cast<std::size_t>(i)];
        }
        whole = digits.substr(0, digits.size() - static_cast<std::size_t>(decimals));
        fraction = digits.substr(digits.size() - static_cast<std::size_t>(decimals));
    }
    return {whole, fraction};
}

std::string formatGrouped(bool negative, const std::string& unsignedText, int decimals) {
    const Regional& settings = regional();
    auto [whole, fraction] = roundDecimal(unsignedText, decimals < 0 ? 0 : decimals);
    std::string grouped;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        if (i > 0 && (whole.size() - i) % 3 == 0) grouped += settings.thousandsSeparator;
        grouped += whole[i];
    }
    bool allZero = whole.find_first_not_of('0') == std::string::npos &&
                   fraction.find_first_not_of('0') == std::string::npos;
    std::string out = negative && !allZero ? "-" : "";
    out += grouped;
    if (!fraction.empty()) {
        out += settings.decimalSeparator;
        out += fraction;
    }
    return out;
}

}  // namespace

std::string Funciones::NumeroSQL(double value) const {
    if (!std::isfinite(value)) throw overflow();
    return shortestFixed(value);
}

std::string Funciones::NumeroSQL(Currency value) const { return value.toString(); }

std::string Funciones::FormatoNumero(double value, int decimals) const {
    if (!std::isfinite(value)) throw overflow();
    return formatGrouped(std::signbit(value), shortestFixed(std::fabs(value)), decimals);
}

std::string Funciones::FormatoNumero(Currency value, int decimals) const {
    return formatGrouped(value.raw() < 0, value.abs().toString(), decimals);
}

std::string Funciones::FechaSQL(std::string_view dateText) const {
    auto parsed = Date::parseRegional(dateText, regional());
    if (!parsed) parsed = Date::parseIso(dateText);
    if (!parsed) throw typeMismatch();
    return parsed->toShortDate(regional());
}

}  // namespace kvlnmov
