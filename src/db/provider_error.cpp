#include "db/provider_error.h"

#include <sqlite3.h>

#include <string>

namespace kvlnmov::db {

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

Error sqliteResultError(int resultCode, std::string_view message, const std::string& source,
                        std::string_view operation) {
    switch (resultCode & 0xff) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return Error(errc::kTimeout, source, "Query timeout expired", resultCode);
        case SQLITE_CONSTRAINT: {
            const std::string_view subject = constraintSubject(message);
            const std::string table(tableOf(subject));
            // The extended code when there is one, else the message's own words.
            const bool duplicate =
                resultCode == SQLITE_CONSTRAINT_PRIMARYKEY ||
                resultCode == SQLITE_CONSTRAINT_UNIQUE ||
                (resultCode == SQLITE_CONSTRAINT && message.starts_with("UNIQUE constraint"));
            const bool notNull =
                resultCode == SQLITE_CONSTRAINT_NOTNULL ||
                (resultCode == SQLITE_CONSTRAINT && message.starts_with("NOT NULL constraint"));
            if (duplicate) {
                return Error(errc::kIntegrity, source,
                             "Violation of PRIMARY KEY constraint 'PK_" + table +
                                 "'. Cannot insert duplicate key in object 'dbo." + table + "'.",
                             resultCode);
            }
            if (notNull) {
                return Error(errc::kIntegrity, source,
                             "Cannot insert the value NULL into column '" +
                                 std::string(columnOf(subject)) + "', table 'dbo." + table +
                                 "'; column does not allow nulls. " + std::string(operation) +
                                 " fails.",
                             resultCode);
            }
            return Error(errc::kProviderGeneric, source, std::string(message), resultCode);
        }
        default:
            return Error(errc::kProviderGeneric, source, std::string(message), resultCode);
    }
}

}  // namespace kvlnmov::db
