// The T-SQL script and the SQLite DDL declare the same company database: both are read back
// (the SQLite one by SQLite itself, the T-SQL one by a small parser of CREATE TABLE) and
// compared table by table, column by column.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kvlnmov/schema/schema.h"

namespace kvlnmov::schema {
namespace {

/// What a default writes, whatever the dialect's spelling.
enum class DefaultKind { None, Zero, Now, Other };

struct DeclaredColumn {
    std::string name;
    std::optional<ColumnType> type;
    bool nullable = true;
    bool identity = false;
    DefaultKind defaultKind = DefaultKind::None;
    std::string defaultText;  ///< the literal for DefaultKind::Other
    bool operator==(const DeclaredColumn&) const = default;
};

struct DeclaredTable {
    std::string name;
    std::vector<DeclaredColumn> columns;
    std::vector<std::string> primaryKey;
    bool operator==(const DeclaredTable&) const = default;
};

std::string upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

std::string trim(const std::string& text) {
    const auto first = text.find_first_not_of(" \n\t");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \n\t") - first + 1);
}

std::string unbracket(std::string name) {
    name = trim(name);
    if (name.size() >= 2 && name.front() == '[' && name.back() == ']')
        name = name.substr(1, name.size() - 2);
    return name;
}

DefaultKind kindOf(const std::string& text) {
    const std::string value = upper(trim(text));
    if (value == "0") return DefaultKind::Zero;
    if (value.find("GETDATE()") != std::string::npos || value.find("'NOW'") != std::string::npos)
        return DefaultKind::Now;
    return DefaultKind::Other;
}

// Splits `text` at the commas outside parentheses and quotes.
std::vector<std::string> splitTopLevel(const std::string& text) {
    std::vector<std::string> parts;
    std::string part;
    int depth = 0;
    bool quoted = false;
    for (char c : text) {
        if (c == '\'') quoted = !quoted;
        if (!quoted && c == '(') ++depth;
        if (!quoted && c == ')') --depth;
        if (!quoted && depth == 0 && c == ',') {
            parts.push_back(trim(part));
            part.clear();
            continue;
        }
        part += c;
    }
    if (!trim(part).empty()) parts.push_back(trim(part));
    return parts;
}

// The text between the parenthesis at `open` and its match.
std::string insideParentheses(const std::string& text, std::size_t open) {
    int depth = 0;
    for (std::size_t i = open; i < text.size(); ++i) {
        if (text[i] == '(') ++depth;
        if (text[i] == ')' && --depth == 0) return text.substr(open + 1, i - open - 1);
    }
    ADD_FAILURE() << "unbalanced parentheses in " << text;
    return {};
}

// One CREATE TABLE statement of the T-SQL script.
DeclaredTable parseTsqlTable(const std::string& statement) {
    DeclaredTable table;
    const std::string prefix = "CREATE TABLE [dbo].";
    EXPECT_EQ(statement.substr(0, prefix.size()), prefix) << statement;
    const std::size_t open = statement.find('(');
    table.name = unbracket(statement.substr(prefix.size(), open - prefix.size()));
    for (const std::string& item : splitTopLevel(insideParentheses(statement, open))) {
        const std::string itemUpper = upper(item);
        if (itemUpper.starts_with("CONSTRAINT")) {
            const std::size_t nameEnd = item.find(']');
            EXPECT_EQ(unbracket(item.substr(10, nameEnd - 9)), "PK_" + table.name) << item;
            const std::size_t keyOpen = item.find('(', itemUpper.find("PRIMARY KEY"));
            for (const std::string& key : splitTopLevel(insideParentheses(item, keyOpen)))
                table.primaryKey.push_back(unbracket(key));
            continue;
        }
        DeclaredColumn column;
        const std::size_t nameEnd = item.find(']');
        column.name = unbracket(item.substr(0, nameEnd + 1));
        std::string rest = trim(item.substr(nameEnd + 1));
        // The type: one word, with its parentheses when it has them.
        std::size_t typeEnd = rest.find_first_of(" (");
        if (typeEnd != std::string::npos && rest[typeEnd] == '(') typeEnd = rest.find(')') + 1;
        column.type = parseTypeName(rest.substr(0, typeEnd));
        rest = upper(rest.substr(typeEnd));
        column.identity = rest.find("IDENTITY(1,1)") != std::string::npos;
        const bool notNull = rest.find("NOT NULL") != std::string::npos;
        EXPECT_TRUE(notNull || rest.find(" NULL") != std::string::npos)
            << item << ": NULL or NOT NULL must be written";
        column.nullable = !notNull;
        const std::size_t defaultAt = rest.find("DEFAULT (");
        if (defaultAt != std::string::npos) {
            const std::string original = trim(item.substr(item.size() - (rest.size() - defaultAt)));
            column.defaultText = trim(insideParentheses(original, original.find('(')));
            column.defaultKind = kindOf(column.defaultText);
            EXPECT_NE(rest.find("CONSTRAINT [DF_" + upper(table.name) + "_" + upper(column.name) +
                                "] DEFAULT"),
                      std::string::npos)
                << item;
        }
        table.columns.push_back(std::move(column));
    }
    for (DeclaredColumn& column : table.columns) {
        if (column.defaultKind != DefaultKind::Other) column.defaultText.clear();
    }
    return table;
}

std::string text(sqlite3_stmt* statement, int index) {
    const unsigned char* value = sqlite3_column_text(statement, index);
    return value ? reinterpret_cast<const char*>(value) : "";
}

// Every table of a SQLite database made with the SQLite script, as SQLite reports it.
std::vector<DeclaredTable> sqliteTables() {
    sqlite3* raw = nullptr;
    EXPECT_EQ(sqlite3_open(":memory:", &raw), SQLITE_OK);
    std::unique_ptr<sqlite3, decltype(&sqlite3_close)> db(raw, &sqlite3_close);
    for (const std::string& statement : sqliteScript())
        EXPECT_EQ(sqlite3_exec(db.get(), statement.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(db.get());
    auto rows = [&](const std::string& sql, auto each) {
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db.get(), sql.c_str(), -1, &statement, nullptr), SQLITE_OK);
        while (sqlite3_step(statement) == SQLITE_ROW) each(statement);
        sqlite3_finalize(statement);
    };
    std::vector<DeclaredTable> tables;
    rows(
        "SELECT name FROM sqlite_schema WHERE type = 'table' AND name NOT LIKE 'sqlite%' "
        "ORDER BY rowid",
        [&](sqlite3_stmt* statement) {
            tables.push_back(DeclaredTable{text(statement, 0), {}, {}});
        });
    for (DeclaredTable& table : tables) {
        std::vector<std::pair<int, std::string>> key;
        rows("PRAGMA table_info(" + table.name + ")", [&](sqlite3_stmt* statement) {
            DeclaredColumn column;
            column.name = text(statement, 1);
            const std::string declared = text(statement, 2);
            column.type = parseTypeName(declared);
            column.nullable = sqlite3_column_int(statement, 3) == 0;
            if (sqlite3_column_type(statement, 4) != SQLITE_NULL) {
                column.defaultText = text(statement, 4);
                column.defaultKind = kindOf(column.defaultText);
                if (column.defaultKind != DefaultKind::Other) column.defaultText.clear();
            }
            const int keyPosition = sqlite3_column_int(statement, 5);
            if (keyPosition > 0) key.emplace_back(keyPosition, column.name);
            // SQLite numbers rows by itself in an INTEGER PRIMARY KEY, which never holds Null.
            column.identity = keyPosition > 0 && upper(declared) == "INTEGER";
            if (column.identity) column.nullable = false;
            table.columns.push_back(std::move(column));
        });
        std::sort(key.begin(), key.end());
        for (const auto& [position, name] : key) table.primaryKey.push_back(name);
    }
    return tables;
}

std::vector<DeclaredTable> tsqlTables() {
    std::vector<DeclaredTable> tables;
    for (const std::string& batch : tsqlScript()) {
        if (batch.starts_with("CREATE TABLE")) tables.push_back(parseTsqlTable(batch));
    }
    return tables;
}

TEST(SchemaDialects, DeclareTheSameTablesColumnsKeysAndDefaults) {
    const std::vector<DeclaredTable> tsql = tsqlTables();
    const std::vector<DeclaredTable> sqlite = sqliteTables();
    ASSERT_EQ(tsql.size(), sqlite.size());
    ASSERT_EQ(tsql.size(), companyTables().size());
    for (std::size_t i = 0; i < tsql.size(); ++i) {
        const DeclaredTable& server = tsql[i];
        const DeclaredTable& embedded = sqlite[i];
        ASSERT_EQ(server.name, embedded.name);
        EXPECT_EQ(server.primaryKey, embedded.primaryKey) << server.name;
        ASSERT_EQ(server.columns.size(), embedded.columns.size()) << server.name;
        for (std::size_t c = 0; c < server.columns.size(); ++c) {
            const DeclaredColumn& a = server.columns[c];
            const DeclaredColumn& b = embedded.columns[c];
            const std::string where = server.name + "." + a.name;
            EXPECT_EQ(a.name, b.name) << where;
            ASSERT_TRUE(a.type.has_value()) << where;
            ASSERT_TRUE(b.type.has_value()) << where;
            EXPECT_EQ(*a.type, *b.type) << where;
            EXPECT_EQ(a.nullable, b.nullable) << where;
            EXPECT_EQ(a.identity, b.identity) << where;
            EXPECT_EQ(a.defaultKind, b.defaultKind) << where;
            EXPECT_EQ(a.defaultText, b.defaultText) << where;
        }
    }
}

TEST(SchemaDialects, TsqlScriptNamesItsKeysAndIdentities) {
    const std::vector<DeclaredTable> tables = tsqlTables();
    const auto find = [&](const std::string& name) {
        return *std::find_if(tables.begin(), tables.end(),
                             [&](const DeclaredTable& table) { return table.name == name; });
    };
    const DeclaredTable statements = find("Conc_Extractos");
    EXPECT_EQ(statements.primaryKey, (std::vector<std::string>{"Codigo"}));
    EXPECT_TRUE(statements.columns[0].identity);
    EXPECT_FALSE(statements.columns[0].nullable);
    const DeclaredTable exercises = find("Empresas_Ejercicios");
    const auto levels =
        std::find_if(exercises.columns.begin(), exercises.columns.end(),
                     [](const DeclaredColumn& c) { return c.name == "LongitudesNivel"; });
    EXPECT_EQ(levels->defaultText, "'1,2,3,4,8'");
    const DeclaredTable entries = find("Asientos");
    EXPECT_EQ(entries.columns[7].name, "FechaCreacion");
    EXPECT_EQ(entries.columns[7].defaultKind, DefaultKind::Now);
    // Tables without a key (logs) have no PRIMARY KEY constraint.
    EXPECT_TRUE(find("Movimientos_Eliminados").primaryKey.empty());
}

// The parameters of a CREATE PROCEDURE batch: name, type and OUTPUT.
std::vector<std::string> procedureParameters(const std::string& batch) {
    const std::size_t as = batch.find("\nAS\n");
    std::vector<std::string> parameters;
    const std::size_t first = batch.find('@');
    EXPECT_LT(first, as);
    for (const std::string& item : splitTopLevel(batch.substr(first, as - first)))
        parameters.push_back(item);
    return parameters;
}

TEST(SchemaDialects, TsqlScriptDefinesTheNumberingProcedures) {
    std::map<std::string, std::string> procedures;
    for (const std::string& batch : tsqlScript()) {
        const std::string prefix = "CREATE PROCEDURE [dbo].[";
        if (!batch.starts_with(prefix)) continue;
        procedures[batch.substr(prefix.size(), batch.find(']', prefix.size()) - prefix.size())] =
            batch;
    }
    ASSERT_EQ(procedures.size(), 2u);
    EXPECT_EQ(procedureParameters(procedures["CON_DevAsiento"]),
              (std::vector<std::string>{"@Cod_Empresa smallint", "@Cod_Ejercicio smallint",
                                        "@Mes tinyint", "@Dia tinyint", "@TipoNum tinyint",
                                        "@Asiento int OUTPUT"}));
    EXPECT_EQ(procedureParameters(procedures["CON_DevMovApunte"]),
              (std::vector<std::string>{"@Cod_Empresa smallint", "@Cod_Ejercicio smallint",
                                        "@Apunte int OUTPUT"}));
    for (const auto& [name, batch] : procedures) {
        // The number is reserved under a lock held to the end of a transaction of its own.
        EXPECT_NE(batch.find("WITH (UPDLOCK, HOLDLOCK)"), std::string::npos) << name;
        EXPECT_NE(batch.find("BEGIN TRANSACTION;"), std::string::npos) << name;
        EXPECT_NE(batch.find("COMMIT TRANSACTION;"), std::string::npos) << name;
    }
}

TEST(SchemaDialects, ScriptFilesSeparateTheirStatements) {
    const std::string tsql = scriptText(Dialect::Tsql);
    EXPECT_EQ(std::count(tsql.begin(), tsql.end(), '\n') > 0, true);
    std::size_t batches = 0;
    for (std::size_t at = 0; (at = tsql.find("\nGO\n", at)) != std::string::npos; ++at) ++batches;
    EXPECT_EQ(batches, tsqlScript().size());
    EXPECT_TRUE(tsql.starts_with("CREATE TABLE [dbo].[Empresas] ("));

    const std::string sqlite = scriptText(Dialect::Sqlite);
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &raw), SQLITE_OK);
    std::unique_ptr<sqlite3, decltype(&sqlite3_close)> db(raw, &sqlite3_close);
    EXPECT_EQ(sqlite3_exec(db.get(), sqlite.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(db.get());
    sqlite3_stmt* count = nullptr;
    ASSERT_EQ(
        sqlite3_prepare_v2(
            db.get(),
            "SELECT COUNT(*) FROM sqlite_schema WHERE type = 'table' AND name NOT LIKE 'sqlite%'",
            -1, &count, nullptr),
        SQLITE_OK);
    ASSERT_EQ(sqlite3_step(count), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(count, 0), static_cast<int>(companyTables().size()));
    sqlite3_finalize(count);
}

}  // namespace
}  // namespace kvlnmov::schema
