#include "db/odbc_sqlite/sqlite_dialect.h"

#include <cctype>
#include <limits>

#include "db/odbc/odbc_cursor.h"
#include "db/odbc/odbc_provider.h"
#include "db/sqlite/result_value.h"
#include "db/sqlite/stray_quote.h"
#include "db/sqlite/table_description.h"
#include "kvlnmov/frame/regional.h"
#include "kvlnmov/frame/text.h"
#include "kvlnmov/schema/schema.h"

namespace kvlnmov::db::odbc {

namespace {

using sqlite::SqlValue;
using sqlite::StatementKind;

std::int64_t wholeNumber(const std::optional<std::string>& text) {
    if (!text) return 0;
    return std::stoll(*text);
}

/// The rows of a translated query, each value read as the driver's text and converted by
/// the SQL Server type the translation gave its column.
class TranslatedCursor : public Cursor {
  public:
    TranslatedCursor(std::unique_ptr<OdbcStatement> statement,
                     const std::vector<sqlite::ResultColumn>& columns)
        : statement_(std::move(statement)), source_(statement_->link().source()) {
        for (const sqlite::ResultColumn& column : columns) {
            columns_.push_back(ColumnInfo{column.name, sqlite::adoType(column.type)});
            types_.push_back(column.type);
        }
        if (statement_->columnCount() != static_cast<int>(columns.size())) {
            throw Error(errc::kProviderGeneric, source_,
                        "The translated query returns another number of columns than typed.");
        }
    }

    const std::vector<ColumnInfo>& columns() const override { return columns_; }

    bool next(std::vector<Variant>& row) override {
        if (!fetchOrRelease(statement_)) return false;
        row.clear();
        row.reserve(types_.size());
        for (std::size_t i = 0; i < types_.size(); ++i) {
            const std::optional<std::string> text = statement_->text(static_cast<int>(i) + 1);
            row.push_back(sqlite::convertStoredValue(stored(text, types_[i]), types_[i], source_));
        }
        return true;
    }

  private:
    // The driver gives every value as text: numbers are read back as SQLite stored them.
    static sqlite::StoredValue stored(const std::optional<std::string>& text,
                                      schema::ColumnType type) {
        if (!text) return std::monostate();
        switch (type.type) {
            case schema::SqlType::VarChar:
            case schema::SqlType::Text:
            case schema::SqlType::DateTime:
                return std::string_view(*text);
            default:
                return sqlite::storedValueFromText(*text);
        }
    }

    std::unique_ptr<OdbcStatement> statement_;
    std::string source_;
    std::vector<ColumnInfo> columns_;
    std::vector<schema::ColumnType> types_;
};

}  // namespace

std::pair<std::string, std::vector<SqlValue>> positionalMarkers(
    const std::string& sql, const std::vector<SqlValue>& values) {
    std::string text;
    text.reserve(sql.size());
    std::vector<SqlValue> ordered;
    std::size_t highest = 0;
    for (std::size_t i = 0; i < sql.size(); ++i) {
        const char c = sql[i];
        if (c == '\'' || c == '"' || c == '[' || c == '`') {
            // A quoted text or name, to its closing quote (a doubled quote stays inside).
            const char close = c == '[' ? ']' : c;
            std::size_t end = i + 1;
            for (; end < sql.size(); ++end) {
                if (sql[end] != close) continue;
                if (close != ']' && end + 1 < sql.size() && sql[end + 1] == close) {
                    ++end;
                    continue;
                }
                break;
            }
            text.append(sql, i, end - i + 1);
            i = end;
            continue;
        }
        if (c != '?') {
            text += c;
            continue;
        }
        std::size_t number = 0;
        std::size_t end = i + 1;
        while (end < sql.size() && std::isdigit(static_cast<unsigned char>(sql[end]))) {
            number = number * 10 + static_cast<std::size_t>(sql[end] - '0');
            ++end;
        }
        // A bare "?" takes the number after the highest one used so far, as SQLite numbers it.
        if (end == i + 1) number = highest + 1;
        highest = std::max(highest, number);
        ordered.push_back(number >= 1 && number <= values.size() ? values[number - 1] : SqlValue());
        text += '?';
        i = end - 1;
    }
    return {std::move(text), std::move(ordered)};
}

SqliteDialect::SqliteDialect(const OdbcLink& link)
    : link_(link), translator_(*this, link.source()) {}

SqliteDialect::~SqliteDialect() = default;

std::string SqliteDialect::providerName() const { return link_.source(); }

const schema::Table* SqliteDialect::findTable(std::string_view name) const {
    auto found = tables_.find(text::lowerAscii(name));
    return found == tables_.end() ? nullptr : &found->second;
}

std::unique_ptr<OdbcStatement> SqliteDialect::run(const std::string& sql,
                                                  const std::vector<SqlValue>& values,
                                                  std::string_view operation) {
    auto [text, ordered] = positionalMarkers(sql, values);
    auto statement = std::make_unique<OdbcStatement>(link_);
    statement->execute(text, ordered, operation);
    return statement;
}

std::int64_t SqliteDialect::schemaVersion() {
    auto statement = run("PRAGMA schema_version", {});
    if (!statement->fetch()) return -1;
    return wholeNumber(statement->text(1));
}

bool SqliteDialect::refreshCatalog() {
    if (schemaVersion() == version_) return false;
    reloadCatalog();
    return true;
}

void SqliteDialect::reloadCatalog() {
    // The version first: a change made meanwhile by another connection shows as a newer
    // version at the next refresh.
    const std::int64_t version = schemaVersion();
    std::vector<std::string> names;
    {
        auto statement = run(sqlite::kTableNamesSql, {});
        while (statement->fetch()) names.push_back(statement->text(1).value_or(""));
    }
    std::map<std::string, schema::Table> tables;
    for (const std::string& name : names) {
        std::vector<sqlite::TableInfoRow> rows;
        auto statement = run(sqlite::tableInfoSql(name), {});
        // Columns: cid, name, type, notnull, dflt_value, pk.
        while (statement->fetch()) {
            sqlite::TableInfoRow row;
            row.name = statement->text(2).value_or("");
            row.declaredType = statement->text(3).value_or("");
            row.notNull = wholeNumber(statement->text(4)) != 0;
            row.defaultValue = statement->text(5);
            row.keyPosition = static_cast<int>(wholeNumber(statement->text(6)));
            rows.push_back(std::move(row));
        }
        tables.emplace(text::lowerAscii(name), sqlite::describeTable(name, rows));
    }
    tables_ = std::move(tables);
    version_ = version;
}

sqlite::Translation SqliteDialect::translate(std::string_view text) {
    if (refreshCatalog()) {
        // Another schema: translations made against the old one may name what is gone.
        translator_.clearCache();
    }
    // Date texts are read in the day/month order the library writes them.
    session_.dayBeforeMonth = regional().dayBeforeMonth();
    return translator_.translate(text, session_);
}

std::int32_t SqliteDialect::execute(std::string_view text) { return run(translate(text)); }

std::int32_t SqliteDialect::run(const sqlite::Translation& translation) {
    auto statement =
        run(translation.sql(), translation.parameters, sqlite::kindName(translation.kind()));
    if (translation.kind() == StatementKind::Select) return -1;
    // A change that matched no row is answered with SQL_NO_DATA and a count of 0.
    const std::int64_t changed = std::max<std::int64_t>(statement->rowCount(), 0);
    statement.reset();
    if (translation.kind() == StatementKind::Insert) {
        if (translation.targetHasIdentity() && changed > 0) {
            session_.identity = queryInteger("SELECT last_insert_rowid()", {});
        } else {
            session_.identity.reset();
        }
    }
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(changed, std::numeric_limits<std::int32_t>::max()));
}

std::unique_ptr<Cursor> SqliteDialect::open(std::string_view text) {
    const sqlite::Translation translation = translate(text);
    if (translation.kind() != StatementKind::Select) {
        run(translation);
        return makeEmptyCursor();
    }
    return std::make_unique<TranslatedCursor>(
        run(translation.sql(), translation.parameters, "SELECT"), translation.columns());
}

void SqliteDialect::callProcedure(const std::string& name, ParameterList& parameters) {
    sqlite::callStoredProcedure(*this, name, parameters);
}

std::int64_t SqliteDialect::executeNative(const std::string& sql,
                                          const std::vector<SqlValue>& parameters) {
    auto statement = run(sql, parameters);
    return std::max<std::int64_t>(statement->rowCount(), 0);
}

std::optional<std::int64_t> SqliteDialect::queryInteger(const std::string& sql,
                                                        const std::vector<SqlValue>& parameters) {
    auto statement = run(sql, parameters);
    if (statement->columnCount() == 0 || !statement->fetch()) return std::nullopt;
    const std::optional<std::string> text = statement->text(1);
    if (!text) return std::nullopt;
    return wholeNumber(text);
}

void SqliteDialect::createCompanySchema() {
    executeNative("SAVEPOINT kvlnmov_schema", {});
    try {
        for (const std::string& statement : schema::sqliteScript()) executeNative(statement, {});
    } catch (...) {
        try {
            executeNative("ROLLBACK TO kvlnmov_schema", {});
            executeNative("RELEASE kvlnmov_schema", {});
        } catch (const Error&) {
            // The first failure is the one to report.
        }
        throw;
    }
    executeNative("RELEASE kvlnmov_schema", {});
    translator_.clearCache();
    reloadCatalog();
}

void SqliteDialect::beginTransaction() {
    executeNative("BEGIN IMMEDIATE", {});
    callerTransaction_ = true;
}

void SqliteDialect::commitTransaction() {
    executeNative("COMMIT", {});
    callerTransaction_ = false;
}

void SqliteDialect::rollbackTransaction() {
    executeNative("ROLLBACK", {});
    callerTransaction_ = false;
}

void SqliteDialect::beginOperation() {
    operationSavepoint_ = callerTransaction_;
    executeNative(operationSavepoint_ ? "SAVEPOINT kvlnmov_operation" : "BEGIN IMMEDIATE", {});
}

void SqliteDialect::commitOperation() {
    try {
        executeNative(operationSavepoint_ ? "RELEASE kvlnmov_operation" : "COMMIT", {});
    } catch (const Error&) {
        try {
            if (operationSavepoint_) {
                executeNative("ROLLBACK TO kvlnmov_operation", {});
                executeNative("RELEASE kvlnmov_operation", {});
            } else {
                executeNative("ROLLBACK", {});
            }
        } catch (const Error&) {
            // The commit's failure is the one to report.
        }
        throw;
    }
}

Error SqliteDialect::strayQuoteError(std::string_view text, std::size_t quoteOffset) {
    try {
        translate(text);
    } catch (const Error& error) {
        return error;
    }
    return sqlite::strayQuoteError(text, quoteOffset, providerName());
}

}  // namespace kvlnmov::db::odbc
