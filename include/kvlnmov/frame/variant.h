#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "kvlnmov/frame/currency.h"
#include "kvlnmov/frame/date.h"
#include "kvlnmov/frame/object.h"
#include "kvlnmov/frame/regional.h"

namespace kvlnmov {

/// The kinds of value a Variant holds.
enum class VariantType {
    Empty,     ///< never assigned
    Null,      ///< database Null
    Boolean,   ///< True is -1 when converted to a number
    Byte,      ///< unsigned 8-bit
    Integer,   ///< signed 16-bit
    Long,      ///< signed 32-bit
    Currency,  ///< fixed point, four decimals
    Double,
    Date,
    String,
    Object,
};

/// A dynamically typed value with the language's conversion rules. Values read from the
/// database, property values in late binding and operation arguments travel as Variants.
///
/// Conversions (`toBoolean` = CBool, `toInteger` = CInt, ...):
/// - Null raises error 94 "Invalid use of Null"; a value that cannot be converted raises
///   error 13 "Type mismatch"; a number out of the target's range raises error 6 "Overflow".
/// - Empty converts to False, 0, an empty text and the zero date.
/// - Numbers convert to whole numbers with halves rounded to even; True is -1.
/// - Texts are read with the library-wide regional settings: numbers with the regional
///   decimal separator (thousands separators ignored), dates in the regional short form or
///   ISO form, Booleans as "True"/"False" (any case) or a number.
/// - `toText` writes Booleans as "True"/"False", numbers and currency in their default text
///   form with the regional decimal separator, dates in their default text form. A Double is
///   written with up to 15 significant digits and switches to the exponent form ("1E+20",
///   "1E-05") where the plain form would need more.
/// - Texts may also hold a hexadecimal number "&H..." (up to eight digits, a 32-bit pattern).
class Variant {
  public:
    struct NullTag {
        bool operator==(const NullTag&) const = default;
    };

    Variant() = default;
    static Variant null() { return Variant(NullTag{}); }

    Variant(NullTag) : value_(NullTag{}) {}
    Variant(bool value) : value_(value) {}
    Variant(std::uint8_t value) : value_(value) {}
    Variant(std::int16_t value) : value_(value) {}
    Variant(std::int32_t value) : value_(value) {}
    Variant(Currency value) : value_(value) {}
    Variant(double value) : value_(value) {}
    Variant(Date value) : value_(value) {}
    Variant(std::string value) : value_(std::move(value)) {}
    Variant(const char* value) : value_(std::string(value)) {}
    Variant(std::string_view value) : value_(std::string(value)) {}
    Variant(ObjectRef value) : value_(std::move(value)) {}
    template <class T>
    Variant(std::shared_ptr<T> value) : value_(ObjectRef(std::move(value))) {}

    VariantType type() const;
    bool isEmpty() const { return type() == VariantType::Empty; }
    bool isNull() const { return type() == VariantType::Null; }
    bool isObject() const { return type() == VariantType::Object; }
    /// True for Byte, Integer, Long, Currency, Double and Boolean.
    bool isNumeric() const;

    bool toBoolean() const;
    std::uint8_t toByte() const;
    std::int16_t toInteger() const;
    std::int32_t toLong() const;
    Currency toCurrency() const;
    double toDouble() const;
    Date toDate() const;
    std::string toText() const;
    /// The object held; raises error 13 for a non-object value, and returns nullptr for an
    /// object reference set to Nothing.
    ObjectRef toObject() const;

    /// The held value without conversion (for callers that switch on `type()`).
    const auto& raw() const { return value_; }

    /// Same type and same value (objects by identity). Used by tests and comparisons of
    /// expected values; not the language's "=" operator.
    bool operator==(const Variant& other) const = default;

  private:
    std::variant<std::monostate, NullTag, bool, std::uint8_t, std::int16_t, std::int32_t, Currency,
                 double, Date, std::string, ObjectRef>
        value_;
};

/// Name of a variant type as the language's TypeName shows it ("Integer", "Currency", ...).
std::string typeName(VariantType type);

}  // namespace kvlnmov
