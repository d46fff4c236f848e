#include "kvlnmov/db/open.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "db/sqlite/sqlite_provider.h"
#ifdef KVLNMOV_WITH_ODBC
#include "db/odbc/odbc_provider.h"
#include "db/odbc_sqlite/dialect_seam.h"
#include "kvlnmov/frame/text.h"
#endif

namespace kvlnmov::db {

namespace {

constexpr const char* kOpenSource = "ADODB.Connection";

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
            text::equalsIgnoringCase(text::trim(pair.substr(0, equals)), text::trim(key)))
            return std::string(text::trim(pair.substr(equals + 1)));
        start = end + 1;
    }
    return {};
}

ConnectionRef openConnection(std::string_view connectionString) {
    const std::string provider = connectionStringValue(connectionString, "Provider");
    // No provider, or the ODBC one, means an ODBC connection string ("DSN=...",
    // "Driver=...;Server=...").
    if (provider.empty() || text::equalsIgnoringCase(provider, "MSDASQL")) {
#ifdef KVLNMOV_WITH_ODBC
        return odbc::openOdbcConnection(std::string(connectionString), odbc::translatorSeam());
#else
        throw openError("This build has no ODBC provider: only Provider=SQLite connects.");
#endif
    }
    if (!text::equalsIgnoringCase(provider, "SQLite")) {
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
    const std::string mode = connectionStringValue(connectionString, "Mode");
    bool readOnly = false;
    if (text::equalsIgnoringCase(mode, "Read")) {
        readOnly = true;
    } else if (!mode.empty() && !text::equalsIgnoringCase(mode, "ReadWrite")) {
        throw openError("Mode must be Read or ReadWrite: '" + mode + "'.");
    }
    return sqlite::openSqliteConnection(std::string(connectionString), path, busyTimeoutMs,
                                        readOnly);
}

}  // namespace kvlnmov::db
