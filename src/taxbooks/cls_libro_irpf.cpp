#include "kvlnmov/taxbooks/cls_libro_irpf.h"

#include <memory>

#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "taxbooks/book_statements.h"

namespace kvlnmov {

void clsLibroIrpf::Fecha(Date value) { fecha_ = sql::normalizeDate(value); }

void clsLibroIrpf::check(const std::string& source) {
    kvlnmov::cEmpresa& context = empresa();
    if (cuenta_.empty()) {
        throw Error(errc::kCheck, source, "Debe especificar un número de cuenta valido");
    }
    checkDateInExercise(context, source, fecha_);
}

void clsLibroIrpf::insertRecord() {
    kvlnmov::cEmpresa& context = empresa();
    connection().Execute(
        "INSERT INTO Irpf(Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Cod_Irpf, Tipo, Fecha, "
        "CuentaIrpf, Documento,"
        " Asiento, Cuenta, Nombre, Nif, ImporteBase, ImporteIrpf, ImporteFactura) VALUES(" +
        sql::integer(context.Cod_Empresa()) + ", " + sql::integer(context.Cod_Ejercicio()) + ", " +
        sql::integer(apunte_) + ", " + sql::integer(static_cast<std::int32_t>(libro_)) + ", " +
        sql::integer(codIrpf_) + ", " + sql::integer(tipoIrpf_) + ", '" + sql::date(fecha_) + "'" +
        ", '" + sql::text(cuentaIrpf_) + "'" + ", '" + sql::text(documento_) + "'" + ", " +
        sql::integer(asiento_) + ", '" + sql::text(cuenta_) + "'" + ", '" + sql::text(nombre_) +
        "'" + ", '" + sql::text(nif_) + "'" + ", " + sql::number(importeBase_) + ", " +
        sql::number(importeIrpf_) + ", " + sql::number(importeFactura_) + ")");
}

bool clsLibroIrpf::Insertar() {
    return plainHandler("Libro Irpf ::Insertar", Access::Writes, [&] {
        check("clsLibroIrpf::Insertar");
        insertRecord();
        return true;
    });
}

bool clsLibroIrpf::Modificar() {
    return plainHandler("LibroIrpf::Modificar", Access::Writes, [&] {
        check("clsLibroIrpf::Modificar");
        connection().Execute("DELETE FROM Irpf" + sql::whereCompanyExercise(empresa()) +
                             " AND Apunte =" + sql::integer(apunte_));
        insertRecord();
        return true;
    });
}

bool clsLibroIrpf::Eliminar() {
    return plainHandler("LibroIrpf::Eliminar", Access::Writes, [&] {
        connection().Execute("DELETE FROM Irpf" + sql::whereCompanyExercise(empresa()) +
                             " AND Apunte =" + sql::integer(apunte_));
        return true;
    });
}

bool clsLibroIrpf::Cambiar_Asiento(std::int32_t lngAsiento_Ant, std::int32_t lngAsiento_Nuevo) {
    return plainHandler("clsLibroIrpf::Cambiar_Asiento", Access::Writes, [&] {
        connection().Execute(
            taxbooks::renumberStatement("Irpf", empresaRef(), lngAsiento_Ant, lngAsiento_Nuevo));
        return true;
    });
}

bool clsLibroIrpf::Cambiar_Cuenta(std::string strCuentaI, std::string strCuentaF,
                                  std::string strCuentaD, Date dteFechaI, Date dteFechaF,
                                  std::int16_t intPunteo) {
    return plainHandler("clsLibroIrpf::Cambiar_Cuenta", Access::Writes, [&] {
        connection().Execute(taxbooks::reassignmentStatement(
            "Irpf", empresa(), "clsLibroIrpf::Cambiar_Cuenta", strCuentaI, strCuentaF, strCuentaD,
            dteFechaI, dteFechaF, intPunteo));
        return true;
    });
}

}  // namespace kvlnmov
