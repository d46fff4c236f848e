#include "kvlnmov/taxbooks/cls_libro_igic.h"

#include "kvlnmov/core/handlers.h"
#include "kvlnmov/core/obsolete.h"
#include "kvlnmov/core/sql_text.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "taxbooks/book_statements.h"

namespace kvlnmov {

void clsLibroIgic::Fecha(Date value) { fecha_ = sql::normalizeDate(value); }

std::int32_t clsLibroIgic::Documento() const { return warnObsolete(kDocumentoNotice); }

void clsLibroIgic::Documento(std::int32_t value) { documento_ = documentText(value); }

void clsLibroIgic::Cantidad(std::int16_t value) {
    cantidad_ = value;
    if (value > 0) lines_.assign(static_cast<std::size_t>(value), RateLine{});
}

clsLibroIgic::RateLine& clsLibroIgic::line(std::int16_t index) {
    if (index < 0 || static_cast<std::size_t>(index) >= lines_.size()) throw subscriptOutOfRange();
    return lines_[static_cast<std::size_t>(index)];
}

const clsLibroIgic::RateLine& clsLibroIgic::line(std::int16_t index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= lines_.size()) throw subscriptOutOfRange();
    return lines_[static_cast<std::size_t>(index)];
}

std::int16_t clsLibroIgic::Operacion(std::int16_t index) const { return line(index).operacion; }
void clsLibroIgic::Operacion(std::int16_t index, std::int16_t value) {
    line(index).operacion = value;
}
Currency clsLibroIgic::Base(std::int16_t index) const { return line(index).base; }
void clsLibroIgic::Base(std::int16_t index, Currency value) { line(index).base = value; }
std::int16_t clsLibroIgic::Tipo(std::int16_t index) const { return line(index).tipo; }
void clsLibroIgic::Tipo(std::int16_t index, std::int16_t value) { line(index).tipo = value; }
void clsLibroIgic::Cuota(std::int16_t index, Currency value) { line(index).cuota = value; }
void clsLibroIgic::Deducible(std::int16_t index, Currency value) { line(index).deducible = value; }

void clsLibroIgic::TipoIgIV(std::uint8_t value) {
    tipoIgIV_ = value;
    table_ = value == 2 ? "Iva" : "Igic";
}

bool clsLibroIgic::Insertar() {
    return plainHandler("Libro" + table() + "::Insertar", Access::Writes, [&] {
        std::string source = "clsLibro" + table() + "::Insertar";
        kvlnmov::cEmpresa& context = empresa();
        if (cuenta_.empty()) {
            throw Error(errc::kCheck, source, "Debe especificar un número de cuenta valido");
        }
        checkDateInExercise(context, source, fecha_);
        writeRecord();
        return true;
    });
}

bool clsLibroIgic::Modificar() {
    return plainHandler("Libro" + table() + "::Modificar", Access::Writes, [&] {
        std::string source = "clsLibro" + table() + "::Modificar";
        kvlnmov::cEmpresa& context = empresa();
        if (cuenta_.empty()) {
            throw Error(errc::kCheck, source, "Debe especificar un número de cuenta valido");
        }
        checkDateInExercise(context, source, fecha_);
        // A record of the same line kept under the other tax goes as well.
        std::string key =
            sql::whereCompanyExercise(context) + " AND Apunte =" + sql::integer(apunte_);
        for (const char* table : {"Igic", "Iva", "Igic_Lineas", "Iva_Lineas"}) {
            connection().Execute(std::string("DELETE FROM ") + table + key);
        }
        writeRecord();
        return true;
    });
}

void clsLibroIgic::writeRecord() {
    kvlnmov::cEmpresa& context = empresa();
    connection().Execute(
        "INSERT INTO " + table() +
        " (Cod_Empresa, Cod_Ejercicio, Apunte, Libro, Fecha,"
        " Cuenta, Documento, Asiento, Nombre, Nif, InvSujetoPasivo, TipoOpTributaria, "
        "EmitidaPorTercerosODestinatario) VALUES (" +
        sql::integer(context.Cod_Empresa()) + ", " + sql::integer(context.Cod_Ejercicio()) + ", " +
        sql::integer(apunte_) + ", " + sql::integer(static_cast<std::int32_t>(libro_)) + ", '" +
        sql::date(fecha_) + "', '" + sql::text(cuenta_) + "', '" + sql::text(documento_) + "'" +
        ", " + sql::integer(asiento_) + ", '" + sql::text(nombre_) + "'" + ", '" + sql::text(nif_) +
        "'" + ", " + sql::flag(inversionSujetoPasivo_) + ", " + sql::integer(tipoOpTributaria_) +
        ", " + sql::flag(emitidaPorTerceros_) + ")");

    // Rate lines of the same rate and operation are stored as one. A line that matches any
    // grouped entry is added to the entry added most recently, not necessarily the one it
    // matched, and the starting all-zero entry counts as a match for a rate 0, operation 0
    // line: both are how the book has always grouped, and stored books depend on it.
    std::vector<RateLine> grouped(1);
    std::size_t count = 0;
    for (std::int16_t i = 0; i < Cantidad(); ++i) {
        const RateLine& rate = line(i);
        bool matched = false;
        for (const auto& entry : grouped) {
            if (entry.tipo == rate.tipo && entry.operacion == rate.operacion) matched = true;
        }
        if (matched) {
            RateLine& last = grouped.back();
            last.base += rate.base;
            last.cuota += rate.cuota;
            last.deducible += rate.deducible;
        } else {
            grouped.resize(count + 1);
            grouped[count] = rate;
            ++count;
        }
    }
    for (std::size_t k = 0; k < grouped.size(); ++k) {
        const RateLine& entry = grouped[k];
        connection().Execute("INSERT INTO " + table() +
                             "_Lineas (Cod_Empresa, Cod_Ejercicio, Apunte, NumLinea,"
                             " TipoOp, Base, Tipo, Cuota, Deducible) VALUES (" +
                             sql::integer(context.Cod_Empresa()) + ", " +
                             sql::integer(context.Cod_Ejercicio()) + ", " + sql::integer(apunte_) +
                             ", " + sql::integer(static_cast<std::int64_t>(k) + 1) + ", " +
                             sql::integer(entry.operacion) + ", " + sql::number(entry.base) + ", " +
                             sql::integer(entry.tipo) + ", " + sql::number(entry.cuota) + ", " +
                             sql::number(entry.deducible) + ")");
    }
}

bool clsLibroIgic::Eliminar() {
    return plainHandler("Libro" + table() + "::Eliminar", Access::Writes, [&] {
        std::string key =
            sql::whereCompanyExercise(empresa()) + " AND Apunte =" + sql::integer(apunte_);
        connection().Execute("DELETE FROM " + table() + key);
        connection().Execute("DELETE FROM " + table() + "_Lineas" + key);
        return true;
    });
}

bool clsLibroIgic::Cambiar_Asiento(std::int32_t lngAsiento_Ant, std::int32_t lngAsiento_Nuevo) {
    return plainHandler("clsLibro" + table() + "::Cambiar_Asiento", Access::Writes, [&] {
        connection().Execute(
            taxbooks::renumberStatement(table(), empresaRef(), lngAsiento_Ant, lngAsiento_Nuevo));
        return true;
    });
}

bool clsLibroIgic::Cambiar_Cuenta(std::string strCuentaI, std::string strCuentaF,
                                  std::string strCuentaD, Date dteFechaI, Date dteFechaF,
                                  std::int16_t intPunteo) {
    return plainHandler("clsMov::Cambiar_Cuenta", Access::Writes, [&] {
        connection().Execute(taxbooks::reassignmentStatement(
            table(), empresa(), "clsLibro" + table() + "::Cambiar_Cuenta", strCuentaI, strCuentaF,
            strCuentaD, dteFechaI, dteFechaF, intPunteo));
        return true;
    });
}

}  // namespace kvlnmov
