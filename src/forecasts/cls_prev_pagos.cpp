#include "kvlnmov/forecasts/cls_prev_pagos.h"

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/identity.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/core/obsolete.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {

namespace {

/// The affected-rows figure received into a 16-bit integer (Overflow beyond its range).
std::int16_t affectedCount(std::int32_t rows) { return Variant(rows).toInteger(); }

/// The optional filter of the range operations: payment method and bank when given.
std::string methodAndBankFilter(std::int16_t intFPago, const std::string& strBanco) {
    std::string filter;
    if (intFPago != 0) filter = " AND FormaPago =" + sql::integer(intFPago);
    if (!strBanco.empty()) filter += " AND Banco ='" + sql::text(strBanco) + "'";
    return filter;
}

}  // namespace

std::int32_t clsPrevPagos::Documento() const { return warnObsolete(kDocumentoNotice); }

void clsPrevPagos::Documento(std::int32_t value) { documento_ = documentText(value); }

void clsPrevPagos::Fecha_Doc(Date value) { fechaDoc_ = sql::normalizeDate(value); }

void clsPrevPagos::Fecha_Vto(Date value) { fechaVto_ = sql::normalizeDate(value); }

bool clsPrevPagos::Eliminar() {
    return plainHandler("clsPrevPagos:Eliminar", Access::Writes, [&] {
        connection().Execute("DELETE FROM Previsiones_Pago WHERE Apunte =" + sql::integer(apunte_));
        return true;
    });
}

bool clsPrevPagos::EliminarxMov() {
    return plainHandler("clsPrevPagos::EliminarxMov", Access::Writes, [&] {
        const std::string source = "clsPrevPagos:EliminarxAsiento";
        if (apunteMov_ == 0) {
            throw Error(1, source,
                        "No se ha establecido el número de apunte asociado al movimiento");
        }
        if (codEjercicioMov_ == 0) {
            throw Error(1, source, "No se ha establecido el ejercicio asociado al movimiento");
        }
        // A forecast whose line exercise is 0 belongs to any exercise.
        connection().Execute(
            "DELETE FROM Previsiones_Pago WHERE Cod_Empresa =" +
            sql::integer(empresa().Cod_Empresa()) + " AND ApunteMov =" + sql::integer(apunteMov_) +
            " AND ((Cod_EjercicioMov = 0) OR (Cod_EjercicioMov =" + sql::integer(codEjercicioMov_) +
            "))");
        return true;
    });
}

bool clsPrevPagos::EliminarxAsiento(std::int32_t lngAsiento) {
    return plainHandler("clsPrevPagos::EliminarxAsiento", Access::Writes, [&] {
        const std::string source = "clsPrevPagos:EliminarxAsiento";
        if (lngAsiento == 0) {
            throw Error(1, source, "No se ha establecido el número de asiento contable");
        }
        if (codEjercicioMov_ == 0) {
            throw Error(1, source, "No se ha establecido el ejercicio asociado al movimiento");
        }
        // The forecasts are found through the entry's lines, filtered by the line exercise
        // held here; the lines themselves are those of the working exercise.
        kvlnmov::cEmpresa& context = empresa();
        const std::string company = sql::integer(context.Cod_Empresa());
        connection().Execute(
            "DELETE FROM Previsiones_Pago"
            " WHERE Cod_Empresa =" +
            company +
            " AND ApunteMov > 0"
            " AND ((Cod_EjercicioMov = 0) OR (Cod_EjercicioMov =" +
            sql::integer(codEjercicioMov_) +
            "))"
            " AND ApunteMov IN (SELECT Apunte FROM Movimientos"
            " WHERE Cod_Empresa =" +
            company + " AND Cod_Ejercicio =" + sql::integer(context.Cod_Ejercicio()) +
            " AND Cod_Asiento=" + sql::integer(lngAsiento) + ")");
        return true;
    });
}

bool clsPrevPagos::Insertar() {
    return plainHandler("clsPrevPagos:Insertar", Access::Writes, [&] {
        const std::string source = "clsPrevPagos:Insertar";
        if (asiento_ > 0 && (apunteMov_ == 0 || codEjercicioMov_ == 0)) {
            throw Error(errc::kCheck, source,
                        "No se ha especificado el ejercicio/apunte del movimeinto asociado");
        }
        const std::string company = sql::integer(empresa().Cod_Empresa());
        connection().Execute(
            "INSERT INTO Previsiones_Pago (ApunteMov, Cod_Empresa, Cuenta, Documento, Documento2,"
            " Asiento, Fecha_Doc, Fecha_Vto, Banco, FormaPago, Importe, Estado,"
            " CuentaOriginal, Dpto, Cod_EjercicioMov) VALUES (" +
            sql::integer(apunteMov_) + ", " + company + ", '" + sql::text(cuenta_) + "', '" +
            sql::text(documento_) + "'" + ", '" + sql::text(documento2_) + "'" + ", " +
            sql::integer(asiento_) + ", '" + sql::date(fechaDoc_) + "', '" + sql::date(fechaVto_) +
            "', '" + sql::text(banco_) + "', " + sql::integer(formaPago_) + ", " +
            sql::amount(importe_) + ", " + sql::integer(estado_) + ", '" +
            sql::text(cuentaOriginal_) + "'" + ", " + sql::integer(dpto_) + ", " +
            sql::integer(codEjercicioMov_) + ")");

        // The number is cleared first: a failing read-back leaves 0, not the previous number.
        apunte_ = 0;
        apunte_ = readIdentity(connectionRef()).value_or(0);
        if (apunte_ == 0)
            throw Error(errc::kCheck, source, "Error. No se ha insertado la previsión.");

        // The link row takes the line's exercise and, in its ApunteMov column, the
        // forecast's own number: that is what the readers of this table expect.
        if (asiento_ > 0) {
            connection().Execute(
                "INSERT INTO Previsiones_Pago_Asientos(Apunte, Cod_Empresa, Cod_Ejercicio, "
                "Cod_Asiento, ApunteMov, Estado)"
                " VALUES(" +
                sql::integer(apunte_) + ", " + company + ", " + sql::integer(codEjercicioMov_) +
                ", " + sql::integer(asiento_) + ", " + sql::integer(apunte_) + ", " +
                sql::integer(estado_) + ")");
        }
        return true;
    });
}

bool clsPrevPagos::Modificar() {
    return plainHandler("clsPrevPagos:Modificar", Access::Writes, [&] {
        if (apunte_ == 0) {
            throw Error(1, "clsPrevPagos:Modificar", "No se ha establecido el código de apunte");
        }
        connection().Execute(
            "UPDATE Previsiones_Pago SET Cuenta ='" + sql::text(cuenta_) + "'" + ", Documento ='" +
            sql::text(documento_) + "'" + ", Documento2 ='" + sql::text(documento2_) + "'" +
            ", Asiento =" + sql::integer(asiento_) + ", Fecha_Doc ='" + sql::date(fechaDoc_) +
            "', Fecha_Vto ='" + sql::date(fechaVto_) + "', Banco ='" + sql::text(banco_) +
            "', FormaPago =" + sql::integer(formaPago_) + ", Importe =" + sql::amount(importe_) +
            ", Estado =" + sql::integer(estado_) + ", CuentaOriginal ='" +
            sql::text(cuentaOriginal_) + "' WHERE Apunte = " + sql::integer(apunte_));
        return true;
    });
}

bool clsPrevPagos::Cargar(std::optional<std::shared_ptr<clsPrevPagos>> clsPrev) {
    return plainHandler("clsPrevPagos:Cargar", Access::Reads, [&] {
        clsPrevPagos& target = clsPrev && *clsPrev ? **clsPrev : *this;
        db::Recordset row;
        row.Open("SELECT * FROM Previsiones_Pago WHERE Apunte =" + sql::integer(apunte_),
                 connectionRef());
        if (!row.Eof()) {
            // `Asiento` is not loaded: the target keeps the entry it held.
            target.Cod_EjercicioMov(row.Fields("Cod_EjercicioMov").toInteger());
            target.ApunteMov(row.Fields("ApunteMov").toLong());
            target.Cuenta(row.Fields("Cuenta").toText());
            target.DocumentoSTR(row.Fields("Documento").toText());
            target.Documento2(row.Fields("Documento2").toText());
            target.Fecha_Doc(row.Fields("Fecha_Doc").toDate());
            target.Fecha_Vto(row.Fields("Fecha_Vto").toDate());
            target.Banco(row.Fields("Banco").toText());
            target.FormaPago(row.Fields("FormaPago").toInteger());
            target.Importe(row.Fields("Importe").toCurrency());
            target.Estado(row.Fields("Estado").toInteger());
            target.CuentaOriginal(row.Fields("CuentaOriginal").toText());
            target.Dpto(row.Fields("Dpto").toInteger());
        }
        row.Close();
        return true;
    });
}

std::string clsPrevPagos::rangeCondition(const std::string& strCuentaI,
                                         const std::string& strCuentaF, Date dteFechaI,
                                         Date dteFechaF) {
    return " WHERE Cod_Empresa =" + sql::integer(empresa().Cod_Empresa()) +
           " AND (Cuenta BETWEEN '" + sql::text(strCuentaI) + "' AND '" + sql::text(strCuentaF) +
           "')" + " AND (Fecha_Vto BETWEEN '" + sql::date(dteFechaI) + "' AND '" +
           sql::date(dteFechaF) + "')";
}

std::int16_t clsPrevPagos::Cambiar_Vto(std::string strCuentaI, std::string strCuentaF,
                                       Date dteFechaI, Date dteFechaF, Date dteVto,
                                       std::int16_t intFPago, std::string strBanco) {
    return plainHandler("clsPrevPagos:Cambiar_Vtos", Access::Writes, [&] {
        const std::string filter = methodAndBankFilter(intFPago, strBanco);
        return affectedCount(connection().Execute(
            "UPDATE Previsiones_Pago SET Fecha_Vto ='" + sql::date(dteVto) + "'" +
            rangeCondition(strCuentaI, strCuentaF, dteFechaI, dteFechaF) + filter));
    });
}

std::int16_t clsPrevPagos::Cambiar_Banco(std::string strCuentaI, std::string strCuentaF,
                                         Date dteFechaI, Date dteFechaF, std::int16_t intFPago,
                                         std::string strBanco, std::string strNuevoBanco) {
    return plainHandler("clsPrevPagos:Cambiar_Vtos", Access::Writes, [&] {
        const std::string filter = methodAndBankFilter(intFPago, strBanco);
        return affectedCount(connection().Execute(
            "UPDATE Previsiones_Pago SET Banco ='" + sql::text(strNuevoBanco) + "'" +
            rangeCondition(strCuentaI, strCuentaF, dteFechaI, dteFechaF) + filter));
    });
}

std::int16_t clsPrevPagos::Cambiar_Estado(std::string, std::string, Date, Date, std::int16_t,
                                          std::string, std::int32_t, bool) {
    userInterface().messageBox("DESCATALOGADO. Use Cambiar_Estado2 para Documento alfanumerico",
                               MsgBoxIcon::Exclamation, MsgBoxButtons::Ok, kNoticeTitle);
    return 0;
}

std::int16_t clsPrevPagos::Cambiar_Estado2(std::string strCuentaI, std::string strCuentaF,
                                           Date dteFechaI, Date dteFechaF, std::int16_t intFPago,
                                           std::string strBanco, std::string strDocumento,
                                           bool bolEstado) {
    return plainHandler("clsPrevPagos:Cambiar_Estado", Access::Writes, [&] {
        const std::string filter = methodAndBankFilter(intFPago, strBanco);
        return affectedCount(
            connection().Execute("UPDATE Previsiones_Pago SET Estado =" + sql::flag(bolEstado) +
                                 rangeCondition(strCuentaI, strCuentaF, dteFechaI, dteFechaF) +
                                 " AND Documento='" + sql::text(strDocumento) + "'" + filter));
    });
}

std::int16_t clsPrevPagos::Cambiar_EstadoByID(std::int32_t lngApunte, bool bolEstado) {
    return plainHandler("clsPrevPagos:Cambiar_EstadoByID", Access::Writes, [&] {
        return affectedCount(
            connection().Execute("UPDATE Previsiones_Pago SET Estado =" + sql::flag(bolEstado) +
                                 " WHERE Apunte =" + sql::integer(lngApunte)));
    });
}

std::int16_t clsPrevPagos::Cambiar_BancoByID(std::int32_t lngApunte, std::string strCtaBanco) {
    return plainHandler("clsPrevPagos:Cambiar_BancoByID", Access::Writes, [&] {
        return affectedCount(connection().Execute("UPDATE Previsiones_Pago SET Banco ='" +
                                                  sql::text(strCtaBanco) +
                                                  "' WHERE Apunte =" + sql::integer(lngApunte)));
    });
}

}  // namespace kvlnmov
