#include "kvlnmov/masters/cls_apertura.h"

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {

namespace {

/// " AND Cuenta ='" followed by the summary account of `level`: the account's leading
/// `LongitudNivel(level)` characters.
std::string summaryAccount(kvlnmov::cEmpresa& context, const std::string& account,
                           std::int16_t level) {
    const std::int16_t length = context.LongitudNivel(level);
    if (length < 0) {
        throw Error(errc::kInvalidProcedureCall, kRuntimeSource,
                    "Invalid procedure call or argument");
    }
    return sql::andAccount(sql::cut(account, static_cast<std::size_t>(length)));
}

}  // namespace

bool clsApertura::Insertar() {
    return plainHandler("clsApertura::Insertar", Access::Writes, [&] {
        kvlnmov::cEmpresa& context = empresa();
        connection().Execute(
            "INSERT INTO Acumulados (Cod_Empresa, Cod_Ejercicio, Cuenta, Nivel, Apertura) VALUES "
            "(" +
            sql::integer(context.Cod_Empresa()) + ", " + sql::integer(context.Cod_Ejercicio()) +
            ", '" + sql::text(cuenta_) + "', " + sql::integer(context.Niveles()) + ", " +
            sql::number(apertura_) + ")");
        for (std::int16_t level = 0; level <= context.Niveles() - 2; ++level) {
            connection().Execute("UPDATE Acumulados SET Apertura = Apertura + " +
                                 sql::number(apertura_) + sql::whereCompanyExercise(context) +
                                 summaryAccount(context, cuenta_, level));
        }
        // The result is never set: success is the absence of an error.
        return false;
    });
}

bool clsApertura::Cargar() {
    return plainHandler("clsApertura::Cargar", Access::Reads, [&] {
        kvlnmov::cEmpresa& context = empresa();
        apertura_ = Currency();
        db::Recordset row;
        row.Open(
            "SELECT Apertura FROM Acumulados"
            " WHERE Cod_Empresa =" +
                sql::integer(context.Cod_Empresa()) +
                " And Cod_Ejercicio =" + sql::integer(context.Cod_Ejercicio()) + " And Cuenta = '" +
                sql::text(cuenta_) + "'",
            connectionRef());
        if (!row.Eof()) apertura_ = row.Fields("Apertura").toCurrency();
        row.Close();
        return true;
    });
}

bool clsApertura::Modificar() {
    return plainHandler("clsApertura::Modificar", Access::Writes, [&] {
        const Currency newAmount = apertura_;
        if (Cargar()) {
            const Currency oldAmount = apertura_;
            kvlnmov::cEmpresa& context = empresa();
            connection().Execute("UPDATE Acumulados SET Apertura =" + sql::number(newAmount) +
                                 sql::whereCompanyExercise(context) + sql::andAccount(cuenta_));
            for (std::int16_t level = 0; level <= context.Niveles() - 2; ++level) {
                const std::string where =
                    sql::whereCompanyExercise(context) + summaryAccount(context, cuenta_, level);
                if (!oldAmount.isZero()) {
                    connection().Execute("UPDATE Acumulados SET Apertura = Apertura - (" +
                                         sql::number(oldAmount) + ")" + where);
                }
                if (!newAmount.isZero()) {
                    connection().Execute("UPDATE Acumulados SET Apertura = Apertura + (" +
                                         sql::number(newAmount) + ")" + where);
                }
            }
        } else {
            apertura_ = newAmount;
            Insertar();
        }
        // The result is never set: success is the absence of an error.
        return false;
    });
}

}  // namespace kvlnmov
