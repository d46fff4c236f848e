#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvlnmov::schema {

/// SQL Server column types used by the company database.
enum class SqlType {
    Bit,
    TinyInt,
    SmallInt,
    Int,
    Money,
    Float,
    DateTime,
    VarChar,  ///< varchar(n); `length` holds n
    Text,     ///< varchar(max)
};

struct ColumnType {
    SqlType type = SqlType::Int;
    int length = 0;  ///< for VarChar only
    bool operator==(const ColumnType&) const = default;
};

/// The T-SQL name of a type: "bit", "smallint", "money", "datetime", "varchar(60)",
/// "varchar(max)".
std::string tsqlTypeName(ColumnType type);
/// Reads a declared type name as SQL Server or SQLite DDL writes it, in any case:
/// "BIT", "TINYINT", "SMALLINT", "INT", "INTEGER", "MONEY", "FLOAT", "DATETIME",
/// "VARCHAR(60)", "VARCHAR(MAX)", "TEXT". Returns nothing for other names.
std::optional<ColumnType> parseTypeName(std::string_view declared);

/// What the database writes into a column an INSERT leaves out.
enum class Default {
    None,  ///< Null
    Zero,  ///< 0 (amounts, flags, counters)
    Now,   ///< the current local date and time
};

struct Column {
    std::string name;
    ColumnType type;
    bool nullable = true;
    bool identity = false;  ///< numbered by the database on insert
    Default defaultValue = Default::None;
    /// A constant default other than 0, as the SQL literal the DDL writes ("1",
    /// "'1,2,3,4,8'"); empty when there is none (then `defaultValue` tells the default).
    std::string defaultLiteral;
};

/// A secondary index: the reads the library makes that its primary key does not serve.
struct Index {
    std::string name;
    std::vector<std::string> columns;
};

struct Table {
    std::string name;
    std::vector<Column> columns;
    std::vector<std::string> primaryKey;  ///< column names; empty when the table has none
    std::vector<Index> indexes{};

    /// The column named `name` (case-insensitive), or nullptr.
    const Column* find(std::string_view name) const;
};

/// Every table of the company database, in creation order.
const std::vector<Table>& companyTables();
/// The table named `name` (case-insensitive), or nullptr.
const Table* findTable(std::string_view name);

/// The SQLite statements that create the company database: one CREATE TABLE per table (and a
/// CREATE INDEX per secondary index after it),
/// declaring each column with its T-SQL type name (so that the declared type tells the
/// provider the SQL Server type), text columns compared without regard to case, money
/// columns holding whole ten-thousandths and datetime columns holding ISO text.
std::vector<std::string> sqliteScript();

/// The T-SQL script that creates the company database on SQL Server, as batches to run one
/// after another: one CREATE TABLE per table (T-SQL types, NULL/NOT NULL, named defaults,
/// IDENTITY columns, a PRIMARY KEY constraint named PK_<table>, and a CREATE INDEX batch per
/// secondary index), then the numbering procedures
/// CON_DevAsiento and CON_DevMovApunte, which reserve their numbers atomically in the counter
/// tables Contador_Asientos and Contador_Apuntes and answer 0 when a day's range is used up.
std::vector<std::string> tsqlScript();

/// A script as a text file: each statement followed by ";" (SQLite) or by a "GO" line
/// (T-SQL, where every batch must be sent on its own).
enum class Dialect { Sqlite, Tsql };
std::string scriptText(Dialect dialect);

}  // namespace kvlnmov::schema
