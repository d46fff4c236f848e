// Posting, changing and deleting single journal lines, and their secondary (tax breakdown)
// records.

#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/journal/cls_mov.h"

namespace kvlnmov {

namespace {
constexpr std::size_t kConceptLength = 60;
const std::string kNotModified = "Error. No se ha modificado el apunte.";
}  // namespace

bool clsMov::Insertar() {
    return retryingHandler(
        "clsMov::Insertar", RetryKind::DatabaseErrors, [&](RetryHandler& handler) {
            kvlnmov::cEmpresa& context = empresa(handler);
            checkDateInExercise(context, "clsMov::Insertar", fechaAsiento_);
            checkOpenExercise(handler);
            if (cuenta_.size() != static_cast<std::size_t>(context.LongitudCuenta())) {
                throw Error(errc::kCheck, "clsMov::Insertar",
                            "Intento de inserción de apunte contable con longitud de cuenta "
                            "incorrecta. (Cuenta: " +
                                cuenta_ + ")");
            }

            handler.statement([&] {
                cmdDevMovApunte_->ActiveConnection(connectionRef());
                auto& parameters = cmdDevMovApunte_->Parameters();
                parameters("Cod_Empresa").value = Variant(context.Cod_Empresa());
                parameters("Cod_Ejercicio").value = Variant(context.Cod_Ejercicio());
                cmdDevMovApunte_->Execute();
                apunte_ = parameters("Apunte").value.toLong();
                cmdDevMovApunte_->ActiveConnection(nullptr);
            });
            if (apunte_ == 0) {
                throw Error(errc::kCheck, "clsMov.Insertar", "Error al recuperar número de apunte");
            }

            handler.statement([&] {
                // Written into one buffer reserved for the whole statement.
                std::string statement;
                statement.reserve(512);
                auto add = [&statement](std::string_view part) -> std::string& {
                    return statement.append(part);
                };
                add("INSERT INTO Movimientos (Cod_Empresa, Cod_Ejercicio, Cod_Asiento,"
                    " Apunte, Fecha_Asiento, Cuenta, Fecha_Apunte, Cto_Aut, Concepto,"
                    " Documento, Diario, Dpto, Debe, Haber, Punteo, M347, Imp_ApunteRef,"
                    " Imp_Prop, Imp_Base, Imp_Cuota, Imp_Tipo, Imp_Op, Imp_Contrap, Cod_Usuario, "
                    "FechaUltMod) VALUES (");
                add(sql::integer(context.Cod_Empresa())).append(", ");
                add(sql::integer(context.Cod_Ejercicio())).append(", ");
                add(sql::integer(asiento_)).append(", ");
                add(sql::integer(apunte_)).append(", '");
                add(sql::date(fechaAsiento_)).append("', '");
                add(sql::text(cuenta_)).append("', '");
                add(sql::date(fecha_)).append("', '");
                add(sql::text(ctoAut_)).append("', '");
                add(sql::cut(concepto_, kConceptLength)).append("', '");
                add(sql::text(documento_)).append("', ");
                add(sql::integer(diario_)).append(", ");
                add(sql::integer(dpto_)).append(", ");
                add(sql::amount(debe_)).append(", ");
                add(sql::amount(haber_)).append(", ");
                add(sql::integer(punteo_)).append(", ");
                add(sql::flag(m347_)).append(", ");
                add(sql::integer(impApunteRef_)).append(", ");
                add(sql::integer(static_cast<std::int32_t>(impProp_))).append(", ");
                add(sql::amount(impBase_)).append(", ");
                add(sql::amount(impCuota_)).append(", ");
                add(sql::integer(impTipo_)).append(", ");
                add(sql::integer(static_cast<std::int32_t>(impOp_))).append(", '");
                add(sql::text(impContrapartida_)).append("', ");
                add(sql::integer(sql::currentUser(context))).append(", GETDATE())");
                connection().Execute(statement);
            });

            Acumulados(true, fechaAsiento_, cuenta_, dpto_, debe_, haber_);
            return true;
        });
}

bool clsMov::Modificar() {
    return retryingHandler(
        "clsMov::Modificar", RetryKind::DatabaseErrors, [&](RetryHandler& handler) {
            kvlnmov::cEmpresa& context = empresa(handler);
            checkDateInExercise(context, "clsMov::Insertar", fechaAsiento_);
            checkOpenExercise(handler);

            if (auto stored = readStoredLine(handler)) {
                Acumulados(false, stored->fechaAsiento, stored->cuenta, stored->dpto, stored->debe,
                           stored->haber);
            }

            std::int32_t changed = handler.statement([&] {
                return connection().Execute(
                    "UPDATE Movimientos SET Fecha_Apunte ='" + sql::date(fecha_) + "'" +
                    ", Cuenta ='" + sql::text(cuenta_) + "'" + ", Cto_Aut ='" + sql::text(ctoAut_) +
                    "'" + ", Concepto ='" + sql::cut(concepto_, kConceptLength) + "'" +
                    ", Documento ='" + sql::text(documento_) + "'" +
                    ", Diario =" + sql::integer(diario_) + ", Dpto =" + sql::integer(dpto_) +
                    ", M347 =" + sql::flag(m347_) + ", Debe =" + sql::amount(debe_) + ", Haber =" +
                    sql::amount(haber_) + ", Imp_ApunteRef =" + sql::integer(impApunteRef_) +
                    ", Imp_Prop =" + sql::integer(static_cast<std::int32_t>(impProp_)) +
                    ", Imp_Base =" + sql::amount(impBase_) + ", Imp_Cuota =" +
                    sql::amount(impCuota_) + ", Imp_Tipo =" + sql::integer(impTipo_) +
                    ", Imp_Op =" + sql::integer(static_cast<std::int32_t>(impOp_)) +
                    ", Imp_Contrap ='" + sql::text(impContrapartida_) + "'" +
                    ", Cod_Usuario =" + sql::integer(sql::currentUser(context)) +
                    ", FechaUltMod = GETDATE()" + keyClause());
            });
            if (changed == 0) throw Error(errc::kCheck, "Mov::Modificar", kNotModified);

            Acumulados(true, fechaAsiento_, cuenta_, dpto_, debe_, haber_);
            return true;
        });
}

bool clsMov::Eliminar() {
    return retryingHandler(
        "clsMov::Eliminar", RetryKind::DatabaseErrors, [&](RetryHandler& handler) {
            kvlnmov::cEmpresa& context = empresa(handler);
            checkOpenExercise(handler);

            if (auto stored = readStoredLine(handler)) {
                Acumulados(false, stored->fechaAsiento, stored->cuenta, stored->dpto, stored->debe,
                           stored->haber);
            }

            std::string where = sql::whereCompanyExercise(context);
            handler.statement([&] {
                connection().Execute(
                    "UPDATE Conc_Extractos SET Pendiente=1, Asiento=0, Apunte_Mto=0" + where +
                    " AND Apunte_Mto =" + sql::integer(apunte_));
            });
            handler.statement([&] {
                connection().Execute(
                    "INSERT INTO Movimientos_Eliminados (Cod_Usuario, Cod_Empresa, Cod_Ejercicio, "
                    "Cod_Asiento, Apunte,"
                    " Fecha_Asiento, Fecha_Apunte, Cuenta, Cto_Aut, Concepto, Documento, Diario, "
                    "Dpto, "
                    "Debe, Haber, Punteo, M347,"
                    " Imp_ApunteRef, Imp_Prop, Imp_Base, Imp_Cuota, Imp_Tipo, Imp_Op, Imp_Contrap)"
                    " SELECT " +
                    sql::integer(sql::currentUser(context)) +
                    ", Cod_Empresa, Cod_Ejercicio, Cod_Asiento, Apunte,"
                    " Fecha_Asiento, Fecha_Apunte, Cuenta, Cto_Aut, Concepto, Documento, Diario, "
                    "Dpto, "
                    "Debe, Haber, Punteo, M347,"
                    " Imp_ApunteRef, Imp_Prop, Imp_Base, Imp_Cuota, Imp_Tipo, Imp_Op, Imp_Contrap"
                    " FROM Movimientos" +
                    keyClause());
            });
            handler.statement(
                [&] { connection().Execute("DELETE FROM Movimientos_SII" + keyClause()); });
            handler.statement(
                [&] { connection().Execute("DELETE FROM Movimientos" + keyClause()); });
            return true;
        });
}

bool clsMov::EliminarSec(std::int32_t lngApunte) {
    return plainHandler("clsMov::EliminarSec", Access::Writes, [&] {
        connection().Execute("DELETE FROM Movimientos_Sec" + sql::whereCompanyExercise(empresa()) +
                             " AND Apunte =" + sql::integer(lngApunte));
        return true;
    });
}

bool clsMov::InsertarSec(std::int32_t lngApunte, std::string strContrap, Currency dblBase,
                         std::int16_t intOp, std::int32_t lngAsiento, std::int16_t intDpto,
                         std::int16_t intImp_Tipo, Currency curCuota) {
    return retryingHandler(
        "clsMov::InsertarSec", RetryKind::DatabaseErrors, [&](RetryHandler& handler) {
            kvlnmov::cEmpresa& context = empresa(handler);
            handler.statement([&] {
                connection().Execute(
                    "INSERT INTO Movimientos_Sec (Cod_Empresa, Cod_Ejercicio, Apunte, Contrap, "
                    "Base,"
                    " TipoOp, Asiento, Dpto, Imp_Tipo, Cuota) VALUES (" +
                    sql::integer(context.Cod_Empresa()) + ", " +
                    sql::integer(context.Cod_Ejercicio()) + ", " + sql::integer(lngApunte) + ", '" +
                    sql::text(strContrap) + "', " + sql::number(dblBase) + ", " +
                    sql::integer(intOp) + ", " + sql::integer(lngAsiento) + ", " +
                    sql::integer(intDpto) + ", " + sql::integer(intImp_Tipo) + ", " +
                    sql::number(curCuota) + ")");
            });
            return true;
        });
}

}  // namespace kvlnmov
