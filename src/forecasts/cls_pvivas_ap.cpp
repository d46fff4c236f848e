#include "kvlnmov/forecasts/cls_pvivas_ap.h"

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/identity.h"
#include "kvlnmov/core/obsolete.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {

std::int32_t clsPVivasAp::Documento() const { return warnObsolete(kDocumentoNotice); }

void clsPVivasAp::Documento(std::int32_t value) { documento_ = documentText(value); }

void clsPVivasAp::Fecha(Date value) { fecha_ = sql::normalizeDate(value); }

void clsPVivasAp::Fecha_Apunte(Date value) { fechaApunte_ = sql::normalizeDate(value); }

bool clsPVivasAp::Insertar() {
    return plainHandler("PVivas_Ap::Insertar", Access::Writes, [&] {
        kvlnmov::cEmpresa& context = empresa();
        connection().Execute(
            "INSERT INTO PVivas_Apertura (Cod_Empresa, Cod_Ejercicio, Cod_Asiento,"
            " Fecha, Cuenta, Fecha_Apunte, Concepto, Documento, Diario, Dpto, Debe,"
            " Haber) VALUES (" +
            sql::integer(context.Cod_Empresa()) + ", " + sql::integer(context.Cod_Ejercicio()) +
            ", " + sql::integer(asiento_) + ", '" + sql::date(fecha_) + "', '" +
            sql::text(cuenta_) + "', '" + sql::date(fechaApunte_) + "', '" + sql::text(concepto_) +
            "', '" + sql::text(documento_) + "'" + ", " + sql::integer(diario_) + ", " +
            sql::integer(dpto_) + ", " + sql::amount(debe_) + ", " + sql::amount(haber_) + ")");

        // The number is cleared first: a failing read-back leaves 0, not the previous number.
        apunte_ = 0;
        apunte_ = readIdentity(connectionRef()).value_or(0);
        if (apunte_ == 0) {
            throw Error(errc::kCheck, "PVivasAp::Insertar",
                        "Error. No se ha insertado la partida.");
        }
        return true;
    });
}

bool clsPVivasAp::Modificar() {
    return plainHandler("PVivasAp::Modificar", Access::Writes, [&] {
        std::int32_t changed = connection().Execute(
            "UPDATE PVivas_Apertura SET Cod_Asiento =" + sql::integer(asiento_) + ", Fecha ='" +
            sql::date(fecha_) + "', Fecha_Apunte ='" + sql::date(fechaApunte_) + "', Cuenta ='" +
            sql::text(cuenta_) + "', Concepto ='" + sql::text(concepto_) + "', Documento ='" +
            sql::text(documento_) + "'" + ", Diario =" + sql::integer(diario_) +
            ", Dpto =" + sql::integer(dpto_) + ", Debe =" + sql::amount(debe_) +
            ", Haber =" + sql::amount(haber_) + " WHERE Apunte =" + sql::integer(apunte_));
        if (changed == 0) {
            throw Error(errc::kCheck, "PVivasAp::Modificar",
                        "Error. No se ha modificado el apunte.");
        }
        return true;
    });
}

bool clsPVivasAp::Eliminar() {
    return plainHandler("PVivas_Ap::Eliminar", Access::Writes, [&] {
        connection().Execute("DELETE FROM PVivas_Apertura WHERE Apunte =" + sql::integer(apunte_));
        return true;
    });
}

}  // namespace kvlnmov
