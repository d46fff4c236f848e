// The company database as SQLite DDL.

#include "kvlnmov/schema/schema.h"

#include "kvlnmov/frame/text.h"

namespace kvlnmov::schema {

namespace {

// The SQLite declaration of one column: T-SQL type name in upper case (varchar(max) as TEXT,
// since SQLite's grammar takes only numbers inside a type's parentheses), NOCASE for texts.
std::string sqliteColumn(const Column& column) {
    if (column.identity) return column.name + " INTEGER PRIMARY KEY AUTOINCREMENT";
    const std::string type =
        column.type.type == SqlType::Text ? "TEXT" : text::upperAscii(tsqlTypeName(column.type));
    std::string text = column.name + " " + type;
    if (column.type.type == SqlType::VarChar || column.type.type == SqlType::Text)
        text += " COLLATE NOCASE";
    if (!column.nullable) text += " NOT NULL";
    if (!column.defaultLiteral.empty()) {
        text += " DEFAULT " + column.defaultLiteral;
    } else if (column.defaultValue == Default::Zero) {
        text += " DEFAULT 0";
    } else if (column.defaultValue == Default::Now) {
        text += " DEFAULT (strftime('%Y-%m-%d %H:%M:%f','now','localtime'))";
    }
    return text;
}

}  // namespace

std::vector<std::string> sqliteScript() {
    std::vector<std::string> script;
    for (const Table& table : companyTables()) {
        std::string text = "CREATE TABLE " + table.name + " (";
        bool first = true;
        bool identityKey = false;
        for (const Column& column : table.columns) {
            text += first ? "\n    " : ",\n    ";
            text += sqliteColumn(column);
            identityKey = identityKey || column.identity;
            first = false;
        }
        if (!table.primaryKey.empty() && !identityKey) {
            text += ",\n    CONSTRAINT PK_" + table.name + " PRIMARY KEY (";
            for (std::size_t i = 0; i < table.primaryKey.size(); ++i)
                text += (i ? ", " : "") + table.primaryKey[i];
            text += ")";
        }
        text += "\n)";
        script.push_back(std::move(text));
        for (const Index& index : table.indexes) {
            std::string create = "CREATE INDEX " + index.name + " ON " + table.name + " (";
            for (std::size_t i = 0; i < index.columns.size(); ++i)
                create += (i ? ", " : "") + index.columns[i];
            script.push_back(create + ")");
        }
    }
    return script;
}

}  // namespace kvlnmov::schema
