#pragma once

// A value bound to a statement's parameter marker, as the providers bind them.

#include <cstdint>
#include <string>
#include <variant>

namespace kvlnmov::db {

/// Null, a whole number, a double or a text.
using SqlValue = std::variant<std::monostate, std::int64_t, double, std::string>;

}  // namespace kvlnmov::db
