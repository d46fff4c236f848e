#pragma once

#include <cstdint>
#include <optional>

#include "kvlnmov/db/connection.h"

namespace kvlnmov {

/// The number the database gave the row the connection inserted last, read as the library
/// always reads it: "SELECT ISNULL(@@IDENTITY, 0) AS Id", column "id" as a 32-bit number.
/// Nothing when the query returns no row; 0 when the last insert numbered no row.
std::optional<std::int32_t> readIdentity(const db::ConnectionRef& connection);

}  // namespace kvlnmov
