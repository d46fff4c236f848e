// The advisory lock an application takes on an entry while a user edits it, and the two
// header edits.

#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/journal/cls_asiento.h"

namespace kvlnmov {

void clsAsiento::Bloqueo(bool bolBloquear, std::int16_t intUsuario) {
    retryingHandler("clsAsiento:Bloqueo", RetryKind::Everything, [&](RetryHandler& handler) {
        // A missing context fails at its first use and is repeated like any statement.
        kvlnmov::cEmpresa& context = empresa(handler);
        std::string key =
            sql::whereCompanyExercise(context) + " AND Codigo =" + sql::integer(codigo_);
        if (bolBloquear) {
            std::int32_t changed = handler.statement([&] {
                return connection().Execute(
                    "UPDATE Asientos_Bloqueo SET Usuario = " + sql::integer(intUsuario) + key);
            });
            if (changed == 0) {
                handler.statement([&] {
                    connection().Execute(
                        "INSERT INTO Asientos_Bloqueo (Cod_Empresa, Cod_Ejercicio, Codigo, "
                        "Usuario) VALUES (" +
                        sql::integer(context.Cod_Empresa()) + ", " +
                        sql::integer(context.Cod_Ejercicio()) + ", " + sql::integer(codigo_) +
                        ", " + sql::integer(intUsuario) + ")");
                });
            }
            return;
        }
        handler.statement([&] { connection().Execute("DELETE FROM Asientos_Bloqueo" + key); });
        // A header loaded without a change date reads as 1 January 1900 and is not stamped.
        if (fechaUltimaModificacion_ > Date::ymd(2000, 1, 1)) {
            handler.statement(
                [&] { connection().Execute("UPDATE Asientos SET FechaUltMod = GETDATE()" + key); });
        }
    });
}

void clsAsiento::Modificar() {
    plainHandler("Asientos::Modificar", Access::Writes, [&] {
        connection().Execute("UPDATE Asientos SET Usuario = " + sql::integer(usuario_) +
                             sql::whereCompanyExercise(empresa()) +
                             " AND Codigo =" + sql::integer(codigo_));
    });
}

void clsAsiento::Modificar_Observaciones() {
    plainHandler("Asientos::Modificar", Access::Writes, [&] {
        connection().Execute("UPDATE Asientos SET Usuario = " + sql::integer(usuario_) +
                             ", Observaciones ='" + sql::text(observaciones_) + "'" +
                             sql::whereCompanyExercise(empresa()) +
                             " AND Codigo =" + sql::integer(codigo_));
    });
}

}  // namespace kvlnmov
