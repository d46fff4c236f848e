#pragma once

// Values of scenario files: JSON converted by a member's declared type, and actual values
// compared with expected JSON by the actual value's type.

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "kvlnmov/frame/variant.h"
#include "kvlnmov/registration/registry.h"

namespace kvlnmov::scenario {

using Json = nlohmann::ordered_json;

/// Converts a JSON value for a member declared as `kind`: texts stay texts, numbers and
/// decimal strings become exact currency, ISO strings become dates, and so on. Raises
/// std::invalid_argument with a description when the value does not fit the kind.
Variant toVariant(const Json& value, registration::ValueKind kind);

/// Compares an actual value with an expected JSON value by the actual value's type. Returns
/// nothing when they match, otherwise a description of the difference.
std::optional<std::string> compare(const Variant& actual, const Json& expected);

/// A value as the failure messages show it.
std::string describe(const Variant& value);

/// The ISO form scenarios use for a date: "2026-03-15" or "2026-03-15T17:30:00".
std::string isoForScenario(const Date& value);

}  // namespace kvlnmov::scenario
