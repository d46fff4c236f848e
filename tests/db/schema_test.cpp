// The company database definition, the SQLite DDL made from it, and the T-SQL script that
// declares the same database on SQL Server.

#include "kvlnmov/schema/schema.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

namespace kvlnmov::schema {
namespace {

TEST(SchemaTypes, ReadsDeclaredNamesInAnyCase) {
    const std::vector<std::pair<const char*, std::optional<ColumnType>>> cases{
        {"BIT", ColumnType{SqlType::Bit}},
        {"tinyint", ColumnType{SqlType::TinyInt}},
        {"SmallInt", ColumnType{SqlType::SmallInt}},
        {"INT", ColumnType{SqlType::Int}},
        {"INTEGER", ColumnType{SqlType::Int}},
        {"money", ColumnType{SqlType::Money}},
        {"FLOAT", ColumnType{SqlType::Float}},
        {"DATETIME", ColumnType{SqlType::DateTime}},
        {"VARCHAR(60)", ColumnType{SqlType::VarChar, 60}},
        {" varchar( 20 ) ", ColumnType{SqlType::VarChar, 20}},
        {"VARCHAR(MAX)", ColumnType{SqlType::Text}},
        {"TEXT", ColumnType{SqlType::Text}},
        {"VARCHAR(0)", std::nullopt},
        {"VARCHAR(x)", std::nullopt},
        {"VARCHAR", std::nullopt},
        {"BLOB", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [declared, expected] : cases)
        EXPECT_EQ(parseTypeName(declared), expected) << declared;
}

TEST(SchemaTypes, WritesTsqlNamesThatReadBack) {
    const std::vector<std::pair<ColumnType, const char*>> cases{
        {{SqlType::Bit}, "bit"},           {{SqlType::TinyInt}, "tinyint"},
        {{SqlType::SmallInt}, "smallint"}, {{SqlType::Int}, "int"},
        {{SqlType::Money}, "money"},       {{SqlType::Float}, "float"},
        {{SqlType::DateTime}, "datetime"}, {{SqlType::VarChar, 60}, "varchar(60)"},
        {{SqlType::Text}, "varchar(max)"},
    };
    for (const auto& [type, name] : cases) {
        EXPECT_EQ(tsqlTypeName(type), name);
        EXPECT_EQ(parseTypeName(name), type) << name;
    }
}

struct Database {
    Database() { sqlite3_open(":memory:", &db); }
    ~Database() { sqlite3_close(db); }
    void run(const std::string& sql) const {
        char* message = nullptr;
        const int code = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message);
        const std::string text = message ? message : "";
        sqlite3_free(message);
        if (code != SQLITE_OK) throw std::runtime_error(text);
    }
    /// Column `index` of every row of `sql`.
    std::vector<std::string> column(const std::string& sql, int index = 0) const {
        std::vector<std::string> values;
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr);
        while (sqlite3_step(statement) == SQLITE_ROW) {
            const auto* text = sqlite3_column_text(statement, index);
            values.emplace_back(text ? reinterpret_cast<const char*>(text) : "NULL");
        }
        sqlite3_finalize(statement);
        return values;
    }
    sqlite3* db = nullptr;
};

TEST(SqliteScript, FillsDefaultsAndNumbersIdentities) {
    Database database;
    for (const std::string& statement : sqliteScript()) database.run(statement);
    // Defaults as the database fills them; identities numbered. (The tables, declared types
    // and keys are compared with the T-SQL script below.)
    database.run(
        "INSERT INTO Empresas_Ejercicios (Cod_Empresa, Cod_Ejercicio, FechaInicio, "
        "FechaFin) VALUES (1, 2026, '2026-01-01', '2026-12-31')");
    EXPECT_EQ(database.column("SELECT Estado || '|' || LongitudesNivel || '|' || TipoNumeracion "
                              "FROM Empresas_Ejercicios"),
              std::vector<std::string>{"0|1,2,3,4,8|0"});
    database.run("INSERT INTO Conc_Extractos (Cod_Empresa) VALUES (1)");
    database.run("INSERT INTO Conc_Extractos (Cod_Empresa) VALUES (1)");
    EXPECT_EQ(database.column("SELECT Codigo || '|' || Pendiente || '|' || Asiento FROM "
                              "Conc_Extractos ORDER BY Codigo"),
              (std::vector<std::string>{"1|1|0", "2|1|0"}));
    database.run("INSERT INTO Asientos (Cod_Empresa, Cod_Ejercicio, Codigo) VALUES (1, 2026, 1)");
    const auto created = database.column("SELECT FechaCreacion FROM Asientos");
    ASSERT_EQ(created.size(), 1u);
    EXPECT_EQ(created[0].size(), 23u) << created[0];  // YYYY-MM-DD HH:MM:SS.mmm
    EXPECT_EQ(database.column("SELECT Nulo || Exportar || Importar FROM Asientos"),
              std::vector<std::string>{"000"});
}

// The reads and changes the library makes by entry, by line and by account go through an
// index that leads with what they look for, instead of reading the whole exercise: their
// query plans, and the same indexes in the T-SQL script. An index never changes the order in
// which a statement without ORDER BY meets its rows: the entry indexes end with the line.
TEST(SqliteScript, ReadsByEntryLineAndAccountUseTheirIndexes) {
    Database database;
    for (const std::string& statement : sqliteScript()) database.run(statement);
    const std::vector<std::pair<std::string, std::string>> cases{
        {"SELECT Apunte, Cuenta FROM Movimientos WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 "
         "AND Cod_Asiento = 57 ORDER BY Apunte",
         "SEARCH Movimientos USING INDEX IX_Movimientos_Asiento (Cod_Empresa=? AND "
         "Cod_Ejercicio=? AND Cod_Asiento=?)"},
        {"SELECT D3, H3 FROM Acumulados WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 AND "
         "Cuenta = '430'",
         "SEARCH Acumulados USING INDEX sqlite_autoindex_Acumulados_1 (Cod_Empresa=? AND "
         "Cod_Ejercicio=? AND Cuenta=?)"},
        {"DELETE FROM Iva WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 AND Asiento = 57",
         "SEARCH Iva USING INDEX IX_Iva_Asiento (Cod_Empresa=? AND Cod_Ejercicio=? AND "
         "Asiento=?)"},
        {"DELETE FROM Igic WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 AND Asiento = 57",
         "SEARCH Igic USING INDEX IX_Igic_Asiento (Cod_Empresa=? AND Cod_Ejercicio=? AND "
         "Asiento=?)"},
        {"DELETE FROM Irpf WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 AND Asiento = 57",
         "SEARCH Irpf USING INDEX IX_Irpf_Asiento (Cod_Empresa=? AND Cod_Ejercicio=? AND "
         "Asiento=?)"},
        {"DELETE FROM Movimientos_Sec WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 AND "
         "Apunte = 9",
         "SEARCH Movimientos_Sec USING INDEX IX_Movimientos_Sec_Apunte (Cod_Empresa=? AND "
         "Cod_Ejercicio=? AND Apunte=?)"},
        {"UPDATE Conc_Extractos SET Pendiente = 1 WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 "
         "AND Apunte_Mto = 9",
         "SEARCH Conc_Extractos USING INDEX IX_Conc_Extractos_Apunte (Cod_Empresa=? AND "
         "Cod_Ejercicio=? AND Apunte_Mto=?)"},
        {"DELETE FROM Previsiones_Pago WHERE Cod_Empresa = 1 AND ApunteMov = 9 AND "
         "(Cod_EjercicioMov = 2026 OR Cod_EjercicioMov = 2025)",
         "SEARCH Previsiones_Pago USING INDEX IX_Previsiones_Pago_Mov (Cod_Empresa=? AND "
         "ApunteMov=?)"},
        {"UPDATE Previsiones_Pago SET Asiento = 3 WHERE Cod_Empresa = 1 AND Cod_EjercicioMov = "
         "2026 AND Asiento = 57",
         "SEARCH Previsiones_Pago USING INDEX IX_Previsiones_Pago_Asiento (Cod_Empresa=? AND "
         "Cod_EjercicioMov=? AND Asiento=?)"},
        {"UPDATE Previsiones_Pago SET Estado = 1 WHERE Cod_Empresa = 1 AND Cuenta BETWEEN "
         "'40000001' AND '40000009' AND Fecha_Vto BETWEEN '2026-01-01' AND '2026-12-31'",
         "SEARCH Previsiones_Pago USING INDEX IX_Previsiones_Pago_Cuenta (Cod_Empresa=? AND "
         "Cuenta>? AND Cuenta<?)"},
    };
    for (const auto& [statement, plan] : cases) {
        EXPECT_EQ(database.column("EXPLAIN QUERY PLAN " + statement, 3),
                  std::vector<std::string>{plan})
            << statement;
    }
    const auto tsql = tsqlScript();
    for (const char* index :
         {"CREATE INDEX [IX_Movimientos_Asiento] ON [dbo].[Movimientos] ([Cod_Empresa], "
          "[Cod_Ejercicio], [Cod_Asiento], [Apunte])",
          "CREATE INDEX [IX_Iva_Asiento] ON [dbo].[Iva] ([Cod_Empresa], [Cod_Ejercicio], "
          "[Asiento], [Apunte])",
          "CREATE INDEX [IX_Previsiones_Pago_Mov] ON [dbo].[Previsiones_Pago] ([Cod_Empresa], "
          "[ApunteMov])"}) {
        EXPECT_NE(std::find(tsql.begin(), tsql.end(), index), tsql.end()) << index;
    }
}

TEST(SqliteScript, TextsCompareWithoutCaseAndKeysRefuseDuplicatesAndNulls) {
    Database database;
    for (const std::string& statement : sqliteScript()) database.run(statement);
    database.run("INSERT INTO Conceptos (Codigo, Nombre) VALUES ('abc', 'Uno')");
    EXPECT_EQ(database.column("SELECT Nombre FROM Conceptos WHERE Codigo = 'ABC'"),
              std::vector<std::string>{"Uno"});
    EXPECT_THROW(database.run("INSERT INTO Conceptos (Codigo) VALUES ('ABC')"), std::runtime_error);
    EXPECT_THROW(database.run("INSERT INTO Cuentas (Cod_Empresa, Cod_Ejercicio) VALUES (1, 1)"),
                 std::runtime_error);
    EXPECT_THROW(database.run("INSERT INTO SGD_Usuarios (Codigo) VALUES (1)"), std::runtime_error);
    EXPECT_EQ(database.column("SELECT sql FROM sqlite_schema WHERE name = 'Cuentas'"),
              std::vector<std::string>{
                  "CREATE TABLE Cuentas (\n"
                  "    Cod_Empresa SMALLINT NOT NULL,\n"
                  "    Cod_Ejercicio SMALLINT NOT NULL,\n"
                  "    Cuenta VARCHAR(20) COLLATE NOCASE NOT NULL,\n"
                  "    Nombre VARCHAR(255) COLLATE NOCASE,\n"
                  "    Especial VARCHAR(10) COLLATE NOCASE,\n"
                  "    CONSTRAINT PK_Cuentas PRIMARY KEY (Cod_Empresa, Cod_Ejercicio, Cuenta)\n"
                  ")"});
}

// The T-SQL script declares the same database as the SQLite script. SQLite reads both: the
// T-SQL batches need only their schema prefix dropped and varchar(max) spelt TEXT (SQLite takes
// only numbers in a type's parentheses); both are then compared column by column as SQLite
// reports them.

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
}

/// One line per column of every table, in creation order: name, type, NOT NULL, identity,
/// default (the current time as "now") and position in the primary key.
std::vector<std::string> describe(const Database& database) {
    std::vector<std::string> lines;
    for (const std::string& table :
         database.column("SELECT name FROM sqlite_schema WHERE type = 'table' AND name NOT "
                         "LIKE 'sqlite%' ORDER BY rowid")) {
        for (const std::string& column : database.column(
                 "SELECT name || '|' || type || '|' || \"notnull\" || '|' || pk || '|' || "
                 "IFNULL(dflt_value, '') FROM pragma_table_info('" + table + "')")) {
            std::vector<std::string> field(1);
            for (char c : column) {
                if (c == '|' && field.size() < 5)
                    field.emplace_back();
                else
                    field.back() += c;
            }
            std::string declared = field[1];
            // SQLite numbers an INTEGER PRIMARY KEY itself, and it never holds Null.
            bool identity = field[3] != "0" && declared == "INTEGER";
            if (const auto marker = declared.find(" IDENTITY(1,1)"); marker != std::string::npos) {
                identity = true;
                declared.erase(marker);
            }
            const auto type = parseTypeName(declared);
            EXPECT_TRUE(type.has_value()) << table << ": " << declared;
            const std::string& value = field[4];
            const bool now = value == "GETDATE()" || value.find("'now'") != std::string::npos;
            lines.push_back(table + "." + field[0] + " " + (type ? tsqlTypeName(*type) : declared) +
                            (field[2] != "0" || identity ? " NOT NULL" : "") +
                            (identity ? " IDENTITY" : "") + " DEFAULT " + (now ? "now" : value) +
                            " KEY " + field[3]);
        }
    }
    return lines;
}

TEST(SchemaDialects, DeclareTheSameTablesColumnsKeysAndDefaults) {
    Database embedded;
    embedded.run(scriptText(Dialect::Sqlite));

    // The T-SQL script file: every batch of tsqlScript() followed by a GO line.
    const std::string script = scriptText(Dialect::Tsql);
    std::vector<std::string> batches;
    for (std::size_t start = 0, at; (at = script.find("\nGO\n", start)) != std::string::npos;
         start = at + 5)
        batches.push_back(script.substr(start, at - start));
    ASSERT_EQ(batches, tsqlScript());

    Database server;
    std::size_t tables = 0;
    for (std::string batch : batches) {
        if (!batch.starts_with("CREATE TABLE [dbo].[")) continue;
        const std::string name = batch.substr(20, batch.find(']', 20) - 20);
        const bool keyed = findTable(name) && !findTable(name)->primaryKey.empty();
        EXPECT_EQ(batch.find("CONSTRAINT [PK_" + name + "] PRIMARY KEY") != std::string::npos,
                  keyed)
            << name;
        replaceAll(batch, "[dbo].", "");
        replaceAll(batch, "varchar(max)", "text");
        EXPECT_NO_THROW(server.run(batch)) << batch;
        ++tables;
    }
    EXPECT_EQ(tables, companyTables().size());
    const std::vector<std::string> columns = describe(embedded);
    std::size_t declared = 0;
    for (const Table& table : companyTables()) declared += table.columns.size();
    EXPECT_EQ(columns.size(), declared);
    EXPECT_EQ(describe(server), columns);
}

TEST(SchemaDialects, TsqlScriptDefinesTheNumberingProcedures) {
    // The parameters the callers pass; the number is reserved under a lock held to the end of
    // a transaction of its own.
    const std::vector<std::pair<std::string, std::string>> procedures{
        {"CON_DevAsiento",
         "    @Cod_Empresa smallint,\n    @Cod_Ejercicio smallint,\n    @Mes tinyint,\n"
         "    @Dia tinyint,\n    @TipoNum tinyint,\n    @Asiento int OUTPUT\nAS\n"},
        {"CON_DevMovApunte",
         "    @Cod_Empresa smallint,\n    @Cod_Ejercicio smallint,\n    @Apunte int OUTPUT\nAS\n"},
    };
    const std::vector<std::string> script = tsqlScript();
    ASSERT_GT(script.size(), procedures.size());
    const std::size_t first = script.size() - procedures.size();
    for (std::size_t i = 0; i < procedures.size(); ++i) {
        const std::string& batch = script[first + i];
        const auto& [name, parameters] = procedures[i];
        EXPECT_TRUE(batch.starts_with("CREATE PROCEDURE [dbo].[" + name + "]\n" + parameters))
            << batch.substr(0, 200);
        for (const char* piece :
             {"WITH (UPDLOCK, HOLDLOCK)", "BEGIN TRANSACTION;", "COMMIT TRANSACTION;"})
            EXPECT_NE(batch.find(piece), std::string::npos) << name << ": " << piece;
    }
}

}  // namespace
}  // namespace kvlnmov::schema
