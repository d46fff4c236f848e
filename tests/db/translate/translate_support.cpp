#include "db/translate/translate_support.h"

#include <stdexcept>

namespace kvlnmov::db::sqlite::testing {

namespace {

std::vector<Row> step(sqlite3* db, sqlite3_stmt* statement) {
    std::vector<Row> rows;
    while (true) {
        int rc = sqlite3_step(statement);
        if (rc == SQLITE_DONE) break;
        if (rc != SQLITE_ROW) {
            std::string message = sqlite3_errmsg(db);
            sqlite3_finalize(statement);
            throw std::runtime_error("sqlite: " + message);
        }
        Row row;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            if (sqlite3_column_type(statement, i) == SQLITE_NULL) {
                row.emplace_back("NULL");
            } else {
                row.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, i)));
            }
        }
        rows.push_back(std::move(row));
    }
    sqlite3_finalize(statement);
    return rows;
}

sqlite3_stmt* prepare(sqlite3* db, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        throw std::runtime_error("sqlite prepare: " + std::string(sqlite3_errmsg(db)) + " in " +
                                 sql);
    }
    return statement;
}

}  // namespace

MemoryDatabase::MemoryDatabase() {
    if (sqlite3_open(":memory:", &db_) != SQLITE_OK) throw std::runtime_error("sqlite open");
    for (const std::string& statement : schema::sqliteScript()) exec(statement);
}

MemoryDatabase::~MemoryDatabase() { sqlite3_close(db_); }

void MemoryDatabase::exec(const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
        std::string text = message != nullptr ? message : "?";
        sqlite3_free(message);
        throw std::runtime_error("sqlite exec: " + text + " in " + sql);
    }
}

std::vector<Row> MemoryDatabase::run(const Translation& translation) {
    sqlite3_stmt* statement = prepare(db_, translation.sql());
    for (std::size_t i = 0; i < translation.parameters.size(); ++i) {
        int index = static_cast<int>(i) + 1;
        const SqlValue& value = translation.parameters[i];
        if (const auto* number = std::get_if<std::int64_t>(&value)) {
            sqlite3_bind_int64(statement, index, *number);
        } else if (const auto* real = std::get_if<double>(&value)) {
            sqlite3_bind_double(statement, index, *real);
        } else if (const auto* text = std::get_if<std::string>(&value)) {
            sqlite3_bind_text(statement, index, text->c_str(), static_cast<int>(text->size()),
                              SQLITE_TRANSIENT);
        } else {
            sqlite3_bind_null(statement, index);
        }
    }
    return step(db_, statement);
}

std::vector<Row> MemoryDatabase::runTsql(std::string_view tsql) {
    return run(translator_.translate(tsql, session_));
}

std::vector<Row> MemoryDatabase::query(const std::string& sql) {
    return step(db_, prepare(db_, sql));
}

Translation translateOnce(std::string_view tsql, const SessionState& session) {
    CompanyCatalog catalog;
    Translator translator(catalog, kSource);
    return translator.translate(tsql, session);
}

}  // namespace kvlnmov::db::sqlite::testing
