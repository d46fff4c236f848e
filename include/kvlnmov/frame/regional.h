#pragma once

#include <string>

namespace kvlnmov {

/// Regional settings the library writes dates and amounts with: the short date pattern and
/// the decimal and thousands separators. The default is the Spanish one: "dd/mm/yyyy",
/// decimal ",", thousands ".".
///
/// The short date pattern is made of the fields "d" or "dd" (day), "m" or "mm" (month),
/// "yy" or "yyyy" (year) separated by one separator character ("/", "-" or ".").
struct Regional {
    std::string shortDate = "dd/mm/yyyy";
    char decimalSeparator = ',';
    char thousandsSeparator = '.';

    /// Order of the fields in `shortDate`: true when the day comes before the month (dmy).
    bool dayBeforeMonth() const;
    bool operator==(const Regional&) const = default;
};

/// The library-wide regional settings (what the system locale is to the application).
const Regional& regional();
void setRegional(const Regional& settings);

}  // namespace kvlnmov
