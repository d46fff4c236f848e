#include "kvlnmov/db/open.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "db/sqlite/sqlite_provider.h"
#ifdef KVLNMOV_WITH_ODBC
#include "db/odbc/odbc_provider.h"
#endif

namespace kvlnmov::db {

namespace {

constexpr const char* kOpenSource = "ADODB.Connection";

std::string_view trim(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.remove_suffix(1);
    return text;
}

bool equalsNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

Error openError(std::string description) {
    return Error(errc::kProviderGeneric, kOpenSource, std::move(description));
}

}  // namespace

std::string connectionStringValue(std::string_view connectionString, std::string_view key) {
    std::size_t start = 0;
    while (start <= connectionString.size()) {
        std::size_t end = connectionString.find(';', start);
        if (end == std::string_view::npos) end = connectionString.size();
        const std::string_view pair = connectionString.substr(start, end - start);
        const std::size_t equals = pair.find('=');
        if (equals != std::string_view::npos &&
            equalsNoCase(trim(pair.substr(0, equals)), trim(key)))
            return std::string(trim(pair.substr(equals + 1)));
        start = end + 1;
    }
    return {};
}

ConnectionRef openConnection(std::string_view connectionString) {
    const std::string provider = connectionStringValue(connectionString, "Provider");
    // No provider, or the ODBC one, means an ODBC connection string ("DSN=...",
    // "Driver=...;Server=...").
    if (provider.empty() || equalsNoCase(provider, "MSDASQL")) {
#ifdef KVLNMOV_WITH_ODBC
        return odbc::openOdbcConnection(std::string(connectionString));
#else
        throw openError("This build has no ODBC provider: only Provider=SQLite connects.");
#endif
    }
    if (!equalsNoCase(provider, "SQLite")) {
        throw openError("Provider cannot be found: '" + provider +
                        "'. Known providers: SQLite, MSDASQL (ODBC).");
    }
    const std::string path = connectionStringValue(connectionString, "Data Source");
    if (path.empty()) throw openError("The connection string names no Data Source.");

    int busyTimeoutMs = sqlite::kDefaultBusyTimeoutMs;
    const std::string busyText = connectionStringValue(connectionString, "Busy Timeout");
    if (!busyText.empty()) {
        auto [end, error] =
            std::from_chars(busyText.data(), busyText.data() + busyText.size(), busyTimeoutMs);
        if (error != std::errc() || end != busyText.data() + busyText.size() || busyTimeoutMs < 0)
            throw openError("Busy Timeout must be a whole number of milliseconds: '" + busyText +
                            "'.");
    }
    return sqlite::openSqliteConnection(std::string(connectionString), path, busyTimeoutMs);
}

}  // namespace kvlnmov::db
