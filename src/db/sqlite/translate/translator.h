#pragma once

// The T-SQL to SQLite translator: turns one SQL Server statement, as the library and its
// callers write it, into SQLite SQL with bound values, typed result columns and the facts the
// connection needs (statement kind, identity target).

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "db/sql_value.h"
#include "kvlnmov/schema/schema.h"

namespace kvlnmov::db::sqlite {

/// A value bound to a SQLite statement parameter.
using SqlValue = db::SqlValue;

/// What the translator knows of the database's tables.
class Catalog {
  public:
    virtual ~Catalog() = default;
    /// The table named `name` (case-insensitive), or nullptr when there is none.
    virtual const schema::Table* findTable(std::string_view name) const = 0;
};

/// Per-connection state a translation depends on.
struct SessionState {
    /// The connection's @@IDENTITY: Null (nothing) before any insert.
    std::optional<std::int64_t> identity;
    /// Session date format: true for dmy (SET DATEFORMAT dmy), false for mdy.
    bool dayBeforeMonth = true;
};

enum class StatementKind { Select, Insert, Update, Delete };

/// The statement's verb ("SELECT", "INSERT", ...), as error texts name the operation.
std::string_view kindName(StatementKind kind);

/// A result column: its name as SQL Server names it (the alias, the column's own name, or an
/// empty text for an unnamed expression) and the SQL Server type of its expression.
struct ResultColumn {
    std::string name;
    schema::ColumnType type;
};

/// What every translation of one statement shape shares: everything but the values.
struct TranslatedShape {
    StatementKind kind = StatementKind::Select;
    /// SQLite SQL; parameters are written ?1, ?2, ... in the order of a translation's
    /// `parameters`.
    std::string sql;
    /// The result columns of a SELECT, in order.
    std::vector<ResultColumn> columns;
    /// For an INSERT: the target table and whether it has an identity column.
    std::string targetTable;
    bool targetHasIdentity = false;
};

/// One translated statement, ready to prepare and bind: its shape (shared with every other
/// translation of the same shape, never copied) and this execution's values.
struct Translation {
    std::shared_ptr<const TranslatedShape> shape;
    /// The values to bind for this execution (literals after coercion by column type,
    /// @@IDENTITY, GETDATE()).
    std::vector<SqlValue> parameters;

    StatementKind kind() const { return shape->kind; }
    const std::string& sql() const { return shape->sql; }
    const std::vector<ResultColumn>& columns() const { return shape->columns; }
    const std::string& targetTable() const { return shape->targetTable; }
    bool targetHasIdentity() const { return shape->targetHasIdentity; }
};

/// Translates statements against a catalog. Translations are cached by statement shape (the
/// statement with its literals lifted out), so repeating a statement with other values
/// reuses the same SQLite text.
class Translator {
  public:
    /// `providerName` is the source of the errors the translator raises.
    Translator(const Catalog& catalog, std::string providerName);
    ~Translator();

    /// Translates one statement. Raises kvlnmov::Error as SQL Server would report the
    /// problem through ADO: syntax errors and batches (-2147217900 "Incorrect syntax near
    /// ...", "Unclosed quotation mark after the character string ..."), unknown tables
    /// (-2147217865 "Invalid object name '...'."), unknown columns (-2147217900 "Invalid
    /// column name '...'."), bad date texts (-2147217913 "Conversion failed when converting
    /// date and/or time from character string.").
    Translation translate(std::string_view text, const SessionState& session);

    /// Forgets every cached translation (call after the schema changed).
    void clearCache();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kvlnmov::db::sqlite
