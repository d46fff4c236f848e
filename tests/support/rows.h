#pragma once

// Helpers shared by the database tests: every row of a query, and the error an action raises.

#include <functional>
#include <string_view>
#include <vector>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/frame/variant.h"

namespace kvlnmov::testing {

using Rows = std::vector<std::vector<Variant>>;

/// Every row of `sql` on `connection`, each value as the recordset types it.
inline Rows queryRows(const db::ConnectionRef& connection, std::string_view sql) {
    db::Recordset recordset;
    recordset.Open(sql, connection);
    Rows rows;
    for (; !recordset.Eof(); recordset.MoveNext()) {
        std::vector<Variant> row;
        for (int i = 0; i < recordset.FieldCount(); ++i) row.push_back(recordset.Fields(i));
        rows.push_back(std::move(row));
    }
    recordset.Close();
    return rows;
}

/// The error `action` raises (number 0 and empty texts when it raises none).
inline Error errorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const Error& error) {
        return error;
    }
    return Error(0, "", "");
}

}  // namespace kvlnmov::testing
