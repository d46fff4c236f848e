// Changes to one or a few columns of a posted line without re-posting it.

#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/journal/cls_mov.h"

namespace kvlnmov {

namespace {
constexpr std::size_t kConceptLength = 60;
const std::string kNotModified = "Error. No se ha modificado el apunte.";
}  // namespace

bool clsMov::Puntear() {
    return retryingHandler(
        "clsMov::Puntear", RetryKind::DatabaseErrors, [&](RetryHandler& handler) {
            kvlnmov::cEmpresa& context = empresa(handler);
            handler.statement([&] {
                connection().Execute(
                    "UPDATE Movimientos SET Punteo =" + sql::integer(punteo_) +
                    " WHERE Cod_Empresa =" + sql::integer(context.Cod_Empresa()) +
                    " AND Cod_Ejercicio =" + sql::integer(context.EjercicioFecha(fecha_)) +
                    " AND Apunte =" + sql::integer(apunte_));
            });
            return true;
        });
}

bool clsMov::Puntear347() {
    return retryingHandler(
        "clsMov::Puntear347", RetryKind::DatabaseErrors, [&](RetryHandler& handler) {
            kvlnmov::cEmpresa& context = empresa(handler);
            handler.statement([&] {
                connection().Execute(
                    "UPDATE Movimientos SET M347 =" + sql::flag(m347_) +
                    " WHERE Cod_Empresa =" + sql::integer(context.Cod_Empresa()) +
                    " AND Cod_Ejercicio =" + sql::integer(context.EjercicioFecha(fecha_)) +
                    " AND Apunte =" + sql::integer(apunte_));
            });
            return true;
        });
}

bool clsMov::Modificar_Concepto() {
    return retryingHandler(
        "clsMov::Modificar_Concepto", RetryKind::DatabaseErrors, [&](RetryHandler& handler) {
            kvlnmov::cEmpresa& context = empresa(handler);
            std::int32_t changed = handler.statement([&] {
                return connection().Execute(
                    "UPDATE Movimientos SET Concepto ='" + sql::cut(concepto_, kConceptLength) +
                    "'" + ", Cod_Usuario =" + sql::integer(sql::currentUser(context)) +
                    ", FechaUltMod = GETDATE()" + keyClause());
            });
            if (changed == 0) throw Error(errc::kCheck, "Mov::Modificar_Concepto", kNotModified);
            return true;
        });
}

bool clsMov::Modificar_Documento() {
    return retryingHandler(
        "clsMov::Modificar_Documento", RetryKind::DatabaseErrors, [&](RetryHandler& handler) {
            kvlnmov::cEmpresa& context = empresa(handler);
            std::int32_t changed = handler.statement([&] {
                return connection().Execute(
                    "UPDATE Movimientos SET Documento ='" + sql::text(documento_) + "'" +
                    ", Cod_Usuario =" + sql::integer(sql::currentUser(context)) +
                    ", FechaUltMod = GETDATE()" + keyClause());
            });
            if (changed == 0) throw Error(errc::kCheck, "Mov::Modificar_Documento", kNotModified);
            return true;
        });
}

bool clsMov::Modificar_F7() {
    return retryingHandler(
        "clsMov::Modificar_F7", RetryKind::DatabaseErrors, [&](RetryHandler& handler) {
            kvlnmov::cEmpresa& context = empresa(handler);
            checkDateInExercise(context, "clsMov::Insertar", fecha_);
            checkOpenExercise(handler);

            auto stored = readStoredLine(handler);
            bool departmentChanged = stored && stored->dpto != dpto_;
            if (departmentChanged) {
                Acumulados(false, stored->fechaAsiento, stored->cuenta, stored->dpto, stored->debe,
                           stored->haber);
            }
            std::int32_t changed = handler.statement([&] {
                return connection().Execute(
                    "UPDATE Movimientos SET Dpto =" + sql::integer(dpto_) + ", Documento ='" +
                    sql::text(documento_) + "'" + ", Concepto ='" +
                    sql::cut(concepto_, kConceptLength) + "'" +
                    ", Cod_Usuario =" + sql::integer(sql::currentUser(context)) +
                    ", FechaUltMod = GETDATE()" + keyClause());
            });
            if (changed == 0) throw Error(errc::kCheck, "Mov::Modificar", kNotModified);
            if (departmentChanged) {
                Acumulados(true, fechaAsiento_, stored->cuenta, dpto_, stored->debe, stored->haber);
            }
            return true;
        });
}

}  // namespace kvlnmov
