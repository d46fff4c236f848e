// libFuzzer target over the T-SQL translator.
//
// Each input is one statement. It is translated against the company schema as the embedded
// provider reads it from its database, and the translator's promises are checked:
//   - every input translates or raises kvlnmov::Error with the provider as its source (any
//     other exception escapes and is a finding);
//   - a translation prepares on SQLite, with exactly its parameters and result columns, or
//     the provider reports the statement as past SQLite's limits (nested too deeply,
//     expression services limit), as it does for its own statements;
//   - translating the same text again (from the shape cache) gives the same translation;
//   - a statement of the same shape with other literal values translates the same from the
//     shape cache as with a fresh translator, so no literal that changes a statement's
//     meaning is taken for a value.
// A broken promise prints what it was and aborts.

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <variant>
#include <vector>

#include "db/sqlite/live_catalog.h"
#include "db/sqlite/sqlite_connection.h"
#include "db/sqlite/statement_cache.h"
#include "db/sqlite/translate/literal_coercion.h"
#include "db/sqlite/translate/sql_errors.h"
#include "db/sqlite/translate/token.h"
#include "db/sqlite/translate/translator.h"
#include "kvlnmov/frame/date.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/schema/schema.h"

namespace {

using kvlnmov::Date;
using kvlnmov::Error;
using namespace kvlnmov::db::sqlite;

constexpr const char* kSource = "kvlnmov fuzz provider";

[[noreturn]] void finding(const std::string& what, std::string_view statement,
                          const std::string& detail = {}) {
    std::fprintf(stderr, "\n*** translator finding: %s\n--- statement (%zu bytes):\n%.*s\n",
                 what.c_str(), statement.size(), static_cast<int>(statement.size()),
                 statement.data());
    if (!detail.empty()) std::fprintf(stderr, "--- detail:\n%s\n", detail.c_str());
    std::abort();
}

/// The in-memory company database, its catalog as the provider reads it, and a statement
/// cache that prepares as the provider does.
struct Fixture {
    Fixture() {
        if (sqlite3_open(":memory:", &db) != SQLITE_OK) std::abort();
        sqlite3_extended_result_codes(db, 1);
        for (const std::string& statement : kvlnmov::schema::sqliteScript()) {
            if (sqlite3_exec(db, statement.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
                std::fprintf(stderr, "company schema: %s\n", sqlite3_errmsg(db));
                std::abort();
            }
        }
        catalog.emplace(db);
        catalog->reload();
        statements.emplace(db, 0);
    }

    sqlite3* db = nullptr;
    std::optional<LiveCatalog> catalog;
    std::optional<StatementCache> statements;
    /// Translations already found to prepare (the database never changes): checked once.
    std::unordered_set<std::string> prepared;
};

Fixture& fixture() {
    static Fixture instance;
    return instance;
}

struct Outcome {
    std::optional<Translation> translation;
    std::int32_t number = 0;
    std::string description;
};

std::string describe(const SqlValue& value) {
    if (std::holds_alternative<std::monostate>(value)) return "NULL";
    if (const auto* integer = std::get_if<std::int64_t>(&value)) return std::to_string(*integer);
    if (const auto* real = std::get_if<double>(&value)) return std::to_string(*real);
    return "'" + std::get<std::string>(value) + "'";
}

std::string describe(const Outcome& outcome) {
    if (!outcome.translation) {
        return "error " + std::to_string(outcome.number) + ": " + outcome.description;
    }
    const Translation& t = *outcome.translation;
    std::string text = "sql: " + t.sql() + "\nparameters:";
    for (const SqlValue& value : t.parameters) text += " " + describe(value);
    text += "\ncolumns:";
    for (const ResultColumn& column : t.columns()) {
        text += " [" + column.name + " " + kvlnmov::schema::tsqlTypeName(column.type) + "]";
    }
    text += "\ntarget: " + t.targetTable() + (t.targetHasIdentity() ? " (identity)" : "");
    return text;
}

Outcome translate(Translator& translator, std::string_view statement, const SessionState& session) {
    Outcome outcome;
    try {
        outcome.translation = translator.translate(statement, session);
    } catch (const Error& error) {
        // The translator's errors are the provider's, numbered as the server's.
        const std::int32_t number = error.number();
        if (error.source() != kSource) finding("error with another source", statement);
        if (number != kvlnmov::errc::kSyntax && number != kvlnmov::errc::kInvalidObject &&
            number != kvlnmov::errc::kConversion && number != kvlnmov::errc::kDataOverflow) {
            finding("error with an unexpected number", statement,
                    std::to_string(number) + ": " + error.description());
        }
        if (error.description().empty()) finding("error without a description", statement);
        outcome.number = number;
        outcome.description = error.description();
    }
    return outcome;
}

/// The same values; a GETDATE() value may differ between two translations within the
/// time they took.
bool sameValue(const SqlValue& a, const SqlValue& b, const std::string& from,
               const std::string& to) {
    if (a == b) return true;
    const auto* left = std::get_if<std::string>(&a);
    const auto* right = std::get_if<std::string>(&b);
    auto isNow = [&](const std::string& text) { return text >= from && text <= to; };
    return left != nullptr && right != nullptr && isNow(*left) && isNow(*right);
}

bool same(const Outcome& a, const Outcome& b, const std::string& from, const std::string& to) {
    if (a.translation.has_value() != b.translation.has_value()) return false;
    if (!a.translation) return a.number == b.number && a.description == b.description;
    const Translation& x = *a.translation;
    const Translation& y = *b.translation;
    if (x.kind() != y.kind() || x.sql() != y.sql() || x.targetTable() != y.targetTable() ||
        x.targetHasIdentity() != y.targetHasIdentity() || x.parameters.size() != y.parameters.size() ||
        x.columns().size() != y.columns().size()) {
        return false;
    }
    for (std::size_t i = 0; i < x.parameters.size(); ++i) {
        if (!sameValue(x.parameters[i], y.parameters[i], from, to)) return false;
    }
    for (std::size_t i = 0; i < x.columns().size(); ++i) {
        if (x.columns()[i].name != y.columns()[i].name || !(x.columns()[i].type == y.columns()[i].type)) {
            return false;
        }
    }
    return true;
}

void requireSame(const Outcome& a, const Outcome& b, const char* what, std::string_view statement,
                 std::string_view other, const std::string& from, const std::string& to) {
    if (same(a, b, from, to)) return;
    finding(what, statement,
            "other statement: " + std::string(other) + "\n--- one:\n" + describe(a) +
                "\n--- other:\n" + describe(b));
}

/// The translation prepares as the provider prepares it, with its parameters and columns.
void requirePrepares(const Translation& translation, std::string_view statement) {
    Fixture& f = fixture();
    std::string key = std::to_string(static_cast<int>(translation.kind())) + ":" +
                      std::to_string(translation.parameters.size()) + ":" +
                      std::to_string(translation.columns().size()) + ":" + translation.sql();
    if (f.prepared.contains(key)) return;
    if (f.prepared.size() > 200000) f.prepared.clear();
    f.prepared.insert(std::move(key));
    StatementCache::Lease lease;
    try {
        lease = f.statements->acquire(translation.sql());
    } catch (const Error& error) {
        const tsql::SqlErrors errors(kSource);
        const bool limit = error.number() == kvlnmov::errc::kSyntax &&
                           (error.description() == errors.nestedTooDeeply().description() ||
                            error.description() == errors.expressionLimit().description());
        if (limit) return;
        finding(
            "the translation does not prepare", statement,
            translation.sql() + "\n" + std::to_string(error.number()) + ": " + error.description());
    }
    sqlite3_stmt* prepared = lease.get();
    const int markers = sqlite3_bind_parameter_count(prepared);
    if (markers != static_cast<int>(translation.parameters.size())) {
        finding("parameters and markers differ", statement,
                translation.sql() + "\nmarkers: " + std::to_string(markers) +
                    ", parameters: " + std::to_string(translation.parameters.size()));
    }
    for (int i = 1; i <= markers; ++i) {
        const char* name = sqlite3_bind_parameter_name(prepared, i);
        if (name == nullptr || std::string(name) != "?" + std::to_string(i)) {
            finding("a parameter is not numbered ?N", statement, translation.sql());
        }
    }
    const bool select = translation.kind() == StatementKind::Select;
    const int columns = sqlite3_column_count(prepared);
    if (columns != (select ? static_cast<int>(translation.columns().size()) : 0)) {
        finding("result columns differ", statement,
                translation.sql() + "\nSQLite columns: " + std::to_string(columns) +
                    ", typed: " + std::to_string(translation.columns().size()));
    }
    if (select != (sqlite3_stmt_readonly(prepared) != 0)) {
        finding(select ? "a query writes" : "a change reads only", statement, translation.sql());
    }
    bindParameters(f.db, prepared, translation.parameters);
    if (select) {
        // Run a few rows: expressions without FROM compute, SQLite's runtime errors are the
        // provider's to report and are no finding.
        for (int row = 0; row < 16 && sqlite3_step(prepared) == SQLITE_ROW; ++row) {
        }
    }
}

// Where literal `token` ends in `text`.
std::size_t literalEnd(std::string_view text, const tsql::Token& token) {
    std::size_t pos = token.offset;
    if (token.kind == tsql::TokenKind::String) {
        if (text[pos] == 'N' || text[pos] == 'n') ++pos;
        ++pos;
        while (pos < text.size()) {
            if (text[pos] == '\'') {
                if (pos + 1 < text.size() && text[pos + 1] == '\'') {
                    pos += 2;
                    continue;
                }
                return pos + 1;
            }
            ++pos;
        }
        return pos;
    }
    return token.offset + token.text.size();
}

std::string quoted(std::string_view value) {
    std::string text = "'";
    for (char c : value) {
        if (c == '\'') text += '\'';
        text += c;
    }
    return text + "'";
}

// Another literal of the same kind as `token`, picked by `choice`.
std::string otherLiteral(const tsql::Token& token, std::size_t choice) {
    switch (token.kind) {
        case tsql::TokenKind::Integer: {
            static const char* const kIntegers[] = {"0", "1", "2", "3", "65536"};
            if (choice % 6 == 5) return token.text + "1";
            return kIntegers[choice % 6];
        }
        case tsql::TokenKind::Decimal: {
            static const char* const kDecimals[] = {"0.5", "1.25", "12345.6789", "0."};
            return kDecimals[choice % 4];
        }
        case tsql::TokenKind::Float: {
            static const char* const kFloats[] = {"1E1", "2.5E-3", "0E0"};
            return kFloats[choice % 3];
        }
        default: {
            static const char* const kStrings[] = {"",        "x",    "2024-01-31",      "0", "1",
                                                   "abc def", "TRUE", "31/12/2023 10:00"};
            if (choice % 9 == 8) return quoted(token.text + "z");
            return quoted(kStrings[choice % 9]);
        }
    }
}

// The tokens' shape: their kinds, and the text of everything but literals.
std::string shapeOf(const std::vector<tsql::Token>& tokens) {
    std::string shape;
    for (const tsql::Token& token : tokens) {
        shape += std::to_string(static_cast<int>(token.kind)) + (token.quoted ? "q" : "");
        if (!token.isLiteral()) shape += token.text;
        shape += '\x1f';
    }
    return shape;
}

// Whether the translator may have cached the statement's shape: it did when the translation
// succeeded or failed only on a literal's value (conversion, overflow, TOP count), which is
// checked after the shape is cached. Any other error comes before (nothing is cached).
bool mayBeCached(const Outcome& outcome) {
    if (outcome.translation) return true;
    return outcome.number == kvlnmov::errc::kConversion ||
           outcome.number == kvlnmov::errc::kDataOverflow ||
           outcome.description.starts_with("The number of rows provided for a TOP") ||
           outcome.description.starts_with("A TOP N or FETCH rows count");
}

// `text` with every literal replaced by another of its kind; nothing when it has no literal
// or the replacement would change the statement's shape.
std::optional<std::string> sibling(const std::string& text, std::size_t seed) {
    const std::vector<tsql::Token> tokens = tsql::tokenize(text);
    std::string result;
    std::size_t copied = 0;
    bool any = false;
    for (const tsql::Token& token : tokens) {
        if (!token.isLiteral()) continue;
        const std::size_t end = literalEnd(text, token);
        if (token.offset < copied || end > text.size()) return std::nullopt;
        result.append(text, copied, token.offset - copied);
        result += otherLiteral(token, seed + static_cast<std::size_t>(token.literalOrdinal) * 7);
        copied = end;
        any = true;
    }
    if (!any) return std::nullopt;
    result.append(text, copied, std::string::npos);
    if (shapeOf(tsql::tokenize(result)) != shapeOf(tokens)) return std::nullopt;
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fixture& f = fixture();
    const std::string statement(reinterpret_cast<const char*>(data), size);
    std::size_t seed = 0;
    for (std::uint8_t byte : statement) seed = seed * 31 + byte;

    SessionState session;
    session.dayBeforeMonth = (seed & 1) == 0;
    if ((seed & 2) != 0) session.identity = 7;

    const std::string from = tsql::canonicalDateTime(Date::now());
    Translator warm(*f.catalog, kSource);
    const Outcome first = translate(warm, statement, session);
    const Outcome again = translate(warm, statement, session);

    // A statement of the same shape is compared only where the first one left its shape in
    // the cache: otherwise both would be fresh translations.
    const std::optional<std::string> other =
        mayBeCached(first) ? sibling(statement, seed) : std::nullopt;
    Outcome cached;
    Outcome direct;
    if (other) {
        cached = translate(warm, *other, session);
        Translator fresh(*f.catalog, kSource);
        direct = translate(fresh, *other, session);
    }
    const std::string to = tsql::canonicalDateTime(Date::now());

    requireSame(first, again, "the cached translation differs from the first", statement, statement,
                from, to);
    if (other) {
        requireSame(cached, direct,
                    "a statement of the same shape translates otherwise from the cache", statement,
                    *other, from, to);
    }
    if (first.translation) requirePrepares(*first.translation, statement);
    if (other && direct.translation) requirePrepares(*direct.translation, *other);
    return 0;
}
