// The company database definition and the SQLite DDL made from it.

#include "kvlnmov/schema/schema.h"

#include <gtest/gtest.h>
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

TEST(CompanyTables, DefinesKeysIdentitiesAndDefaults) {
    EXPECT_EQ(companyTables().size(), 44u);
    const Table* movements = findTable("movimientos");
    ASSERT_NE(movements, nullptr);
    EXPECT_EQ(movements->name, "Movimientos");
    EXPECT_EQ(movements->primaryKey,
              (std::vector<std::string>{"Cod_Empresa", "Cod_Ejercicio", "Apunte"}));
    EXPECT_EQ(movements->columns.size(), 25u);
    EXPECT_EQ(findTable("Nope"), nullptr);

    struct Case {
        const char* table;
        const char* column;
        ColumnType type;
        bool nullable;
        bool identity;
        Default defaultValue;
        const char* literal;
    };
    const std::vector<Case> cases{
        {"Movimientos", "apunte", {SqlType::Int}, false, false, Default::None, ""},
        {"Movimientos", "Debe", {SqlType::Money}, true, false, Default::Zero, ""},
        {"Movimientos", "Concepto", {SqlType::VarChar, 60}, true, false, Default::None, ""},
        {"Empresas_Ejercicios", "Estado", {SqlType::Bit}, true, false, Default::Zero, ""},
        {"Empresas_Ejercicios",
         "LongitudesNivel",
         {SqlType::VarChar, 50},
         false,
         false,
         Default::None,
         "'1,2,3,4,8'"},
        {"Asientos", "FechaCreacion", {SqlType::DateTime}, true, false, Default::Now, ""},
        {"Asientos", "Observaciones", {SqlType::Text}, true, false, Default::None, ""},
        {"Conc_Extractos", "Codigo", {SqlType::Int}, false, true, Default::None, ""},
        {"Conc_Extractos", "Pendiente", {SqlType::Bit}, true, false, Default::None, "1"},
        {"Acumulados", "H12", {SqlType::Money}, false, false, Default::Zero, ""},
        {"Acumulados_Dpto", "Dpto", {SqlType::SmallInt}, false, false, Default::None, ""},
        {"BakAnulado_Asientos", "IDBak", {SqlType::Int}, false, true, Default::None, ""},
        {"BakAnulado_Movimientos", "IDBak", {SqlType::Int}, true, false, Default::None, ""},
        {"BakAnulado_Movimientos", "Debe", {SqlType::Money}, true, false, Default::None, ""},
        {"Movimientos_Eliminados", "Apunte", {SqlType::Int}, true, false, Default::None, ""},
        {"SGD_Usuarios", "ForzarPass", {SqlType::Bit}, false, false, Default::None, ""},
        {"Contador_Asientos", "cAsiento", {SqlType::Int}, false, false, Default::Zero, ""},
    };
    for (const Case& c : cases) {
        const Table* table = findTable(c.table);
        ASSERT_NE(table, nullptr) << c.table;
        const Column* column = table->find(c.column);
        ASSERT_NE(column, nullptr) << c.table << "." << c.column;
        EXPECT_EQ(column->type, c.type) << c.column;
        EXPECT_EQ(column->nullable, c.nullable) << c.table << "." << c.column;
        EXPECT_EQ(column->identity, c.identity) << c.table << "." << c.column;
        EXPECT_EQ(column->defaultValue, c.defaultValue) << c.table << "." << c.column;
        EXPECT_EQ(column->defaultLiteral, c.literal) << c.table << "." << c.column;
    }

    // The deleted-lines log: the user, then the line's columns up to Imp_Contrap.
    const Table* deleted = findTable("Movimientos_Eliminados");
    ASSERT_NE(deleted, nullptr);
    EXPECT_EQ(deleted->columns.front().name, "Cod_Usuario");
    EXPECT_EQ(deleted->columns.back().name, "Imp_Contrap");
    EXPECT_EQ(deleted->columns.size(), 24u);
    EXPECT_TRUE(deleted->primaryKey.empty());
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
    std::vector<std::string> column(const std::string& sql) const {
        std::vector<std::string> values;
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr);
        while (sqlite3_step(statement) == SQLITE_ROW) {
            const auto* text = sqlite3_column_text(statement, 0);
            values.emplace_back(text ? reinterpret_cast<const char*>(text) : "NULL");
        }
        sqlite3_finalize(statement);
        return values;
    }
    sqlite3* db = nullptr;
};

TEST(SqliteScript, CreatesEveryTableWithDeclaredTypesKeysAndDefaults) {
    Database database;
    for (const std::string& statement : sqliteScript()) database.run(statement);
    EXPECT_EQ(database.column("SELECT count(*) FROM sqlite_schema WHERE type = 'table' AND "
                              "name NOT LIKE 'sqlite%'"),
              std::vector<std::string>{"44"});

    // Declared types are the T-SQL names; the key columns are listed in key order.
    EXPECT_EQ(
        database.column("SELECT type FROM pragma_table_info('Movimientos') WHERE name IN "
                        "('Cod_Empresa', 'Apunte', 'Debe', 'Fecha_Asiento', 'Concepto', "
                        "'M347') ORDER BY cid"),
        (std::vector<std::string>{"SMALLINT", "INT", "DATETIME", "VARCHAR(60)", "MONEY", "BIT"}));
    EXPECT_EQ(database.column("SELECT name FROM pragma_table_info('Acumulados_Dpto') WHERE pk > "
                              "0 ORDER BY pk"),
              (std::vector<std::string>{"Cod_Empresa", "Cod_Ejercicio", "Cuenta", "Dpto"}));
    EXPECT_EQ(database.column("SELECT type FROM pragma_table_info('Asientos') WHERE name = "
                              "'Observaciones'"),
              std::vector<std::string>{"TEXT"});

    // Defaults as the database fills them; identities numbered.
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
                  "    Nombre VARCHAR(100) COLLATE NOCASE,\n"
                  "    CONSTRAINT PK_Cuentas PRIMARY KEY (Cod_Empresa, Cod_Ejercicio, Cuenta)\n"
                  ")"});
}

}  // namespace
}  // namespace kvlnmov::schema
