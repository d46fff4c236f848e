#include "db/sqlite/live_catalog.h"

#include <algorithm>
#include <cctype>
#include <utility>
#include <vector>

#include "db/sqlite/sqlite_error.h"
#include "kvlnmov/frame/text.h"

namespace kvlnmov::db::sqlite {

namespace {

std::string columnText(sqlite3_stmt* statement, int index) {
    const unsigned char* text = sqlite3_column_text(statement, index);
    return text ? reinterpret_cast<const char*>(text) : std::string();
}

// A declared type that is not a SQL Server name, typed by SQLite's affinity rules.
schema::ColumnType typeByAffinity(const std::string& declared) {
    const std::string upper = [&] {
        std::string text = declared;
        for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return text;
    }();
    auto has = [&](const char* part) { return upper.find(part) != std::string::npos; };
    if (has("INT")) return {schema::SqlType::Int};
    if (has("CHAR") || has("CLOB") || has("TEXT") || declared.empty())
        return {schema::SqlType::Text};
    return {schema::SqlType::Float};
}

// Runs `sql` and calls `row` for each result row.
template <class RowFunction>
void forEachRow(sqlite3* db, const std::string& sql, RowFunction row) {
    sqlite3_stmt* statement = nullptr;
    int resultCode = sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr);
    if (resultCode != SQLITE_OK) {
        sqlite3_finalize(statement);
        throw sqliteError(db, resultCode);
    }
    while ((resultCode = sqlite3_step(statement)) == SQLITE_ROW) row(statement);
    sqlite3_finalize(statement);
    check(db, resultCode);
}

}  // namespace

std::string tableInfoSql(const std::string& name) {
    std::string quoted = name;
    for (std::size_t at = 0; (at = quoted.find('"', at)) != std::string::npos; at += 2)
        quoted.insert(at, 1, '"');
    return "PRAGMA table_info(\"" + quoted + "\")";
}

schema::Table describeTable(const std::string& name, const std::vector<TableInfoRow>& rows) {
    schema::Table table{name, {}, {}};
    std::vector<std::pair<int, std::string>> keyColumns;
    for (const TableInfoRow& row : rows) {
        schema::Column column;
        column.name = row.name;
        const std::string& declared = row.declaredType;
        column.type = schema::parseTypeName(declared).value_or(typeByAffinity(declared));
        column.nullable = !row.notNull;
        if (row.defaultValue) {
            const std::string& defaultText = *row.defaultValue;
            if (defaultText == "0") {
                column.defaultValue = schema::Default::Zero;
            } else if (text::lowerAscii(defaultText).find("'now'") != std::string::npos) {
                column.defaultValue = schema::Default::Now;
            } else {
                column.defaultLiteral = defaultText;
            }
        }
        if (row.keyPosition > 0) keyColumns.emplace_back(row.keyPosition, column.name);
        column.identity = row.keyPosition > 0 && text::lowerAscii(declared) == "integer";
        table.columns.push_back(std::move(column));
    }
    std::sort(keyColumns.begin(), keyColumns.end());
    for (auto& [position, column] : keyColumns) table.primaryKey.push_back(column);
    if (table.primaryKey.size() != 1) {
        // Only a single-column INTEGER PRIMARY KEY numbers rows by itself.
        for (auto& column : table.columns) column.identity = false;
    } else {
        for (auto& column : table.columns) {
            if (column.identity) column.nullable = false;
        }
    }
    return table;
}

schema::Table describeTable(sqlite3* db, const std::string& name) {
    std::vector<TableInfoRow> rows;
    forEachRow(db, tableInfoSql(name), [&](sqlite3_stmt* statement) {
        TableInfoRow row;
        row.name = columnText(statement, 1);
        row.declaredType = columnText(statement, 2);
        row.notNull = sqlite3_column_int(statement, 3) != 0;
        if (sqlite3_column_type(statement, 4) != SQLITE_NULL)
            row.defaultValue = columnText(statement, 4);
        row.keyPosition = sqlite3_column_int(statement, 5);
        rows.push_back(std::move(row));
    });
    return describeTable(name, rows);
}

LiveCatalog::~LiveCatalog() { sqlite3_finalize(versionStatement_); }

const schema::Table* LiveCatalog::findTable(std::string_view name) const {
    auto found = tables_.find(text::lowerAscii(name));
    return found == tables_.end() ? nullptr : &found->second;
}

bool LiveCatalog::refresh() {
    const std::int64_t current = schemaVersion();
    if (current == version_) return false;
    reload();
    return true;
}

void LiveCatalog::reload() {
    // The version first: a change made meanwhile by another connection shows as a newer
    // version at the next refresh.
    const std::int64_t version = schemaVersion();
    std::map<std::string, schema::Table> tables;
    std::vector<std::string> names;
    forEachRow(db_, kTableNamesSql,
               [&](sqlite3_stmt* statement) { names.push_back(columnText(statement, 0)); });
    for (const std::string& name : names)
        tables.emplace(text::lowerAscii(name), describeTable(db_, name));
    tables_ = std::move(tables);
    version_ = version;
}

std::int64_t LiveCatalog::schemaVersion() {
    if (!versionStatement_) {
        const int resultCode =
            sqlite3_prepare_v3(db_, "PRAGMA schema_version", -1, SQLITE_PREPARE_PERSISTENT,
                               &versionStatement_, nullptr);
        if (resultCode != SQLITE_OK) {
            sqlite3_finalize(std::exchange(versionStatement_, nullptr));
            throw sqliteError(db_, resultCode);
        }
    }
    const int resultCode = sqlite3_step(versionStatement_);
    const std::int64_t version =
        resultCode == SQLITE_ROW ? sqlite3_column_int64(versionStatement_, 0) : -1;
    sqlite3_reset(versionStatement_);
    check(db_, resultCode);
    return version;
}

}  // namespace kvlnmov::db::sqlite
