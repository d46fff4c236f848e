#include "kvlnmov/core/identity.h"

#include "kvlnmov/db/recordset.h"

namespace kvlnmov {

std::optional<std::int32_t> readIdentity(const db::ConnectionRef& connection) {
    db::Recordset identity;
    identity.Open("SELECT ISNULL(@@IDENTITY, 0) AS Id", connection);
    if (identity.Eof()) return std::nullopt;
    return identity.Fields("id").toLong();
}

}  // namespace kvlnmov
