#include "kvlnmov/masters/cls_asiento_aut.h"

#include <cstdlib>

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {

bool clsAsientoAut::Cargar() {
    return plainHandler("clsAsientosAut::Cargar", Access::Reads, [&] {
        bool found = false;
        db::Recordset row;
        row.Open(
            "SELECT Nombre, Tipo FROM Asientos_Aut"
            " WHERE Cod_Empresa =" +
                sql::integer(empresa().Cod_Empresa()) + " AND Codigo ='" + sql::text(codigo_) + "'",
            connectionRef());
        if (!row.Eof()) {
            found = true;
            Nombre(row.Fields("Nombre").toText());
            // The absolute value, so a type stored as the flag True (-1) reads as 1.
            Tipo(static_cast<TipoAsiento>(std::abs(row.Fields("Tipo").toInteger())));
        }
        row.Close();
        return found;
    });
}

bool clsAsientoAut::Eliminar() {
    return plainHandler("clsAsientosAut::Eliminar", Access::Writes, [&] {
        const std::string company = sql::integer(empresa().Cod_Empresa());
        connection().Execute(
            "DELETE FROM Apuntes_Aut"
            " WHERE Cod_Empresa =" +
            company + " And Cod_Asiento ='" + sql::text(codigo_) + "'");
        connection().Execute(
            "DELETE FROM Asientos_Aut"
            " WHERE Cod_Empresa =" +
            company + " And Codigo ='" + sql::text(codigo_) + "'");
        return true;
    });
}

bool clsAsientoAut::Insertar() {
    return plainHandler("clsAsientosAut::Insertar", Access::Writes, [&] {
        connection().Execute(
            "INSERT INTO Asientos_Aut (Cod_Empresa, Codigo,"
            " Nombre, Tipo) VALUES(" +
            sql::integer(empresa().Cod_Empresa()) + ", '" + sql::text(codigo_) + "', '" +
            sql::text(nombre_) + "', " + sql::integer(static_cast<std::int32_t>(tipo_)) + ")");
        return true;
    });
}

}  // namespace kvlnmov
