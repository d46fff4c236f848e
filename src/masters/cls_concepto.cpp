#include "kvlnmov/masters/cls_concepto.h"

#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/obsolete.h"
#include "kvlnmov/core/sql_text.h"

namespace kvlnmov {

namespace {
const std::string kObsoleteImpuestos = "Esta propiedad esta obsoleta, debe usarse Impuestos_Tipo";
}

bool clsConcepto::Impuestos() const { raiseObsolete(kObsoleteImpuestos); }

void clsConcepto::Impuestos(bool) { raiseObsolete(kObsoleteImpuestos); }

bool clsConcepto::Modificar() {
    return plainHandler("Conceptos::Modificar", Access::Writes, [&] {
        connection().Execute(
            "UPDATE Conceptos SET Nombre ='" + sql::text(nombre_) + "', Debe =" + sql::flag(debe_) +
            ", Automatico =" + sql::flag(automatico_) +
            ", Impuestos =" + sql::integer(impuestosTipo_) + ", M347 =" + sql::flag(m347_) +
            " WHERE Codigo ='" + sql::text(codigo_) + "'");
        return true;
    });
}

bool clsConcepto::Insertar() {
    return plainHandler("Conceptos::Insertar", Access::Writes, [&] {
        db::Recordset existing;
        existing.Open("SELECT Codigo FROM Conceptos WHERE Codigo ='" + sql::text(codigo_) + "'",
                      connectionRef());
        if (!existing.Eof()) {
            throw Error(errc::kCheck, "Conceptos::Insertar", "Ya existe el codigo especificado");
        }
        existing.Close();
        connection().Execute(
            "INSERT INTO Conceptos (Codigo, Nombre, Debe, Automatico, Impuestos, M347) VALUES ('" +
            sql::text(codigo_) + "', '" + sql::text(nombre_) + "', " + sql::flag(debe_) + ", " +
            sql::flag(automatico_) + ", " + sql::integer(impuestosTipo_) + ", " + sql::flag(m347_) +
            ")");
        return true;
    });
}

bool clsConcepto::Eliminar() {
    return plainHandler("Conceptos::Eliminar", Access::Writes, [&] {
        connection().Execute("DELETE FROM Conceptos WHERE Codigo ='" + sql::text(codigo_) + "'");
        return true;
    });
}

bool clsConcepto::Cargar() {
    return plainHandler("Conceptos::Cargar", Access::Reads, [&] {
        bool found = false;
        db::Recordset row;
        row.Open("SELECT * FROM Conceptos WHERE Codigo = '" + sql::text(codigo_) + "'",
                 connectionRef());
        if (!row.Eof()) {
            found = true;
            Nombre(row.Fields("Nombre").toText());
            Debe(row.Fields("Debe").toBoolean());
            Automatico(row.Fields("Automatico").toBoolean());
            Impuestos_Tipo(row.Fields("Impuestos").toByte());
            M347(row.Fields("M347").toBoolean());
        }
        row.Close();
        return found;
    });
}

}  // namespace kvlnmov
