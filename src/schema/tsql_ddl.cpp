// The company database as a T-SQL script for SQL Server: tables and numbering procedures.

#include "kvlnmov/schema/schema.h"

namespace kvlnmov::schema {

namespace {

// The T-SQL declaration of one column: bracketed name, type, IDENTITY, NULL or NOT NULL, and
// a default constraint named DF_<table>_<column>.
std::string tsqlColumn(const std::string& table, const Column& column) {
    std::string text = "[" + column.name + "] " + tsqlTypeName(column.type);
    if (column.identity) text += " IDENTITY(1,1)";
    text += column.nullable ? " NULL" : " NOT NULL";
    std::string defaultText;
    if (!column.defaultLiteral.empty()) {
        defaultText = column.defaultLiteral;
    } else if (column.defaultValue == Default::Zero) {
        defaultText = "0";
    } else if (column.defaultValue == Default::Now) {
        defaultText = "GETDATE()";
    }
    if (!defaultText.empty())
        text += " CONSTRAINT [DF_" + table + "_" + column.name + "] DEFAULT (" + defaultText + ")";
    return text;
}

// The numbering procedures. Each locks its counter row (or, when the row does not exist yet,
// the key range where it will be) with UPDLOCK and HOLDLOCK inside a transaction, so two
// sessions asking at once are served one after the other and never get the same number. The
// rules are those of the embedded provider: the next number is one above both the counter and
// the highest number already used, the opening and closing entries' numbers are never given,
// and a day whose range is used up answers 0 without changing anything.
constexpr const char* kTsqlNextEntryNumber = R"(CREATE PROCEDURE [dbo].[CON_DevAsiento]
    @Cod_Empresa smallint,
    @Cod_Ejercicio smallint,
    @Mes tinyint,
    @Dia tinyint,
    @TipoNum tinyint,
    @Asiento int OUTPUT
AS
BEGIN
    SET NOCOUNT ON;
    SET XACT_ABORT ON;
    DECLARE @Base bigint, @Ultimo bigint, @Saltado bigint;
    DECLARE @Contador bigint, @Maximo bigint, @Siguiente bigint;
    SET @Asiento = 0;
    IF @TipoNum = 0
    BEGIN
        -- One counter per exercise, kept in the row whose Mes and Dia are 0; 999999 belongs
        -- to the closing entry (0 to the opening one).
        SET @Mes = 0;
        SET @Dia = 0;
        SET @Base = 0;
        SET @Ultimo = 2147483647;
        SET @Saltado = 999999;
    END
    ELSE IF @TipoNum = 1
    BEGIN
        -- Month, day and a three-digit sequence; 000 and 999 belong to the opening and
        -- closing entries.
        SET @Base = CAST(@Mes AS bigint) * 100000 + CAST(@Dia AS bigint) * 1000;
        SET @Ultimo = @Base + 998;
        SET @Saltado = -1;
    END
    ELSE IF @TipoNum = 2
    BEGIN
        -- Month, day and a four-digit sequence; 0000 and 9999 are reserved likewise.
        SET @Base = CAST(@Mes AS bigint) * 1000000 + CAST(@Dia AS bigint) * 10000;
        SET @Ultimo = @Base + 9998;
        SET @Saltado = -1;
    END
    ELSE
        RETURN;

    BEGIN TRANSACTION;
    SELECT @Contador = cAsiento
        FROM [dbo].[Contador_Asientos] WITH (UPDLOCK, HOLDLOCK)
        WHERE Cod_Empresa = @Cod_Empresa AND Cod_Ejercicio = @Cod_Ejercicio
            AND Mes = @Mes AND Dia = @Dia;
    SELECT @Maximo = MAX(Codigo)
        FROM [dbo].[Asientos]
        WHERE Cod_Empresa = @Cod_Empresa AND Cod_Ejercicio = @Cod_Ejercicio
            AND Codigo BETWEEN @Base + 1 AND @Ultimo AND Codigo <> @Saltado;
    SET @Siguiente = ISNULL(@Contador, @Base);
    IF ISNULL(@Maximo, @Base) > @Siguiente
        SET @Siguiente = @Maximo;
    SET @Siguiente = @Siguiente + 1;
    IF @Siguiente = @Saltado
        SET @Siguiente = @Siguiente + 1;
    IF @Siguiente BETWEEN @Base + 1 AND @Ultimo
    BEGIN
        IF @Contador IS NULL
            INSERT INTO [dbo].[Contador_Asientos] (Cod_Empresa, Cod_Ejercicio, Mes, Dia, cAsiento)
                VALUES (@Cod_Empresa, @Cod_Ejercicio, @Mes, @Dia, @Siguiente);
        ELSE
            UPDATE [dbo].[Contador_Asientos] SET cAsiento = @Siguiente
                WHERE Cod_Empresa = @Cod_Empresa AND Cod_Ejercicio = @Cod_Ejercicio
                    AND Mes = @Mes AND Dia = @Dia;
        SET @Asiento = @Siguiente;
    END
    COMMIT TRANSACTION;
END)";

constexpr const char* kTsqlNextLineNumber = R"(CREATE PROCEDURE [dbo].[CON_DevMovApunte]
    @Cod_Empresa smallint,
    @Cod_Ejercicio smallint,
    @Apunte int OUTPUT
AS
BEGIN
    SET NOCOUNT ON;
    SET XACT_ABORT ON;
    DECLARE @Contador int, @Maximo int;
    SET @Apunte = 0;
    BEGIN TRANSACTION;
    -- The counter keeps the last number given, so a number is never given twice even after
    -- its line was deleted; it never falls below the highest line already posted.
    SELECT @Contador = cApunte
        FROM [dbo].[Contador_Apuntes] WITH (UPDLOCK, HOLDLOCK)
        WHERE Cod_Empresa = @Cod_Empresa AND Cod_Ejercicio = @Cod_Ejercicio;
    SELECT @Maximo = ISNULL(MAX(Apunte), 0)
        FROM [dbo].[Movimientos]
        WHERE Cod_Empresa = @Cod_Empresa AND Cod_Ejercicio = @Cod_Ejercicio;
    IF @Contador IS NULL
    BEGIN
        SET @Apunte = @Maximo + 1;
        INSERT INTO [dbo].[Contador_Apuntes] (Cod_Empresa, Cod_Ejercicio, cApunte)
            VALUES (@Cod_Empresa, @Cod_Ejercicio, @Apunte);
    END
    ELSE
    BEGIN
        SET @Apunte = CASE WHEN @Contador > @Maximo THEN @Contador + 1 ELSE @Maximo + 1 END;
        UPDATE [dbo].[Contador_Apuntes] SET cApunte = @Apunte
            WHERE Cod_Empresa = @Cod_Empresa AND Cod_Ejercicio = @Cod_Ejercicio;
    END
    COMMIT TRANSACTION;
END)";

}  // namespace

std::vector<std::string> tsqlScript() {
    std::vector<std::string> script;
    for (const Table& table : companyTables()) {
        std::string text = "CREATE TABLE [dbo].[" + table.name + "] (";
        bool first = true;
        for (const Column& column : table.columns) {
            text += first ? "\n    " : ",\n    ";
            text += tsqlColumn(table.name, column);
            first = false;
        }
        if (!table.primaryKey.empty()) {
            text += ",\n    CONSTRAINT [PK_" + table.name + "] PRIMARY KEY (";
            for (std::size_t i = 0; i < table.primaryKey.size(); ++i)
                text += (i ? ", [" : "[") + table.primaryKey[i] + "]";
            text += ")";
        }
        text += "\n)";
        script.push_back(std::move(text));
        for (const Index& index : table.indexes) {
            std::string create =
                "CREATE INDEX [" + index.name + "] ON [dbo].[" + table.name + "] (";
            for (std::size_t i = 0; i < index.columns.size(); ++i)
                create += (i ? ", [" : "[") + index.columns[i] + "]";
            script.push_back(create + ")");
        }
    }
    script.emplace_back(kTsqlNextEntryNumber);
    script.emplace_back(kTsqlNextLineNumber);
    return script;
}

std::string scriptText(Dialect dialect) {
    std::string text;
    if (dialect == Dialect::Tsql) {
        for (const std::string& batch : tsqlScript()) text += batch + "\nGO\n\n";
    } else {
        for (const std::string& statement : sqliteScript()) text += statement + ";\n\n";
    }
    if (!text.empty()) text.pop_back();
    return text;
}

}  // namespace kvlnmov::schema
