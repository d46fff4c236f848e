#pragma once

#include <string>
#include <string_view>

#include "kvlnmov/frame/currency.h"

namespace kvlnmov {

/// The formatting object shared by the whole library (one instance, created on first use).
class Funciones {
  public:
    /// A number as SQL numeric text: the shortest text that reads back as the same value,
    /// "." as decimal separator, a leading "-" when negative, never an exponent or a thousands
    /// separator ("100", "-1234.5", "0.0001"). Raises error 6 for NaN or infinities.
    std::string NumeroSQL(double value) const;
    /// The same for an exact amount, written without passing through a double, so every
    /// amount of the currency's range reads back as itself ("922337203685477.5807").
    std::string NumeroSQL(Currency value) const;
    /// A number for display with `decimals` decimals (rounded half away from zero) and the
    /// regional separators: FormatoNumero(1234.5, 2) is "1.234,50" in the Spanish settings.
    std::string FormatoNumero(double value, int decimals) const;
    /// The same for an exact amount.
    std::string FormatoNumero(Currency value, int decimals) const;
    /// A date text (regional short form or ISO, with or without time) as SQL date text: the
    /// regional short date "15/03/2026". Raises error 13 for a text that is not a date.
    std::string FechaSQL(std::string_view dateText) const;
};

}  // namespace kvlnmov
