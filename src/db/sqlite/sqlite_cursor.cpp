// Reading SQLite result rows as the Variants an ADO client gets from SQL Server: each value is
// converted by the SQL Server type of its result column, whatever SQLite stored.

#include "db/sqlite/result_value.h"
#include "db/sqlite/sqlite_connection.h"
#include "db/sqlite/sqlite_error.h"
#include "db/sqlite/sqlite_provider.h"

namespace kvlnmov::db::sqlite {

namespace {

using schema::SqlType;

std::string_view textOf(sqlite3_stmt* statement, int index) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
    return text ? std::string_view(text,
                                   static_cast<std::size_t>(sqlite3_column_bytes(statement, index)))
                : std::string_view();
}

// The stored value of a column; a text column reads every value as SQLite writes it as text.
StoredValue storedValue(sqlite3_stmt* statement, int index, schema::ColumnType type) {
    switch (sqlite3_column_type(statement, index)) {
        case SQLITE_NULL:
            return std::monostate();
        case SQLITE_INTEGER:
            if (type.type == SqlType::VarChar || type.type == SqlType::Text) break;
            return sqlite3_column_int64(statement, index);
        case SQLITE_FLOAT:
            if (type.type == SqlType::VarChar || type.type == SqlType::Text) break;
            return sqlite3_column_double(statement, index);
        default:
            break;
    }
    return textOf(statement, index);
}

class SqliteCursor : public Cursor {
  public:
    SqliteCursor(sqlite3* db, StatementCache::Lease statement,
                 const std::vector<ResultColumn>& columns)
        : db_(db), statement_(std::move(statement)) {
        for (const ResultColumn& column : columns) {
            columns_.push_back(ColumnInfo{column.name, adoType(column.type)});
            types_.push_back(column.type);
        }
        if (sqlite3_column_count(statement_.get()) != static_cast<int>(columns.size())) {
            throw Error(errc::kProviderGeneric, kProviderName,
                        "The translated query returns another number of columns than typed.");
        }
        step();
    }

    const std::vector<ColumnInfo>& columns() const override { return columns_; }

    bool next(std::vector<Variant>& row) override {
        if (!statement_) return false;
        if (!rowReady_) step();
        if (!rowReady_) return false;
        row.clear();
        row.reserve(types_.size());
        for (std::size_t i = 0; i < types_.size(); ++i)
            row.push_back(convertStoredValue(
                storedValue(statement_.get(), static_cast<int>(i), types_[i]), types_[i], source_));
        rowReady_ = false;
        return true;
    }

  private:
    void step() {
        const int resultCode = sqlite3_step(statement_.get());
        if (resultCode == SQLITE_ROW) {
            rowReady_ = true;
            return;
        }
        rowReady_ = false;
        if (resultCode == SQLITE_DONE) {
            // The end: give the statement back so it holds no read transaction.
            statement_.release();
            return;
        }
        Error error = sqliteError(db_, resultCode, "SELECT");
        statement_.release();
        throw error;
    }

    sqlite3* db_;
    StatementCache::Lease statement_;
    std::vector<ColumnInfo> columns_;
    std::vector<schema::ColumnType> types_;
    bool rowReady_ = false;
    const std::string source_ = kProviderName;
};

}  // namespace

std::unique_ptr<Cursor> makeCursor(sqlite3* db, StatementCache::Lease statement,
                                   const std::vector<ResultColumn>& columns) {
    return std::make_unique<SqliteCursor>(db, std::move(statement), columns);
}

}  // namespace kvlnmov::db::sqlite
