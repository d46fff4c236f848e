#include "db/sqlite/sqlite_error.h"

#include <string>

#include "db/provider_error.h"
#include "db/sqlite/sqlite_provider.h"

namespace kvlnmov::db::sqlite {

Error sqliteError(sqlite3* db, int resultCode, std::string_view operation) {
    const std::string message = db ? sqlite3_errmsg(db) : sqlite3_errstr(resultCode);
    return sqliteResultError(resultCode, message, kProviderName, operation);
}

void check(sqlite3* db, int resultCode, std::string_view operation) {
    if (resultCode != SQLITE_OK && resultCode != SQLITE_ROW && resultCode != SQLITE_DONE)
        throw sqliteError(db, resultCode, operation);
}

}  // namespace kvlnmov::db::sqlite
