#include "kvlnmov/forecasts/cls_prev_cobros.h"

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/identity.h"
#include "kvlnmov/core/obsolete.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {

std::int32_t clsPrevCobros::Documento() const { return warnObsolete(kDocumentoNotice); }

void clsPrevCobros::Documento(std::int32_t value) { documento_ = documentText(value); }

void clsPrevCobros::Fecha_Doc(Date value) { fechaDoc_ = sql::normalizeDate(value); }

void clsPrevCobros::Fecha_Vto(Date value) { fechaVto_ = sql::normalizeDate(value); }

bool clsPrevCobros::Eliminar() {
    return plainHandler("PrevCobro::Eliminar", Access::Writes, [&] {
        connection().Execute("DELETE FROM Previsiones_Cobro WHERE Apunte =" +
                             sql::integer(apunte_));
        return true;
    });
}

bool clsPrevCobros::EliminarxMov() { return false; }

bool clsPrevCobros::EliminarxAsiento(std::int32_t) { return false; }

bool clsPrevCobros::Insertar() {
    return plainHandler("PrevCobro::Insertar", Access::Writes, [&] {
        kvlnmov::cEmpresa& context = empresa();
        // A collection is tied to no journal line and enters no remittance when created.
        connection().Execute(
            "INSERT INTO Previsiones_Cobro (ApunteMov, Cod_Empresa, Cuenta, Documento,"
            " Asiento, Fecha_Doc, Fecha_Vto, Banco, FormaCobro, Importe, Estado,"
            " Cobrador,Agente,Cod_Ejercicio,Remesa,CuentaOriginal,BancoDoc) VALUES (0"
            ", " +
            sql::integer(context.Cod_Empresa()) + ", '" + sql::text(cuenta_) + "', '" +
            sql::text(documento_) + "'" + ", " + sql::integer(asiento_) + ", '" +
            sql::date(fechaDoc_) + "', '" + sql::date(fechaVto_) + "', '" + sql::text(banco_) +
            "', " + sql::integer(formaCobro_) + ", " + sql::amount(importe_) + ", " +
            sql::integer(estado_) + ", " + sql::integer(cobrador_) + ", " + sql::integer(agente_) +
            ", " + sql::integer(context.Cod_Ejercicio()) + ", 0,'" + sql::text(cuentaOriginal_) +
            "'," + sql::integer(bancoDoc_) + ")");

        // The number is cleared first: a failing read-back leaves 0, not the previous number.
        apunte_ = 0;
        apunte_ = readIdentity(connectionRef()).value_or(0);
        if (apunte_ == 0) {
            throw Error(errc::kCheck, "PrevCobro::Insertar",
                        "Error. No se ha insertado la previsión.");
        }
        return true;
    });
}

bool clsPrevCobros::Modificar() {
    return plainHandler("PrevCobro::Modificar", Access::Writes, [&] {
        connection().Execute(
            "UPDATE Previsiones_Cobro SET Cuenta ='" + sql::text(cuenta_) + "', Documento ='" +
            sql::text(documento_) + "'" + ", Asiento =" + sql::integer(asiento_) +
            ", Fecha_Doc ='" + sql::date(fechaDoc_) + "', Fecha_Vto ='" + sql::date(fechaVto_) +
            "', Banco ='" + sql::text(banco_) + "', FormaCobro =" + sql::integer(formaCobro_) +
            ", Importe =" + sql::amount(importe_) + ", Estado =" + sql::integer(estado_) +
            ", Cobrador =" + sql::integer(cobrador_) + ", Agente =" + sql::integer(agente_) +
            ", CuentaOriginal='" + sql::text(cuentaOriginal_) +
            "', BancoDoc=" + sql::integer(bancoDoc_) + " WHERE Apunte = " + sql::integer(apunte_));
        return true;
    });
}

bool clsPrevCobros::Cargar(std::optional<std::shared_ptr<clsPrevCobros>> clsPrev) {
    return plainHandler("PrevCobro::Cargar", Access::Reads, [&] {
        clsPrevCobros& target = clsPrev && *clsPrev ? **clsPrev : *this;
        db::Recordset row;
        row.Open("SELECT * FROM Previsiones_Cobro WHERE Apunte =" + sql::integer(apunte_),
                 connectionRef());
        if (!row.Eof()) {
            target.Cuenta(row.Fields("Cuenta").toText());
            target.DocumentoSTR(row.Fields("Documento").toText());
            target.Asiento(row.Fields("Asiento").toLong());
            target.Fecha_Doc(row.Fields("Fecha_Doc").toDate());
            target.Fecha_Vto(row.Fields("Fecha_Vto").toDate());
            target.Banco(row.Fields("Banco").toText());
            target.FormaCobro(row.Fields("FormaCobro").toInteger());
            target.Importe(row.Fields("Importe").toCurrency());
            target.Estado(row.Fields("Estado").toInteger());
            target.Cobrador(row.Fields("Cobrador").toInteger());
            target.Agente(row.Fields("Agente").toInteger());
            target.CuentaOriginal(row.Fields("CuentaOriginal").toText());
            target.BancoDoc(row.Fields("BancoDoc").toInteger());
            target.Remesa(row.Fields("Remesa").toLong());
        }
        row.Close();
        return true;
    });
}

std::int16_t clsPrevCobros::Cambiar_Vto(std::string, std::string, Date, Date, Date, std::int16_t,
                                        std::string) {
    return 0;
}

std::int16_t clsPrevCobros::Cambiar_Banco(std::string, std::string, Date, Date, std::int16_t,
                                          std::string, std::string) {
    return 0;
}

std::int16_t clsPrevCobros::Cambiar_Estado(std::string, std::string, Date, Date, std::int16_t,
                                           std::string, std::int16_t) {
    return 0;
}

}  // namespace kvlnmov
