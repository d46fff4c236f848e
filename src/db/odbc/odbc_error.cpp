#include "db/odbc/odbc_error.h"

#include "db/provider_error.h"

namespace kvlnmov::db::odbc {

std::int32_t errorNumberFor(std::string_view sqlState) {
    if (sqlState == "42S02") return errc::kInvalidObject;
    if (sqlState.starts_with("42")) return errc::kSyntax;
    if (sqlState.starts_with("23")) return errc::kIntegrity;
    if (sqlState == "HYT00" || sqlState == "HYT01") return errc::kTimeout;
    if (sqlState == "22007" || sqlState == "22008" || sqlState == "22018") return errc::kConversion;
    if (sqlState == "22001" || sqlState == "22003") return errc::kDataOverflow;
    return errc::kProviderGeneric;
}

std::string cleanMessage(std::string_view message) {
    while (message.starts_with('[')) {
        const std::size_t close = message.find(']');
        if (close == std::string_view::npos) break;
        message.remove_prefix(close + 1);
    }
    while (!message.empty() && (message.back() == '\n' || message.back() == '\r'))
        message.remove_suffix(1);
    return std::string(message);
}

Error odbcError(const std::vector<Diagnostic>& diagnostics, Dialect dialect,
                const std::string& source, std::string_view operation, std::string_view fallback) {
    if (diagnostics.empty()) return Error(errc::kProviderGeneric, source, std::string(fallback));
    const Diagnostic& first = diagnostics.front();
    std::string description = cleanMessage(first.message);
    if (dialect == Dialect::Sqlite && (first.sqlState == "HY000" || first.sqlState == "S1000") &&
        first.nativeError != 0) {
        // The SQLite driver ends its messages with the result code in parentheses.
        const std::string suffix = " (" + std::to_string(first.nativeError) + ")";
        if (description.ends_with(suffix)) description.resize(description.size() - suffix.size());
        return sqliteResultError(first.nativeError, description, source, operation);
    }
    return Error(errorNumberFor(first.sqlState), source, std::move(description), first.nativeError);
}

}  // namespace kvlnmov::db::odbc
