#include "db/sqlite/sqlite_error.h"

#include <string>

#include "db/sqlite/sqlite_provider.h"

namespace kvlnmov::db::sqlite {

namespace {

// SQLite names the failing columns as "<table>.<column>[, <table>.<column>...]" after the
// colon of its constraint message.
std::string_view constraintSubject(std::string_view message) {
    const auto colon = message.find(": ");
    return colon == std::string_view::npos ? std::string_view() : message.substr(colon + 2);
}

std::string_view tableOf(std::string_view subject) { return subject.substr(0, subject.find('.')); }

std::string_view columnOf(std::string_view subject) {
    const auto dot = subject.find('.');
    if (dot == std::string_view::npos) return subject;
    return subject.substr(dot + 1, subject.find(',') - dot - 1);
}

}  // namespace

Error sqliteError(sqlite3* db, int resultCode, std::string_view operation) {
    const std::string message = db ? sqlite3_errmsg(db) : sqlite3_errstr(resultCode);
    switch (resultCode & 0xff) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return Error(errc::kTimeout, kProviderName, "Query timeout expired", resultCode);
        case SQLITE_CONSTRAINT: {
            const std::string_view subject = constraintSubject(message);
            const std::string table(tableOf(subject));
            if (resultCode == SQLITE_CONSTRAINT_PRIMARYKEY ||
                resultCode == SQLITE_CONSTRAINT_UNIQUE) {
                return Error(errc::kIntegrity, kProviderName,
                             "Violation of PRIMARY KEY constraint 'PK_" + table +
                                 "'. Cannot insert duplicate key in object 'dbo." + table + "'.",
                             resultCode);
            }
            if (resultCode == SQLITE_CONSTRAINT_NOTNULL) {
                return Error(errc::kIntegrity, kProviderName,
                             "Cannot insert the value NULL into column '" +
                                 std::string(columnOf(subject)) + "', table 'dbo." + table +
                                 "'; column does not allow nulls. " + std::string(operation) +
                                 " fails.",
                             resultCode);
            }
            return Error(errc::kProviderGeneric, kProviderName, message, resultCode);
        }
        default:
            return Error(errc::kProviderGeneric, kProviderName, message, resultCode);
    }
}

void check(sqlite3* db, int resultCode, std::string_view operation) {
    if (resultCode != SQLITE_OK && resultCode != SQLITE_ROW && resultCode != SQLITE_DONE)
        throw sqliteError(db, resultCode, operation);
}

}  // namespace kvlnmov::db::sqlite
