#include "kvlnmov/masters/cls_mov_aut.h"

#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/identity.h"
#include "kvlnmov/core/obsolete.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {

std::int32_t clsMovAut::Documento() const { return warnObsolete(kDocumentoNotice); }

void clsMovAut::Documento(std::int32_t value) { documento_ = documentText(value); }

bool clsMovAut::Insertar() {
    return plainHandler("clsMovAut::Insertar", Access::Writes, [&] {
        connection().Execute(
            "INSERT INTO Apuntes_Aut (Cod_Empresa, Cod_Asiento,"
            " Cuenta, Concepto, Documento, Diario, Dpto,"
            " Importe, Tipo) VALUES (" +
            sql::integer(empresa().Cod_Empresa()) + ", '" + sql::text(asiento_) + "', '" +
            sql::text(cuenta_) + "', '" + sql::text(concepto_) + "', '" + sql::text(documento_) +
            "'" + ", " + sql::integer(diario_) + ", " + sql::integer(dpto_) + ", " +
            sql::amount(importe_) + ", " + sql::flag(tipo_) + ")");
        // `Apunte` keeps what it held when no row comes back.
        if (auto identity = readIdentity(connectionRef())) apunte_ = *identity;
        if (apunte_ == 0) {
            throw Error(errc::kCheck, "clsMovAut::Insertar",
                        "Error. No se ha insertado el apunte automático.");
        }
        return true;
    });
}

bool clsMovAut::Modificar() {
    return plainHandler("clsMovAut::Modificar", Access::Writes, [&] {
        std::int32_t changed = connection().Execute(
            "UPDATE Apuntes_Aut SET Cuenta ='" + sql::text(cuenta_) + "', Concepto ='" +
            sql::text(concepto_) + "', Documento ='" + sql::text(documento_) + "'" +
            ", Diario =" + sql::integer(diario_) + ", Dpto =" + sql::integer(dpto_) +
            ", Importe =" + sql::amount(importe_) + ", Tipo =" + sql::flag(tipo_) +
            " WHERE Apunte =" + sql::integer(apunte_));
        if (changed == 0) {
            throw Error(errc::kCheck, "clsMovAut::Modificar",
                        "Error. No se ha modificado el apunte.");
        }
        return true;
    });
}

bool clsMovAut::Eliminar() {
    return plainHandler("clsMovAut::Eliminar", Access::Writes, [&] {
        connection().Execute("DELETE FROM Apuntes_Aut WHERE Apunte =" + sql::integer(apunte_));
        return true;
    });
}

bool clsMovAut::Cargar(std::shared_ptr<db::Recordset> recAp) {
    return plainHandler("clsMovAut::Cargar", Access::Reads, [&] {
        if (!recAp) throw objectRequired();
        recAp->Open(
            "SELECT Cod_Empresa, Cod_Asiento, Cuenta, Concepto, Documento,"
            " Diario, Dpto, Tipo, Importe, Apunte FROM Apuntes_Aut WHERE Cod_Empresa =" +
                sql::integer(empresa().Cod_Empresa()) + " AND Cod_Asiento ='" +
                sql::text(asiento_) + "'" + " ORDER BY Apunte",
            connectionRef());
        return true;
    });
}

}  // namespace kvlnmov
