// The company database's tables: every column with its SQL Server type, nullability,
// default and identity, and every primary key.

#include "kvlnmov/schema/schema.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <initializer_list>

#include "kvlnmov/frame/text.h"

namespace kvlnmov::schema {

namespace {

constexpr ColumnType kBit{SqlType::Bit};
constexpr ColumnType kTinyInt{SqlType::TinyInt};
constexpr ColumnType kSmallInt{SqlType::SmallInt};
constexpr ColumnType kInt{SqlType::Int};
constexpr ColumnType kMoney{SqlType::Money};
constexpr ColumnType kDateTime{SqlType::DateTime};
constexpr ColumnType kText{SqlType::Text};
constexpr ColumnType varchar(int length) { return ColumnType{SqlType::VarChar, length}; }

// Column builders: a nullable column, a NOT NULL one, and an identity column.
Column col(std::string name, ColumnType type, Default defaultValue = Default::None) {
    return Column{std::move(name), type, true, false, defaultValue, {}};
}
Column required(std::string name, ColumnType type, Default defaultValue = Default::None) {
    return Column{std::move(name), type, false, false, defaultValue, {}};
}
Column withLiteral(Column column, std::string literal) {
    column.defaultLiteral = std::move(literal);
    return column;
}
Column identity(std::string name) {
    return Column{std::move(name), kInt, false, true, Default::None, {}};
}

// A table; every primary key column is NOT NULL.
Table table(std::string name, std::vector<Column> columns,
            std::vector<std::string> primaryKey = {}) {
    for (Column& column : columns) {
        if (std::find(primaryKey.begin(), primaryKey.end(), column.name) != primaryKey.end())
            column.nullable = false;
    }
    return Table{std::move(name), std::move(columns), std::move(primaryKey)};
}

// The columns of `source` named in `names`, in that order, as plain nullable columns without
// defaults (backup copies of live rows).
std::vector<Column> copies(const Table& source, std::initializer_list<const char*> names) {
    std::vector<Column> result;
    for (const char* name : names) {
        const Column* column = source.find(name);
        result.push_back(col(column->name, column->type));
    }
    return result;
}

std::vector<Column> prepend(Column first, std::vector<Column> rest) {
    rest.insert(rest.begin(), std::move(first));
    return rest;
}

std::vector<Column> balanceColumns(bool withDepartment) {
    std::vector<Column> columns{col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt),
                                col("Cuenta", varchar(20))};
    if (withDepartment) columns.push_back(col("Dpto", kSmallInt));
    columns.push_back(required("Nivel", kSmallInt, Default::Zero));
    columns.push_back(required("Apertura", kMoney, Default::Zero));
    columns.push_back(required("Cierre", kMoney, Default::Zero));
    for (const char* side : {"D", "H"}) {
        for (int month = 1; month <= 12; ++month)
            columns.push_back(required(side + std::to_string(month), kMoney, Default::Zero));
    }
    return columns;
}

Table invoiceBook(std::string name) {
    Table book = table(
        name,
        {col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt), col("Apunte", kInt),
         col("Libro", kSmallInt), col("Fecha", kDateTime), col("Cuenta", varchar(20)),
         col("Documento", varchar(50)), col("Asiento", kInt), col("Nombre", varchar(100)),
         col("Nif", varchar(20)), col("InvSujetoPasivo", kBit, Default::Zero),
         col("TipoOpTributaria", kSmallInt, Default::Zero),
         col("EmitidaPorTercerosODestinatario", kBit, Default::Zero)},
        {"Cod_Empresa", "Cod_Ejercicio", "Apunte"});
    // The records of one entry, in line order (the order a read of the whole exercise gave):
    // what annulment and renumbering read and change.
    book.indexes = {
        {"IX_" + name + "_Asiento", {"Cod_Empresa", "Cod_Ejercicio", "Asiento", "Apunte"}}};
    return book;
}

Table invoiceBookLines(std::string name) {
    return table(
        std::move(name),
        {col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt), col("Apunte", kInt),
         col("NumLinea", kSmallInt), col("TipoOp", kSmallInt), col("Base", kMoney),
         col("Tipo", kSmallInt), col("Cuota", kMoney), col("Deducible", kMoney)},
        {"Cod_Empresa", "Cod_Ejercicio", "Apunte", "NumLinea"});
}

std::vector<Table> buildTables() {
    std::vector<Table> tables;
    tables.push_back(table("Empresas",
                           {col("Codigo", kSmallInt), col("Nombre", varchar(100)),
                            col("Nif", varchar(20)), col("OficinaCentral", kBit, Default::Zero)},
                           {"Codigo"}));
    tables.push_back(table("Empresas_Ejercicios",
                           {col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt),
                            col("Estado", kBit, Default::Zero), required("FechaInicio", kDateTime),
                            required("FechaFin", kDateTime),
                            withLiteral(required("LongitudesNivel", varchar(50)), "'1,2,3,4,8'"),
                            required("TipoNumeracion", kSmallInt, Default::Zero),
                            required("TipoImpuesto", kSmallInt, Default::Zero)},
                           {"Cod_Empresa", "Cod_Ejercicio"}));
    tables.push_back(table("Cuentas",
                           {col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt),
                            col("Cuenta", varchar(20)), col("Nombre", varchar(255)),
                            col("Especial", varchar(10))},
                           {"Cod_Empresa", "Cod_Ejercicio", "Cuenta"}));
    tables.push_back(
        table("Conceptos",
              {col("Codigo", varchar(20)), col("Nombre", varchar(100)),
               col("Debe", kBit, Default::Zero), col("Automatico", kBit, Default::Zero),
               col("Impuestos", kTinyInt, Default::Zero), col("M347", kBit, Default::Zero)},
              {"Codigo"}));
    tables.push_back(
        table("Acumulados", balanceColumns(false), {"Cod_Empresa", "Cod_Ejercicio", "Cuenta"}));
    tables.push_back(table("Acumulados_Dpto", balanceColumns(true),
                           {"Cod_Empresa", "Cod_Ejercicio", "Cuenta", "Dpto"}));

    Table movements = table("Movimientos",
                                  {col("Cod_Empresa", kSmallInt),
                                   col("Cod_Ejercicio", kSmallInt),
                                   col("Cod_Asiento", kInt),
                                   col("Apunte", kInt),
                                   col("Fecha_Asiento", kDateTime),
                                   col("Cuenta", varchar(20)),
                                   col("Fecha_Apunte", kDateTime),
                                   col("Cto_Aut", varchar(20)),
                                   col("Concepto", varchar(60)),
                                   col("Documento", varchar(50)),
                                   col("Diario", kSmallInt),
                                   col("Dpto", kSmallInt),
                                   col("Debe", kMoney, Default::Zero),
                                   col("Haber", kMoney, Default::Zero),
                                   col("Punteo", kSmallInt, Default::Zero),
                                   col("M347", kBit, Default::Zero),
                                   col("Imp_ApunteRef", kInt),
                                   col("Imp_Prop", kSmallInt),
                                   col("Imp_Base", kMoney, Default::Zero),
                                   col("Imp_Cuota", kMoney, Default::Zero),
                                   col("Imp_Tipo", kSmallInt),
                                   col("Imp_Op", kSmallInt),
                                   col("Imp_Contrap", varchar(20)),
                                   col("Cod_Usuario", kSmallInt),
                                   col("FechaUltMod", kDateTime)},
                                  {"Cod_Empresa", "Cod_Ejercicio", "Apunte"});
    // The lines of one entry, in line order: what the entry viewer, annulment, renumbering and
    // the books read by entry number.
    movements.indexes = {{"IX_Movimientos_Asiento",
                          {"Cod_Empresa", "Cod_Ejercicio", "Cod_Asiento", "Apunte"}}};
    tables.push_back(movements);

    // The deleted-lines log: who deleted, then the line as it was (without the change stamp).
    std::vector<Column> deleted{col("Cod_Usuario", kSmallInt)};
    for (const Column& column : movements.columns) {
        if (column.name == "Cod_Usuario") break;
        Column copy = column;
        copy.nullable = true;
        deleted.push_back(copy);
    }
    tables.push_back(table("Movimientos_Eliminados", std::move(deleted)));

    tables.push_back(table(
        "Movimientos_SII",
        {col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt), col("Apunte", kInt),
         col("TipoLibro", kSmallInt), col("IDLibroFactura", kInt), col("TipoFactura", kSmallInt),
         col("NumSerieFacturaEmisor", varchar(60)), col("FechaFacturaEmisor", kDateTime)},
        {"Cod_Empresa", "Cod_Ejercicio", "Apunte", "TipoLibro", "IDLibroFactura", "TipoFactura"}));
    Table secondary = table(
        "Movimientos_Sec", {col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt),
                            col("Apunte", kInt), col("Contrap", varchar(20)), col("Base", kMoney),
                            col("TipoOp", kSmallInt), col("Asiento", kInt), col("Dpto", kSmallInt),
                            col("Imp_Tipo", kSmallInt), col("Cuota", kMoney)});
    // The secondary records of one line.
    secondary.indexes = {
        {"IX_Movimientos_Sec_Apunte", {"Cod_Empresa", "Cod_Ejercicio", "Apunte"}}};
    tables.push_back(secondary);

    const Table entries =
        table("Asientos",
              {col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt), col("Codigo", kInt),
               col("Fecha", kDateTime), col("Nulo", kBit, Default::Zero), col("Cierre", kBit),
               col("Usuario", kSmallInt), col("FechaCreacion", kDateTime, Default::Now),
               col("FechaUltMod", kDateTime), col("Observaciones", kText),
               col("CodigoExterno", varchar(50)), col("Exportar", kBit, Default::Zero),
               col("Importar", kBit, Default::Zero)},
              {"Cod_Empresa", "Cod_Ejercicio", "Codigo"});
    tables.push_back(entries);
    tables.push_back(table("Asientos_Bloqueo",
                           {col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt),
                            col("Codigo", kInt), col("Usuario", kSmallInt)},
                           {"Cod_Empresa", "Cod_Ejercicio", "Codigo"}));
    tables.push_back(
        table("Contador_Asientos",
              {col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt), col("Mes", kTinyInt),
               col("Dia", kTinyInt), required("cAsiento", kInt, Default::Zero)},
              {"Cod_Empresa", "Cod_Ejercicio", "Mes", "Dia"}));
    tables.push_back(table("Contador_Apuntes",
                           {col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt),
                            required("cApunte", kInt, Default::Zero)},
                           {"Cod_Empresa", "Cod_Ejercicio"}));
    Table statements =
        table("Conc_Extractos",
              {identity("Codigo"), col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt),
               col("Fecha", kDateTime), col("Concepto", varchar(60)), col("Importe", kMoney),
               withLiteral(col("Pendiente", kBit), "1"), col("Asiento", kInt, Default::Zero),
               col("Apunte_Mto", kInt, Default::Zero)},
              {"Codigo"});
    // The bank statement lines matched to one journal line.
    statements.indexes = {
        {"IX_Conc_Extractos_Apunte", {"Cod_Empresa", "Cod_Ejercicio", "Apunte_Mto"}}};
    tables.push_back(statements);
    tables.push_back(table("Amortizaciones",
                           {col("Cod_Empresa", kSmallInt), col("Codigo", kInt),
                            col("Nombre", varchar(100)), col("Amortizado", kMoney, Default::Zero)},
                           {"Cod_Empresa", "Codigo"}));
    tables.push_back(
        table("Amortizaciones_Plan",
              {col("Cod_Empresa", kSmallInt), col("Codigo", kInt), col("Fecha", kDateTime),
               col("Dotacion", kMoney, Default::Zero), col("Asiento", kInt, Default::Zero)},
              {"Cod_Empresa", "Codigo", "Fecha"}));

    const Table igic = invoiceBook("Igic");
    const Table igicLines = invoiceBookLines("Igic_Lineas");
    tables.push_back(igic);
    tables.push_back(invoiceBook("Iva"));
    tables.push_back(igicLines);
    tables.push_back(invoiceBookLines("Iva_Lineas"));
    Table withholding =
        table("Irpf",
              {col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt), col("Apunte", kInt),
               col("Libro", kSmallInt), col("Cod_Irpf", kSmallInt), col("Tipo", kSmallInt),
               col("Fecha", kDateTime), col("CuentaIrpf", varchar(20)),
               col("Documento", varchar(50)), col("Asiento", kInt), col("Cuenta", varchar(20)),
               col("Nombre", varchar(100)), col("Nif", varchar(20)), col("ImporteBase", kMoney),
               col("ImporteIrpf", kMoney), col("ImporteFactura", kMoney)},
              {"Cod_Empresa", "Cod_Ejercicio", "Apunte"});
    withholding.indexes = {
        {"IX_Irpf_Asiento", {"Cod_Empresa", "Cod_Ejercicio", "Asiento", "Apunte"}}};
    tables.push_back(withholding);

    // Backups of annulled entries, all rows of one annulment under one IDBak.
    tables.push_back(
        table("BakAnulado_Asientos",
              prepend(identity("IDBak"),
                      copies(entries, {"Cod_Empresa", "Cod_Ejercicio", "Codigo", "Fecha", "Nulo",
                                       "Cierre", "Usuario", "Exportar", "Importar"})),
              {"IDBak"}));
    const Column backupId = col("IDBak", kInt);
    for (const char* name : {"BakAnulado_Igic_Lineas", "BakAnulado_Iva_Lineas"}) {
        tables.push_back(table(
            name,
            prepend(backupId, copies(igicLines, {"Cod_Empresa", "Cod_Ejercicio", "Apunte",
                                                 "NumLinea", "TipoOp", "Base", "Tipo", "Cuota"}))));
    }
    const std::initializer_list<const char*> bookColumns{"Cod_Empresa", "Cod_Ejercicio", "Apunte",
                                                         "Libro",       "Fecha",         "Cuenta",
                                                         "Documento",   "Asiento"};
    tables.push_back(table("BakAnulado_Igic", prepend(backupId, copies(igic, bookColumns))));
    tables.push_back(table("BakAnulado_Iva", prepend(backupId, copies(igic, bookColumns))));
    tables.push_back(table("BakAnulado_Irpf", prepend(backupId, copies(withholding, bookColumns))));
    tables.push_back(table(
        "BakAnulado_Movimientos_Sec",
        prepend(backupId, copies(secondary, {"Cod_Empresa", "Cod_Ejercicio", "Apunte", "Contrap",
                                             "Base", "TipoOp", "Asiento", "Dpto", "Imp_Tipo"}))));
    tables.push_back(table(
        "BakAnulado_Movimientos",
        prepend(backupId,
                copies(movements,
                       {"Cod_Empresa",  "Cod_Ejercicio", "Cod_Asiento", "Apunte",   "Fecha_Asiento",
                        "Fecha_Apunte", "Cuenta",        "Cto_Aut",     "Concepto", "Documento",
                        "Diario",       "Dpto",          "Debe",        "Haber",    "Punteo",
                        "M347",         "Imp_ApunteRef", "Imp_Prop",    "Imp_Base", "Imp_Tipo",
                        "Imp_Op",       "Imp_Contrap"}))));

    Table payments = table(
        "Previsiones_Pago",
        {identity("Apunte"), col("Cod_Empresa", kSmallInt), col("ApunteMov", kInt, Default::Zero),
         col("Cod_EjercicioMov", kSmallInt, Default::Zero), col("Cuenta", varchar(20)),
         col("Documento", varchar(50)), col("Documento2", varchar(50)),
         col("Asiento", kInt, Default::Zero), col("Fecha_Doc", kDateTime),
         col("Fecha_Vto", kDateTime), col("Banco", varchar(40)),
         col("FormaPago", kSmallInt, Default::Zero), col("Importe", kMoney, Default::Zero),
         col("Estado", kSmallInt, Default::Zero), col("CuentaOriginal", varchar(20)),
         col("Dpto", kSmallInt, Default::Zero)},
        {"Apunte"});
    // The forecasts of one journal line, of one entry, and of an account's due dates.
    payments.indexes = {
        {"IX_Previsiones_Pago_Mov", {"Cod_Empresa", "ApunteMov"}},
        {"IX_Previsiones_Pago_Asiento", {"Cod_Empresa", "Cod_EjercicioMov", "Asiento"}},
        {"IX_Previsiones_Pago_Cuenta", {"Cod_Empresa", "Cuenta", "Fecha_Vto"}}};
    tables.push_back(payments);
    tables.push_back(
        table("Previsiones_Pago_Asientos",
              {col("Apunte", kInt), col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt),
               col("Cod_Asiento", kInt), col("ApunteMov", kInt), col("Estado", kSmallInt)},
              {"Apunte"}));
    tables.push_back(table(
        "Previsiones_Cobro",
        {identity("Apunte"), col("ApunteMov", kInt, Default::Zero), col("Cod_Empresa", kSmallInt),
         col("Cod_Ejercicio", kSmallInt), col("Cuenta", varchar(20)), col("Documento", varchar(50)),
         col("Asiento", kInt, Default::Zero), col("Fecha_Doc", kDateTime),
         col("Fecha_Vto", kDateTime), col("Banco", varchar(40)),
         col("FormaCobro", kSmallInt, Default::Zero), col("Importe", kMoney, Default::Zero),
         col("Estado", kSmallInt, Default::Zero), col("Cobrador", kSmallInt, Default::Zero),
         col("Agente", kSmallInt, Default::Zero), col("Remesa", kInt, Default::Zero),
         col("CuentaOriginal", varchar(20)), col("BancoDoc", kSmallInt, Default::Zero)},
        {"Apunte"}));
    tables.push_back(
        table("PVivas_Apertura",
              {identity("Apunte"), col("Cod_Empresa", kSmallInt), col("Cod_Ejercicio", kSmallInt),
               col("Cod_Asiento", kInt), col("Fecha", kDateTime), col("Cuenta", varchar(20)),
               col("Fecha_Apunte", kDateTime), col("Concepto", varchar(60)),
               col("Documento", varchar(50)), col("Diario", kSmallInt), col("Dpto", kSmallInt),
               col("Debe", kMoney), col("Haber", kMoney)},
              {"Apunte"}));
    tables.push_back(table("Asientos_Aut",
                           {col("Cod_Empresa", kSmallInt), col("Codigo", varchar(20)),
                            col("Nombre", varchar(100)), col("Tipo", kSmallInt, Default::Zero)},
                           {"Cod_Empresa", "Codigo"}));
    tables.push_back(
        table("Apuntes_Aut",
              {identity("Apunte"), col("Cod_Empresa", kSmallInt), col("Cod_Asiento", varchar(20)),
               col("Cuenta", varchar(20)), col("Concepto", varchar(60)),
               col("Documento", varchar(50)), col("Diario", kSmallInt), col("Dpto", kSmallInt),
               col("Importe", kMoney), col("Tipo", kBit)},
              {"Apunte"}));

    tables.push_back(table("SGD_Usuarios",
                           {col("Codigo", kSmallInt),
                            col("Nombre", varchar(100)),
                            col("Alias", varchar(30)),
                            col("Password", varchar(50)),
                            col("Caja", varchar(20)),
                            col("Efectos", varchar(20)),
                            col("Tarjeta", varchar(20)),
                            col("Direccion", varchar(100)),
                            col("Cp", kInt),
                            col("Localidad", varchar(50)),
                            col("Provincia", varchar(50)),
                            col("Telefono", varchar(30)),
                            col("Pais", varchar(50)),
                            col("AccesoTPV", kBit),
                            col("AccesoCentral", kBit),
                            col("eMail", varchar(100)),
                            col("Enviado", kBit, Default::Zero),
                            col("Nif", varchar(20)),
                            col("FechaPassword", kDateTime),
                            col("FechaBloqueo", kDateTime),
                            required("ForzarPass", kBit)},
                           {"Codigo"}));
    tables.push_back(table("SGD_Usuarios_Grupos",
                           {col("CodUsuario", kSmallInt), col("CodGrupo", kSmallInt)},
                           {"CodUsuario", "CodGrupo"}));
    tables.push_back(table("SGD_XTR_Menus_Grupos",
                           {col("Modulo", kSmallInt), col("CodMenu", kInt),
                            col("CodGrupo", kSmallInt), col("TipoAcceso", kSmallInt)},
                           {"Modulo", "CodMenu", "CodGrupo"}));
    tables.push_back(
        table("SGD_Menus",
              {col("Codigo", kInt), col("NombreInterno", varchar(100)), col("Modulo", kSmallInt)},
              {"Codigo"}));
    tables.push_back(
        table("SGD_Menus_Grupos",
              {col("CodMenu", kInt), col("CodGrupo", kSmallInt), col("TipoAcceso", kSmallInt)},
              {"CodMenu", "CodGrupo"}));
    tables.push_back(table("SGD_Cuentas_Grupos",
                           {col("Cod_Grupo", kSmallInt), col("Cod_Empresa", kSmallInt),
                            col("CtaInicial", varchar(20)), col("CtaFinal", varchar(20))},
                           {"Cod_Grupo", "Cod_Empresa", "CtaInicial", "CtaFinal"}));
    tables.push_back(table("SGD_Empresas_Grupos",
                           {col("Cod_Grupo", kSmallInt), col("Cod_Empresa", kSmallInt)},
                           {"Cod_Grupo", "Cod_Empresa"}));
    tables.push_back(table("SGD_Usuarios_Auditoria",
                           {col("Cod_Usuario", kSmallInt), col("FechaOperacion", kDateTime),
                            col("Operacion", kTinyInt)}));
    return tables;
}

}  // namespace

std::string tsqlTypeName(ColumnType type) {
    switch (type.type) {
        case SqlType::Bit:
            return "bit";
        case SqlType::TinyInt:
            return "tinyint";
        case SqlType::SmallInt:
            return "smallint";
        case SqlType::Int:
            return "int";
        case SqlType::Money:
            return "money";
        case SqlType::Float:
            return "float";
        case SqlType::DateTime:
            return "datetime";
        case SqlType::VarChar:
            return "varchar(" + std::to_string(type.length) + ")";
        case SqlType::Text:
            return "varchar(max)";
    }
    return "int";
}

std::optional<ColumnType> parseTypeName(std::string_view declared) {
    const std::string name = text::upperAscii(std::string(text::trim(declared)));
    static const std::pair<const char*, SqlType> kPlain[] = {
        {"BIT", SqlType::Bit},           {"TINYINT", SqlType::TinyInt},
        {"SMALLINT", SqlType::SmallInt}, {"INT", SqlType::Int},
        {"INTEGER", SqlType::Int},       {"MONEY", SqlType::Money},
        {"FLOAT", SqlType::Float},       {"DATETIME", SqlType::DateTime},
        {"TEXT", SqlType::Text},         {"VARCHAR(MAX)", SqlType::Text},
    };
    for (const auto& [text, type] : kPlain) {
        if (name == text) return ColumnType{type};
    }
    constexpr std::string_view kVarChar = "VARCHAR(";
    if (name.size() > kVarChar.size() + 1 && name.starts_with(kVarChar) && name.back() == ')') {
        const std::string_view digits = text::trim(
            std::string_view(name).substr(kVarChar.size(), name.size() - kVarChar.size() - 1));
        int length = 0;
        auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
        if (error == std::errc() && end == digits.data() + digits.size() && length > 0)
            return ColumnType{SqlType::VarChar, length};
    }
    return std::nullopt;
}

const Column* Table::find(std::string_view columnName) const {
    for (const Column& column : columns) {
        if (text::equalsIgnoringCase(column.name, columnName)) return &column;
    }
    return nullptr;
}

const std::vector<Table>& companyTables() {
    static const std::vector<Table> tables = buildTables();
    return tables;
}

const Table* findTable(std::string_view name) {
    for (const Table& table : companyTables()) {
        if (text::equalsIgnoringCase(table.name, name)) return &table;
    }
    return nullptr;
}

}  // namespace kvlnmov::schema
